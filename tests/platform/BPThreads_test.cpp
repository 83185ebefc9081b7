#include "src/platform/BPThreads.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <time.h>

namespace {

struct PingPong {
    BPEvent ping = {}, pong = {};
    int rounds = 0;
    uint64_t value = 0; // plain on purpose: only the events order the accesses
};

void Answer(void* argument)
{
    PingPong* game = static_cast<PingPong*>(argument);
    for (int round = 0; round < game->rounds; ++round) {
        BPWaitEvent(&game->ping);
        game->value = game->value * 3 + 1;
        BPSignalEvent(&game->pong);
    }
}

void CountWakings(void* argument)
{
    PingPong* game = static_cast<PingPong*>(argument);
    for (;;) {
        BPWaitEvent(&game->ping);
        if (game->rounds == 0) return;
        game->value++;
        BPSignalEvent(&game->pong);
    }
}

void SignalOnce(void* argument)
{
    BPSignalEvent(static_cast<BPEvent*>(argument));
}

} // namespace

TEST(BPThreads, EventsHandMemoryOver)
{
    PingPong game;
    game.rounds = 5000;
    ASSERT_EQ(BPCreateEvent(&game.ping), bpNoErr);
    ASSERT_EQ(BPCreateEvent(&game.pong), bpNoErr);
    BPThread thread;
    ASSERT_EQ(BPStartThread(Answer, &game, &thread), bpNoErr);
    uint64_t expected = 0;
    for (int round = 0; round < game.rounds; ++round) {
        game.value += static_cast<uint64_t>(round);
        expected = (expected + static_cast<uint64_t>(round)) * 3 + 1;
        BPSignalEvent(&game.ping);
        BPWaitEvent(&game.pong);
        ASSERT_EQ(game.value, expected);
    }
    BPJoinThread(&thread);
    EXPECT_EQ(thread.handle, 0u);
    EXPECT_EQ(thread.id, 0u);
    BPDisposeEvent(&game.ping);
    BPDisposeEvent(&game.pong);
    EXPECT_EQ(game.ping.handle, 0u);
}

TEST(BPThreads, SignalBeforeTheWaitIsKeptAndTwoAreOne)
{
    PingPong game;
    game.rounds = 1;
    ASSERT_EQ(BPCreateEvent(&game.ping), bpNoErr);
    ASSERT_EQ(BPCreateEvent(&game.pong), bpNoErr);
    BPSignalEvent(&game.ping);
    BPSignalEvent(&game.ping);
    BPThread thread;
    ASSERT_EQ(BPStartThread(CountWakings, &game, &thread), bpNoErr);
    BPWaitEvent(&game.pong);
    const timespec pause = {.tv_sec = 0, .tv_nsec = 50000000};
    nanosleep(&pause, nullptr);
    game.rounds = 0; // a second waking would have set pong again and counted
    BPSignalEvent(&game.ping);
    BPJoinThread(&thread);
    EXPECT_EQ(game.value, 1u);
    BPDisposeEvent(&game.ping);
    BPDisposeEvent(&game.pong);
}

TEST(BPThreads, EventMayBeDisposedOfByItsWaiter)
{
    for (int round = 0; round < 300; ++round) {
        BPEvent event;
        ASSERT_EQ(BPCreateEvent(&event), bpNoErr);
        BPThread thread;
        ASSERT_EQ(BPStartThread(SignalOnce, &event, &thread), bpNoErr);
        BPWaitEvent(&event);
        // The signaller reads the record only before the waiter can run; the record itself may go with the event.
        BPEvent gone = event;
        BPDisposeEvent(&gone);
        BPJoinThread(&thread);
    }
}

TEST(BPThreads, IdsAreUnique)
{
    std::set<uint32_t> ids;
    BPThread threads[8];
    for (BPThread& thread : threads) {
        ASSERT_EQ(BPStartThread([](void*) {}, nullptr, &thread), bpNoErr);
        EXPECT_NE(thread.id, 0u);
        ids.insert(thread.id);
    }
    EXPECT_EQ(ids.size(), 8u);
    for (BPThread& thread : threads) BPJoinThread(&thread);
}

TEST(BPThreads, SignalsStayWithTheMainThreadAndFaultsDoNot)
{
    sigset_t mask;
    sigemptyset(&mask);
    BPThread thread;
    ASSERT_EQ(
        BPStartThread([](void* argument) { pthread_sigmask(SIG_SETMASK, nullptr, static_cast<sigset_t*>(argument)); },
                      &mask, &thread),
        bpNoErr);
    BPJoinThread(&thread);
    for (const int number : {SIGINT, SIGTERM, SIGCHLD, SIGPIPE}) EXPECT_EQ(sigismember(&mask, number), 1) << number;
    for (const int number : {SIGBUS, SIGSEGV, SIGFPE}) EXPECT_EQ(sigismember(&mask, number), 0) << number;
    sigset_t ours;
    pthread_sigmask(SIG_SETMASK, nullptr, &ours);
    EXPECT_EQ(sigismember(&ours, SIGINT), 0);
}

TEST(BPThreads, OnlyTheChosenCreationFails)
{
    for (uint64_t failing = 1; failing <= 3; ++failing) {
        BPFailThreadCreation(failing);
        BPEvent first, second;
        BPThread thread;
        const BPStatus statuses[] = {BPCreateEvent(&first), BPCreateEvent(&second),
                                     BPStartThread([](void*) {}, nullptr, &thread)};
        for (uint64_t index = 0; index < 3; ++index) {
            EXPECT_EQ(statuses[index], index + 1 == failing ? bpMemFullErr : bpNoErr) << failing << " " << index;
        }
        EXPECT_EQ(first.handle == 0, failing == 1);
        EXPECT_EQ(thread.handle == 0, failing == 3);
        BPJoinThread(&thread);
        BPDisposeEvent(&second);
        BPDisposeEvent(&first);
    }
    BPFailThreadCreation(0);
    BPThread none = {};
    BPJoinThread(&none); // nothing to wait for
}
