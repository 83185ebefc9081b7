// The clock. A sleep interrupted by a signal goes on to its deadline.
#include "src/platform/linux/BPLinux.h"

#include <cerrno>
#include <ctime>

namespace {

double WallSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

uint64_t MonotonicMs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
}

void SleepMs(uint32_t milliseconds)
{
    timespec deadline = {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += milliseconds / 1000u;
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000u) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_nsec -= 1000000000L;
        deadline.tv_sec += 1;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
    }
}

} // namespace

void BPFillLinuxClock(BPClockOps* ops)
{
    *ops = {.wallSeconds = WallSeconds, .monotonicMs = MonotonicMs, .sleepMs = SleepMs};
}
