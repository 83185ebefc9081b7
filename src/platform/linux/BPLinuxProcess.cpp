// Processes, watched through descriptors that no reuse of a number can fool.
#include "src/platform/BPEndRequest.h"
#include "src/platform/BPThreads.h"
#include "src/platform/linux/BPLinux.h"

#include <algorithm>
#include <cerrno>
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A handle is the descriptor plus 1 or, where the system refuses descriptors, this bit and the process id.
constexpr uint64_t kByNumber = uint64_t(1) << 63;

uint32_t CurrentId()
{
    return static_cast<uint32_t>(getpid());
}

/// True when the process has ended but its parent has not asked yet.
bool IsZombie(pid_t process)
{
    char path[64];
    snprintf(path, sizeof path, "/proc/%d/stat", process);
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    char text[512] = "";
    const ssize_t got = read(file, text, sizeof text - 1);
    close(file);
    if (got <= 0) return false;
    // The program's name stands in brackets and may itself hold any character.
    const char* bracket = strrchr(text, ')');
    return bracket != nullptr && bracket[1] == ' ' && (bracket[2] == 'Z' || bracket[2] == 'X');
}

bool IsAliveByNumber(pid_t process)
{
    return (kill(process, 0) == 0 || errno == EPERM) && !IsZombie(process);
}

BPStatus Watch(uint32_t processId, BPProcessWatch* watch)
{
    watch->handle = 0;
    if (processId == 0 || processId > static_cast<uint32_t>(INT_MAX)) return bpNotFoundErr;
    const long descriptor = syscall(SYS_pidfd_open, static_cast<pid_t>(processId), 0u);
    if (descriptor >= 0) {
        watch->handle = static_cast<uint64_t>(descriptor) + 1;
        return bpNoErr;
    }
    if (errno == EPERM || errno == ENOSYS) {
        if (!IsAliveByNumber(static_cast<pid_t>(processId))) return bpNotFoundErr;
        watch->handle = kByNumber | processId;
        return bpNoErr;
    }
    return errno == EMFILE || errno == ENFILE || errno == ENOMEM ? bpMemFullErr : bpNotFoundErr;
}

bool IsAlive(const BPProcessWatch* watch)
{
    if (watch->handle == 0) return false;
    if ((watch->handle & kByNumber) != 0) return IsAliveByNumber(static_cast<pid_t>(watch->handle & ~kByNumber));
    pollfd request = {.fd = static_cast<int>(watch->handle - 1), .events = POLLIN, .revents = 0};
    int ready = -1;
    do {
        ready = poll(&request, 1, 0);
    } while (ready < 0 && errno == EINTR);
    return ready == 0;
}

void Unwatch(BPProcessWatch* watch)
{
    if (watch->handle != 0 && (watch->handle & kByNumber) == 0) close(static_cast<int>(watch->handle - 1));
    watch->handle = 0;
}

bool ProcessorSuffices()
{
#if defined(__x86_64__) || defined(__i386__)
    unsigned int a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (d & bit_SSE) != 0;
#else
    return true; // other processors get a build of their own
#endif
}

BPStatus Spawn(const char* const* arguments, uint32_t* processId)
{
    *processId = 0;
    if (arguments == nullptr || arguments[0] == nullptr) return bpParamErr;
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0) return bpMemFullErr;
    // What we block or ignore is our own affair; the program starts as from a shell.
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    const int failed =
        posix_spawnp(&child, arguments[0], nullptr, &attributes, const_cast<char* const*>(arguments), environ);
    posix_spawnattr_destroy(&attributes);
    if (failed != 0) return BPStatusFromErrno(failed);
    *processId = static_cast<uint32_t>(child);
    return bpNoErr;
}

BPStatus Reap(uint32_t processId, int32_t* exitCode)
{
    // 0 and negative numbers would mean whole groups.
    if (processId == 0 || processId > static_cast<uint32_t>(INT_MAX)) return bpNotFoundErr;
    int status = 0;
    pid_t found = -1;
    do {
        found = waitpid(static_cast<pid_t>(processId), &status, WNOHANG);
    } while (found < 0 && errno == EINTR);
    if (found != static_cast<pid_t>(processId)) return bpNotFoundErr;
    if (WIFEXITED(status)) {
        *exitCode = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        *exitCode = 128 + WTERMSIG(status);
    } else {
        return bpNotFoundErr;
    }
    return bpNoErr;
}

} // namespace

uint32_t BPProcessorCount()
{
    // Machines with more processors than the standard set holds need a larger one.
    for (size_t processors = CPU_SETSIZE; processors <= 65536; processors *= 2) {
        cpu_set_t* set = CPU_ALLOC(processors);
        if (set == nullptr) return 1;
        const size_t bytes = CPU_ALLOC_SIZE(processors);
        CPU_ZERO_S(bytes, set);
        const int failed = sched_getaffinity(0, bytes, set);
        const int reason = errno;
        const int count = failed == 0 ? CPU_COUNT_S(bytes, set) : 0;
        CPU_FREE(set);
        if (failed == 0) return static_cast<uint32_t>(std::max(count, 1));
        if (reason != EINVAL) return 1;
    }
    return 1;
}

void BPFillLinuxProcess(BPProcessOps* ops)
{
    *ops = {.currentId = CurrentId,
            .processorCount = BPProcessorCount,
            .processorSuffices = ProcessorSuffices,
            .watch = Watch,
            .isAlive = IsAlive,
            .unwatch = Unwatch,
            .spawn = Spawn,
            .reap = Reap,
            .endRequested = BPEndIsRequested};
}
