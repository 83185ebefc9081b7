// Signals that ask for the end of the process become a mark and a byte in a pipe.
#include "src/platform/BPEndRequest.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::atomic<bool> gRequested = false;
std::atomic<int> gWriteEnd = -1;
int gReadEnd = -1;                                                                              // main thread
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free); // used in a handler

void TakeRequest(int)
{
    const int kept = errno;
    gRequested.store(true);
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
