// Zeroed memory on 64-byte boundaries, with a counter by which tests make one request fail.
#include "src/platform/BPMemory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>

namespace {

std::atomic<uint64_t> gRequests{0};
std::atomic<uint64_t> gFailingRequest{0};

/// Blocks of several huge pages stand on their boundaries and ask for them: a frame is there after some ten page faults
/// instead of thousands.
constexpr size_t kHugePage = size_t{2} << 20;

} // namespace

void* BPAllocate(size_t byteCount)
{
    const uint64_t request = gRequests.fetch_add(1, std::memory_order_relaxed) + 1;
    if (request == gFailingRequest.load(std::memory_order_relaxed)) return nullptr;
    if (byteCount > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    void* block = nullptr;
    const bool isHuge = byteCount >= 2 * kHugePage;
    if (posix_memalign(&block, isHuge ? kHugePage : 64, byteCount > 0 ? byteCount : 1) != 0) return nullptr;
    if (isHuge) (void)madvise(block, byteCount / kHugePage * kHugePage, MADV_HUGEPAGE); // without them all the same
    memset(block, 0, byteCount);
    return block;
}

void BPFree(void* block)
{
    free(block);
}

void BPFailAllocation(uint64_t requestNumber)
{
    gFailingRequest.store(requestNumber, std::memory_order_relaxed);
    gRequests.store(0, std::memory_order_relaxed);
}

uint64_t BPAllocationCount()
{
    return gRequests.load(std::memory_order_relaxed);
}
