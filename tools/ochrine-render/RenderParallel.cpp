// A shared counter hands the parts out.
#include "tools/ochrine-render/RenderParallel.h"

#include "src/platform/BPThreads.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace {

struct Job {
    const std::function<void(uint32_t)>& part;
    uint32_t count;
    std::atomic<uint32_t> next{0};
};

void Work(void* argument)
{
    Job* job = static_cast<Job*>(argument);
    for (;;) {
        const uint32_t number = job->next.fetch_add(1, std::memory_order_relaxed);
        if (number >= job->count) return;
        job->part(number);
    }
}

} // namespace

void RenderParts(int threads, uint32_t count, const std::function<void(uint32_t part)>& part)
{
    Job job{part, count};
    std::vector<BPThread> helpers;
    const uint32_t wanted = std::min(static_cast<uint32_t>(std::max(threads, 1)), count);
    for (uint32_t i = 1; i < wanted; ++i) {
        BPThread helper = {};
        if (BPStartThread(Work, &job, &helper) != bpNoErr) break;
        helpers.push_back(helper);
    }
    Work(&job);
    for (BPThread& helper : helpers) BPJoinThread(&helper);
}
