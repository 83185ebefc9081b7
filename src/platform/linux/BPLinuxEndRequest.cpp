// Signals that ask for the end of the process become a mark and a byte in a pipe.
#include "src/platform/BPEndRequest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int64_t kPatienceSeconds = 5;

std::atomic<bool> gRequested = false;
std::atomic<int64_t> gFirstAt = 0; ///< seconds, of the first request
std::atomic<int> gWriteEnd = -1;
int gReadEnd = -1; // main thread
// Used in a handler:
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free &&
              std::atomic<int64_t>::is_always_lock_free);

int64_t Seconds()
{
    timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

void TakeRequest(int number)
{
    const int kept = errno;
    if (!gRequested.load()) {
        gFirstAt.store(Seconds());
        gRequested.store(true);
    } else if (Seconds() - gFirstAt.load() > kPatienceSeconds) {
        // It hangs, and somebody has had enough.
        (void)std::signal(number, SIG_DFL);
        (void)std::raise(number); // comes when this returns
    }
    const char byte = 1;
    // Where it fails, there is no pipe, or it is full and so readable already.
    if (write(gWriteEnd.load(), &byte, 1) < 0) errno = kept;
}

void Catch(int number)
{
    struct sigaction now = {};
    if (sigaction(number, nullptr, &now) != 0 || now.sa_handler == SIG_IGN) return;
    struct sigaction wanted = {};
    wanted.sa_handler = TakeRequest;
    sigemptyset(&wanted.sa_mask);
    wanted.sa_flags = SA_RESTART;
    (void)sigaction(number, &wanted, nullptr);
}

} // namespace

int BPCatchEndRequests()
{
    if (gReadEnd >= 0) return gReadEnd;
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return -1; // signals do what they did: nobody could watch for them
    gReadEnd = ends[0];
    gWriteEnd.store(ends[1]);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) Catch(number);
    return gReadEnd;
}

bool BPEndIsRequested()
{
    return gRequested.load();
}
