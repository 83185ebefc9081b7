// Signals that ask for the end, each in a process of its own.
#include "src/platform/BPEndRequest.h"
#include "src/platform/BPPlatform.h"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace {

bool IsReadable(int descriptor)
{
    pollfd request = {.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&request, 1, 0) == 1;
}

/// 0 when one signal after the other is taken as a request, else a number that tells what is wrong.
int TakesRequests(int number)
{
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    const int descriptor = BPCatchEndRequests();
    if (descriptor < 0 || BPCatchEndRequests() != descriptor) return 1;
    if (BPEndIsRequested() || platform.process.endRequested() || IsReadable(descriptor)) return 2;
    raise(number);
    if (!BPEndIsRequested() || !platform.process.endRequested() || !IsReadable(descriptor)) return 3;
    for (int i = 0; i < 100000; ++i) raise(number); // more than a pipe holds
    return BPEndIsRequested() && IsReadable(descriptor) ? 0 : 4;
}

/// 0 when a signal that was ignored before is no request.
int LeavesIgnored(int number)
{
    signal(number, SIG_IGN);
    const int descriptor = BPCatchEndRequests();
    raise(number);
    return BPEndIsRequested() || IsReadable(descriptor) ? 1 : 0;
}

} // namespace

TEST(BPEndRequest, TermInterruptAndHangupAreRequestsHoweverOftenTheyCome)
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_EXIT(_exit(TakesRequests(number)), testing::ExitedWithCode(0), "") << number;
}

TEST(BPEndRequest, OneThatComesMuchLaterEndsAProcessThatHangs)
{
    const auto hang = [] {
        (void)BPCatchEndRequests();
        raise(SIGHUP);
        raise(SIGTERM); // a session that ends sends both at once
        for (unsigned left = 7; left > 0;) left = sleep(left);
        raise(SIGTERM);
        _exit(0);
    };
    EXPECT_EXIT(hang(), testing::KilledBySignal(SIGTERM), "");
}

TEST(BPEndRequest, WhatIsIgnoredStaysIgnored)
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_EXIT(_exit(LeavesIgnored(number)), testing::ExitedWithCode(0), "") << number;
}

TEST(BPEndRequest, OtherSignalsAreNoneOfThem)
{
    EXPECT_EXIT((void)BPCatchEndRequests(); raise(SIGUSR1), testing::KilledBySignal(SIGUSR1), "");
}
