// Named shared memory: files in the runtime folder, mapped whole.
//
// The other side can cut a mapped file short at any time, and a touched page that is gone raises SIGBUS. A handler,
// installed with the first mapping, lays a zero page over each vanished page of a mapping of ours and lets the
// instruction run again. What it reads is a fixed table of mappings; it takes no lock and allocates nothing. Faults
// elsewhere go to whoever had the signal before.
#include "src/platform/linux/BPLinux.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// One mapping. `begin` is 0 while `end` changes, so that the handler never pairs two mappings.
struct Mapping {
    std::atomic<bool> taken;
    std::atomic<uintptr_t> begin;
    std::atomic<uintptr_t> end; // one past the last byte of the last page
    std::atomic<bool> torn;     // a page of it had vanished when it was touched
    int file;                   // kept open; the handler does not look at it
};

constexpr size_t kMappingLimit = 64;

Mapping gMappings[kMappingLimit]; // any thread; the handler reads it
struct sigaction gPreviousAction; // written once, before the handler can run
uintptr_t gPageBytes = 0;
pthread_once_t gHandlerOnce = PTHREAD_ONCE_INIT;

/// The mapping that holds an address, or null.
Mapping* MappingOf(uintptr_t address)
{
    for (Mapping& mapping : gMappings) {
        const uintptr_t begin = mapping.begin.load();
        if (begin == 0) continue;
        const uintptr_t end = mapping.end.load();
        if (mapping.begin.load() == begin && address >= begin && address < end) return &mapping;
    }
    return nullptr;
}

void PassOn(int number, siginfo_t* info, void* context)
{
    if ((gPreviousAction.sa_flags & SA_SIGINFO) != 0) {
        gPreviousAction.sa_sigaction(number, info, context);
        return;
    }
    const bool sent = info->si_code <= 0; // by a process, not by a fault
    if (gPreviousAction.sa_handler == SIG_IGN && sent) return;
    if (gPreviousAction.sa_handler != SIG_DFL && gPreviousAction.sa_handler != SIG_IGN) {
        gPreviousAction.sa_handler(number);
        return;
    }
    // A fault comes again when the handler returns; a sent signal has to be sent again.
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(number, &standard, nullptr);
    if (sent) syscall(SYS_tgkill, getpid(), syscall(SYS_gettid), number);
}

void OnBusError(int number, siginfo_t* info, void* context)
{
    const int savedErrno = errno;
    const uintptr_t address = reinterpret_cast<uintptr_t>(info->si_addr);
    if (Mapping* mapping = info->si_code == BUS_ADRERR ? MappingOf(address) : nullptr) {
        const uintptr_t page = address & ~(gPageBytes - 1);
        // The bare system call: the library's wrapper is not promised to be safe here.
        const long mapped = syscall(SYS_mmap, page, gPageBytes, PROT_READ | PROT_WRITE,
                                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0L);
        if (static_cast<uintptr_t>(mapped) == page) {
            mapping->torn.store(true);
            errno = savedErrno;
            return;
        }
    }
    PassOn(number, info, context);
    errno = savedErrno;
}

void InstallHandler()
{
    gPageBytes = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    sigaction(SIGBUS, nullptr, &gPreviousAction);
    struct sigaction ours = {};
    ours.sa_sigaction = OnBusError;
    ours.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&ours.sa_mask);
    sigaction(SIGBUS, &ours, nullptr);
}

