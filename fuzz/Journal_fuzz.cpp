// A journal of the state folder: whatever stands in the file is a sound record of this clip, or nothing.
#include "src/support/TKJournal.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

/// The input with sums that hold, so that the fuzzer gets past them.
std::vector<uint8_t> Mended(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> bytes(data, data + size);
    TKJournalHeader header;
    if (size < sizeof header) return bytes;
    std::memcpy(&header, bytes.data(), sizeof header);
    header.checksum = TKJournalChecksum(&header, offsetof(TKJournalHeader, checksum));
    std::memcpy(bytes.data(), &header, sizeof header);
    TKJournalRecord record;
    for (size_t at = sizeof header; at + sizeof record <= bytes.size(); at += sizeof record) {
        std::memcpy(&record, bytes.data() + at, sizeof record);
        record.checksum = TKJournalChecksum(&record, offsetof(TKJournalRecord, checksum));
        std::memcpy(bytes.data() + at, &record, sizeof record);
    }
    return bytes;
}

void Read(const uint8_t* data, size_t size)
{
    // The clip that the file itself names, so that it is not refused for that alone.
    TKJournalHeader header = {};
    if (size >= sizeof header) std::memcpy(&header, data, sizeof header);
    TKJournalContent content;
    const BPStatus err = TKJournalRead(data, size, header.clip, &content);
    if ((err == bpNoErr) != (content.sequence != 0)) std::abort();
    if (err == bpNoErr && content.settings.signature != kOCSettingsSignature) std::abort();
    header.clip.path[sizeof header.clip.path - 1] = 0;
    char name[64], title[300];
    TKJournalName(header.clip, name, sizeof name);
    TKJournalTitle(header.clip, title, sizeof title);
    if (std::strlen(name) != 26) std::abort();
    for (const char* c = title; *c != 0; ++c)
        if (static_cast<unsigned char>(*c) < ' ') std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Read(data, size);
    const std::vector<uint8_t> mended = Mended(data, size);
    Read(mended.data(), mended.size());
    return 0;
}
