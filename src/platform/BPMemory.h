// Memory whose lack is reported. Tests make the n-th request fail.
#pragma once

#include <cstddef>
#include <cstdint>

/// Returns zeroed memory on a 64-byte boundary, or null. Release with BPFree.   Thread: any.
void* BPAllocate(size_t byteCount);

/// Releases what BPAllocate gave; null is allowed.   Thread: any.
void BPFree(void* block);

/// Makes the request with this number (1 is the next one) fail, and only that one; 0 lets all succeed. For tests.
/// Thread: main.
void BPFailAllocation(uint64_t requestNumber);

/// Counts the requests since the last call of BPFailAllocation. For tests.
uint64_t BPAllocationCount();
