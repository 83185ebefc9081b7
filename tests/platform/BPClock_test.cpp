#include "src/platform/BPClock.h"

#include "tests/platform/PlatformTest.h"

#include <csignal>
#include <ctime>
#include <sys/time.h>

namespace {

class BPClock : public PlatformTest {};

} // namespace

static_assert(BPTicksToMs(60) == 1000 && BPTicksToMs(3) == 50 && BPTicksToMs(1) == 16 && BPTicksToMs(0) == 0);

TEST_F(BPClock, WallClockIsTheSystems)
{
    const double before = static_cast<double>(time(nullptr));
    const double now = platform_.clock.wallSeconds();
    EXPECT_GE(now, before);
    EXPECT_LE(now, before + 60);
}

TEST_F(BPClock, SleepLastsAtLeastItsTime)
{
    for (const uint32_t wait : {0u, 1u, 15u, 40u}) {
        const uint64_t begin = platform_.clock.monotonicMs();
        platform_.clock.sleepMs(wait);
        // Both ends are whole milliseconds: one may be lost.
        EXPECT_GE(platform_.clock.monotonicMs() + 1, begin + wait);
    }
}

TEST_F(BPClock, SignalsDoNotShortenASleep)
{
    struct sigaction before = {}, action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before);
    itimerval often = {.it_interval = {.tv_sec = 0, .tv_usec = 5000}, .it_value = {.tv_sec = 0, .tv_usec = 5000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const uint64_t begin = platform_.clock.monotonicMs();
    platform_.clock.sleepMs(100);
    const uint64_t end = platform_.clock.monotonicMs();
    often = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GE(end + 1, begin + 100);
}
