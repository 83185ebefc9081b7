// State files: plain files under an advisory lock. A file that is removed while somebody waits for it is found out by
// its link count, so nobody goes on writing into a file without a name.
#include "src/platform/linux/BPLinux.h"

#include "src/platform/BPFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kOpenTries = 8;            // of a file that others remove while we open it
constexpr size_t kFilesLookedAt = 10000; // of a folder that somebody filled

struct OpenFile {
    int folder, file;
    char name[kBPNameLimit + 1];
};

OpenFile* FileOf(const BPStateFile* file)
{
    return reinterpret_cast<OpenFile*>(file->handle);
}

int OpenStateFolder()
{
    const std::string path = BPStateFolder();
    if (path.empty()) return -1;
    return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

/// Opens and locks one file in the folder. The descriptor, or -1 with the status.
int OpenLocked(int folder, const char* name, bool create, BPStatus* status)
{
    const int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (create ? O_CREAT : 0);
    for (int attempt = 0; attempt < kOpenTries; ++attempt) {
        const int file = openat(folder, name, flags, 0600);
        if (file < 0) {
            *status = errno == EISDIR ? bpFileNotFoundErr : BPStatusFromErrno(errno);
            return -1;
        }
        struct stat info = {};
        if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != geteuid() || info.st_nlink > 1) {
            *status = bpFileNotFoundErr;
            close(file);
            return -1;
        }
        if (flock(file, LOCK_EX | LOCK_NB) != 0) {
            *status = errno == EWOULDBLOCK ? bpFileBusyErr : BPStatusFromErrno(errno);
            close(file);
            return -1;
        }
        if (fstat(file, &info) == 0 && info.st_nlink == 1) {
            *status = bpNoErr;
            return file;
        }
        close(file); // its owner removed it between the two
    }
    *status = bpFileBusyErr;
    return -1;
}

BPStatus Open(const char* name, bool create, BPStateFile* file)
{
    file->handle = 0;
    if (!BPIsPlainName(name)) return bpParamErr;
    const int folder = OpenStateFolder();
    if (folder < 0) return bpPermissionErr;
    BPStatus status = bpNoErr;
    const int opened = OpenLocked(folder, name, create, &status);
    OpenFile* made = opened >= 0 ? new (std::nothrow) OpenFile{} : nullptr;
    if (made == nullptr) {
        if (opened >= 0) close(opened);
        close(folder);
        return opened >= 0 ? bpMemFullErr : status;
    }
    made->folder = folder;
    made->file = opened;
    std::strncpy(made->name, name, kBPNameLimit);
    file->handle = reinterpret_cast<uintptr_t>(made);
    return bpNoErr;
}

BPStatus Read(BPStateFile* file, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    *byteCount = 0;
    if (file->handle == 0 || (bytes == nullptr && capacity > 0)) return bpParamErr;
    const int descriptor = FileOf(file)->file;
    struct stat info = {};
    if (fstat(descriptor, &info) != 0) return BPStatusFromErrno(errno);
    uint32_t done = 0;
    while (done < capacity) {
        const ssize_t got = pread(descriptor, static_cast<uint8_t*>(bytes) + done, capacity - done, done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return BPStatusFromErrno(errno);
        if (got == 0) break;
        done += static_cast<uint32_t>(got);
    }
    *byteCount =
        done < capacity ? done : static_cast<uint32_t>(std::clamp<int64_t>(info.st_size, done, int64_t{UINT32_MAX}));
    return bpNoErr;
}

BPStatus Write(BPStateFile* file, uint64_t position, const void* bytes, uint32_t byteCount)
{
    if (file->handle == 0 || (bytes == nullptr && byteCount > 0)) return bpParamErr;
    if (position > static_cast<uint64_t>(INT64_MAX) - byteCount) return bpParamErr;
    uint32_t done = 0;
    while (done < byteCount) {
        const ssize_t written = pwrite(FileOf(file)->file, static_cast<const uint8_t*>(bytes) + done, byteCount - done,
                                       static_cast<off_t>(position + done));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return BPStatusFromErrno(errno);
        if (written == 0) return bpDiskFullErr;
        done += static_cast<uint32_t>(written);
    }
    return bpNoErr;
}

void Close(BPStateFile* file)
{
    if (file->handle == 0) return;
    OpenFile* open = FileOf(file);
    close(open->file);
    close(open->folder);
    delete open;
    file->handle = 0;
}

void Discard(BPStateFile* file)
{
    if (file->handle == 0) return;
    const OpenFile* open = FileOf(file);
    struct stat ours = {}, named = {};
    if (fstat(open->file, &ours) == 0 && fstatat(open->folder, open->name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
        ours.st_dev == named.st_dev && ours.st_ino == named.st_ino)
        unlinkat(open->folder, open->name, 0);
    Close(file);
}

struct AgedFile {
    timespec changed;
    std::string name;
};

bool IsOlder(const AgedFile& a, const AgedFile& b)
{
    if (a.changed.tv_sec != b.changed.tv_sec) return a.changed.tv_sec < b.changed.tv_sec;
    return a.changed.tv_nsec < b.changed.tv_nsec;
}

std::vector<AgedFile> FilesWithSuffix(DIR* folder, const char* suffix)
{
    std::vector<AgedFile> files;
    while (const dirent* entry = readdir(folder)) {
        const size_t length = strlen(entry->d_name), tail = strlen(suffix);
        if (length <= tail || length > kBPNameLimit || strcmp(entry->d_name + length - tail, suffix) != 0) continue;
        struct stat info = {};
        if (fstatat(dirfd(folder), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode)) continue;
        files.push_back({.changed = info.st_mtim, .name = entry->d_name});
        if (files.size() >= kFilesLookedAt) break;
    }
    return files;
}

void Prune(const char* suffix, uint32_t limit)
{
    const int descriptor = OpenStateFolder();
    if (descriptor < 0) return;
    DIR* folder = fdopendir(descriptor); // takes the descriptor over
    if (folder == nullptr) {
        close(descriptor);
        return;
    }
    std::vector<AgedFile> files = FilesWithSuffix(folder, suffix);
    std::sort(files.begin(), files.end(), IsOlder);
    size_t left = files.size();
    for (const AgedFile& aged : files) {
        if (left <= limit) break;
        BPStatus status = bpNoErr;
        const int file = OpenLocked(dirfd(folder), aged.name.c_str(), false, &status);
        if (file < 0) continue;
        if (unlinkat(dirfd(folder), aged.name.c_str(), 0) == 0) --left;
        close(file);
    }
    closedir(folder);
}

} // namespace

void BPFillLinuxStateFile(BPStateFileOps* ops)
{
    *ops = {.open = Open, .read = Read, .write = Write, .close = Close, .discard = Discard, .prune = Prune};
}
