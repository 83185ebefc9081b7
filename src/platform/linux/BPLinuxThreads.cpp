// Threads and auto-reset events. Signals of the process stay with the main thread; faults of a thread stay with it.
#include "src/platform/BPThreads.h"

#include <atomic>
#include <csignal>
#include <new>
#include <pthread.h>

namespace {

struct Event {
    pthread_mutex_t mutex;
    pthread_cond_t changed;
    bool signalled;
};

struct Thread {
    pthread_t thread;
    void (*routine)(void* argument);
    void* argument;
};

std::atomic<uint64_t> gCreations{0};
std::atomic<uint64_t> gFailingCreation{0};
std::atomic<uint32_t> gLastThreadId{0};

bool CreationMayGoOn()
{
    const uint64_t number = gCreations.fetch_add(1, std::memory_order_relaxed) + 1;
    return number != gFailingCreation.load(std::memory_order_relaxed);
}

Event* EventOf(const BPEvent* event)
{
    return reinterpret_cast<Event*>(event->handle);
}

void* RunThread(void* argument)
{
    const Thread* thread = static_cast<const Thread*>(argument);
    thread->routine(thread->argument);
    return nullptr;
}

} // namespace

BPStatus BPCreateEvent(BPEvent* event)
{
    event->handle = 0;
    if (!CreationMayGoOn()) return bpMemFullErr;
    Event* made = new (std::nothrow) Event;
    if (made == nullptr) return bpMemFullErr;
    made->signalled = false;
    if (pthread_mutex_init(&made->mutex, nullptr) != 0) {
        delete made;
        return bpMemFullErr;
    }
    if (pthread_cond_init(&made->changed, nullptr) != 0) {
        pthread_mutex_destroy(&made->mutex);
        delete made;
        return bpMemFullErr;
    }
    event->handle = reinterpret_cast<uintptr_t>(made);
    return bpNoErr;
}

void BPDisposeEvent(BPEvent* event)
{
    if (event->handle == 0) return;
    Event* made = EventOf(event);
    // The last signaller may still be on its way out of the lock; taking it once lets it leave.
    pthread_mutex_lock(&made->mutex);
    pthread_mutex_unlock(&made->mutex);
    pthread_cond_destroy(&made->changed);
    pthread_mutex_destroy(&made->mutex);
    delete made;
    event->handle = 0;
}

void BPSignalEvent(BPEvent* event)
{
    if (event->handle == 0) return;
    Event* made = EventOf(event);
    pthread_mutex_lock(&made->mutex);
    made->signalled = true;
    // Under the lock: the waiter may dispose of the event as soon as it has the lock.
    pthread_cond_signal(&made->changed);
    pthread_mutex_unlock(&made->mutex);
}

void BPWaitEvent(BPEvent* event)
{
    if (event->handle == 0) return;
    Event* made = EventOf(event);
    pthread_mutex_lock(&made->mutex);
    while (!made->signalled) pthread_cond_wait(&made->changed, &made->mutex);
    made->signalled = false;
    pthread_mutex_unlock(&made->mutex);
}

BPStatus BPStartThread(void (*routine)(void* argument), void* argument, BPThread* thread)
{
    *thread = {};
    if (!CreationMayGoOn()) return bpMemFullErr;
    Thread* made = new (std::nothrow) Thread{.thread = {}, .routine = routine, .argument = argument};
    if (made == nullptr) return bpMemFullErr;

    sigset_t blocked, before;
    sigfillset(&blocked);
    for (const int fault : {SIGBUS, SIGSEGV, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) sigdelset(&blocked, fault);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const int failed = pthread_create(&made->thread, nullptr, RunThread, made);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (failed != 0) {
        delete made;
        return bpMemFullErr;
    }
    thread->handle = reinterpret_cast<uintptr_t>(made);
    thread->id = gLastThreadId.fetch_add(1, std::memory_order_relaxed) + 1;
    return bpNoErr;
}

void BPJoinThread(BPThread* thread)
{
    if (thread->handle == 0) return;
    Thread* made = reinterpret_cast<Thread*>(thread->handle);
    pthread_join(made->thread, nullptr);
    delete made;
    *thread = {};
}

void BPFailThreadCreation(uint64_t number)
{
    gFailingCreation.store(number, std::memory_order_relaxed);
    gCreations.store(0, std::memory_order_relaxed);
}