/// Maps all of the file and notes the mapping, which then owns the descriptor.
BPStatus MapFile(int file, uint64_t byteCount, BPSharedMemory* memory)
{
    pthread_once(&gHandlerOnce, InstallHandler);
    if (byteCount > static_cast<uint64_t>(PTRDIFF_MAX)) return bpMemFullErr;
    for (size_t slot = 0; slot < kMappingLimit; ++slot) {
        Mapping& mapping = gMappings[slot];
        bool free = false;
        if (!mapping.taken.compare_exchange_strong(free, true)) continue;
        void* address = mmap(nullptr, byteCount, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (address == MAP_FAILED) {
            mapping.taken.store(false);
            return bpMemFullErr;
        }
        const uintptr_t begin = reinterpret_cast<uintptr_t>(address);
        mapping.file = file;
        mapping.torn.store(false);
        mapping.end.store(begin + ((byteCount + gPageBytes - 1) & ~(gPageBytes - 1)));
        mapping.begin.store(begin);
        *memory = {.handle = slot + 1, .address = static_cast<uint8_t*>(address), .byteCount = byteCount};
        return bpNoErr;
    }
    return bpMemFullErr;
}

/// Reserves the memory now: a full memory shall be an error here and not a fault later.
BPStatus Reserve(int file, uint64_t byteCount)
{
    // Not posix_fallocate: where the file system cannot reserve, that one writes to every block instead.
    int failed = -1;
    do {
        failed = fallocate(file, 0, 0, static_cast<off_t>(byteCount));
    } while (failed != 0 && errno == EINTR);
    if (failed == 0) return bpNoErr;
    if (errno == EOPNOTSUPP && ftruncate(file, static_cast<off_t>(byteCount)) == 0) return bpNoErr;
    return bpMemFullErr;
}

BPStatus Create(const char* name, uint64_t byteCount, BPSharedMemory* memory)
{
    *memory = {};
    if (!BPIsPlainName(name) || byteCount == 0 || byteCount > static_cast<uint64_t>(PTRDIFF_MAX)) return bpParamErr;
    const int folder = BPOpenRuntimeFolder(nullptr);
    if (folder < 0) return bpFileNotFoundErr;

    BPStatus status = bpNoErr;
    const int file = openat(folder, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) {
        status = BPStatusFromErrno(errno);
    } else {
        status = Reserve(file, byteCount);
        if (status == bpNoErr) status = MapFile(file, byteCount, memory);
        if (status != bpNoErr) {
            unlinkat(folder, name, 0);
            close(file);
        }
    }
    close(folder);
    return status;
}

BPStatus Open(const char* name, uint64_t minimumBytes, BPSharedMemory* memory)
{
    *memory = {};
    if (!BPIsPlainName(name)) return bpParamErr;
    const int folder = BPOpenRuntimeFolder(nullptr);
    if (folder < 0) return bpFileNotFoundErr;
    // Non-blocking, because the name may belong to a pipe.
    const int file = openat(folder, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    close(folder);
    if (file < 0) return bpFileNotFoundErr;

    BPStatus status = bpNoErr;
    struct stat info = {};
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != geteuid()) {
        status = bpFileNotFoundErr;
    } else if (info.st_size <= 0 || static_cast<uint64_t>(info.st_size) < minimumBytes) {
        status = bpParamErr;
    } else {
        status = MapFile(file, static_cast<uint64_t>(info.st_size), memory);
    }
    if (status != bpNoErr) close(file);
    return status;
}

void Close(BPSharedMemory* memory)
{
    const uint64_t handle = memory->handle;
    *memory = {};
    if (handle == 0 || handle > kMappingLimit) return;
    Mapping& mapping = gMappings[handle - 1];
    const uintptr_t begin = mapping.begin.exchange(0);
    if (begin == 0) return;
    munmap(reinterpret_cast<void*>(begin), mapping.end.load() - begin);
    close(mapping.file);
    mapping.taken.store(false);
}

bool IsWhole(const BPSharedMemory* memory)
{
    if (memory->handle == 0 || memory->handle > kMappingLimit) return false;
    const Mapping& mapping = gMappings[memory->handle - 1];
    struct stat info = {};
    if (mapping.begin.load() == 0 || mapping.torn.load() || fstat(mapping.file, &info) != 0) return false;
    return info.st_nlink > 0 && static_cast<uint64_t>(info.st_size) >= memory->byteCount;
}

BPStatus Remove(const char* name)
{
    if (!BPIsPlainName(name)) return bpParamErr;
    const int folder = BPOpenRuntimeFolder(nullptr);
    if (folder < 0) return bpFileNotFoundErr;
    BPStatus status = bpNoErr;
    struct stat info = {};
    if (fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode)) {
        status = bpFileNotFoundErr;
    } else if (unlinkat(folder, name, 0) != 0) {
        status = BPStatusFromErrno(errno);
    }
    close(folder);
    return status;
}

BPStatus RemoveMapped(const char* name, const BPSharedMemory* memory)
{
    if (!BPIsPlainName(name)) return bpParamErr;
    if (memory->handle == 0 || memory->handle > kMappingLimit) return bpParamErr;
    const Mapping& mapping = gMappings[memory->handle - 1];
    if (mapping.begin.load() == 0) return bpParamErr;
    const int folder = BPOpenRuntimeFolder(nullptr);
    if (folder < 0) return bpFileNotFoundErr;
    // Two who look at one object at once must not both remove its name: the second would meet its successor.
    BPStatus status = bpFileNotFoundErr;
    if (flock(mapping.file, LOCK_EX | LOCK_NB) == 0) {
        struct stat mapped = {}, named = {};
        if (fstat(mapping.file, &mapped) == 0 && fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
            mapped.st_dev == named.st_dev && mapped.st_ino == named.st_ino)
            status = unlinkat(folder, name, 0) == 0 ? bpNoErr : BPStatusFromErrno(errno);
        flock(mapping.file, LOCK_UN);
    }
    close(folder);
    return status;
}

} // namespace

void BPFillLinuxSharedMemory(BPSharedMemoryOps* ops)
{
    *ops = {.create = Create,
            .open = Open,
            .close = Close,
            .isWhole = IsWhole,
            .remove = Remove,
            .removeMapped = RemoveMapped};
}
