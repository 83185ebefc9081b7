// Tables of the controls that a session knows: fixed room, in the order of their making.
#pragma once

#include "src/platform/BPStatus.h"

#include <algorithm>
#include <cstdint>

/// Puts an entry at the end; bpMemFullErr when the table is full.   Thread: main.
template <class Entry, uint32_t kLimit> BPStatus TKEnterTable(Entry* (&table)[kLimit], uint32_t* count, Entry* entry)
{
    if (*count == kLimit) return bpMemFullErr;
    table[(*count)++] = entry;
    return bpNoErr;
}

/// Takes an entry out; nothing happens when it is not there.   Thread: main.
template <class Entry, uint32_t kLimit> void TKLeaveTable(Entry* (&table)[kLimit], uint32_t* count, Entry* entry)
{
    *count = static_cast<uint32_t>(std::remove(table, table + *count, entry) - table);
}
