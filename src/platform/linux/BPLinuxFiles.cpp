// Whole files, and the folders of the user. Nothing here trusts a path: pipes do not block, folders are checked on the
// open descriptor, and a file is replaced only by a complete one.
#include "src/platform/BPFiles.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"
#include "src/platform/linux/BPLinux.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A variable of the environment that holds an absolute path; null otherwise.
const char* AbsoluteFromEnvironment(const char* variable)
{
    const char* value = getenv(variable);
    return value != nullptr && value[0] == '/' ? value : nullptr;
}

/// Makes a folder and those above it, all of them private. Existing ones stay as they are.
bool MakeFolders(const std::string& path)
{
    // Failures on the way are told by the last folder: one that exists may stand in a folder that we cannot write.
    for (size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        mkdir(path.substr(0, end).c_str(), 0700);
    }
    mkdir(path.c_str(), 0700);
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

/// Why the folder is refused, or null when it is ours alone.
const char* ReasonAgainst(int folder)
{
    struct stat info = {};
    if (fstat(folder, &info) != 0 || !S_ISDIR(info.st_mode)) return "it is no folder";
    if (info.st_uid != geteuid()) return "it belongs to another user";
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) return "others may use it";
    return nullptr;
}

/// What a stream's error comes to. What stands in no row is a wrong parameter.
BPStatus StreamStatusOf(int number)
{
    switch (number) {
    case ENOENT: return bpFileNotFoundErr;
    case EIO: return bpIOErr;
    case ENOMEM: return bpMemFullErr;
    case EACCES: return bpPermissionErr;
    case EBUSY: return bpFileBusyErr;
    case EEXIST: return bpFileExistsErr;
    case ENODEV: return bpNoDeviceErr;
    case ENOTDIR: return bpNotFolderErr;
    case EISDIR: return bpIsFolderErr;
    case EINVAL: return bpBadFileErr;
    case ENFILE: return bpTooManyFilesErr;
    case EFBIG: return bpFileTooLargeErr;
    case ENOSPC: return bpDiskFullErr;
    case EROFS: return bpReadOnlyErr;
    default: return bpParamErr;
    }
}

BPStatus WriteAll(int file, const uint8_t* bytes, size_t byteCount)
{
    while (byteCount > 0) {
        const ssize_t written = write(file, bytes, byteCount);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return StreamStatusOf(errno);
        bytes += written;
        byteCount -= static_cast<size_t>(written);
    }
    return bpNoErr;
}

/// Makes the room or tells that there is none: a vector itself would end the process.
BPStatus MakeRoom(std::vector<uint8_t>* bytes, size_t byteCount)
{
    if (byteCount <= bytes->capacity()) return bpNoErr;
    void* probe = BPAllocate(byteCount);
    if (probe == nullptr) return bpMemFullErr;
    BPFree(probe);
    bytes->reserve(byteCount);
    return bpNoErr;
}

BPStatus ReadAll(int file, size_t expectedBytes, size_t maximumBytes, std::vector<uint8_t>* bytes)
{
    // The size is a hint only: some files tell none, and a file can grow.
    if (BPStatus err = MakeRoom(bytes, expectedBytes); err != bpNoErr) return err;
    uint8_t chunk[16384];
    for (;;) {
        const ssize_t got = read(file, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return StreamStatusOf(errno);
        if (got == 0) return bpNoErr;
        const size_t count = static_cast<size_t>(got);
        if (count > maximumBytes - bytes->size()) return bpParamErr;
        if (bytes->size() + count > bytes->capacity()) {
            const size_t wanted = std::max(bytes->size() + count, bytes->capacity() * 2);
            if (BPStatus err = MakeRoom(bytes, std::min(wanted, maximumBytes)); err != bpNoErr) return err;
        }
        bytes->insert(bytes->end(), chunk, chunk + count);
    }
}

/// Flushes the folder, so that the new name outlives a power cut. Some file systems cannot; that is no error.
void FlushFolder(const std::string& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

/// The user's home, by the environment or the list of users; empty when neither tells.
std::string HomeFolder()
{
    if (const char* home = AbsoluteFromEnvironment("HOME"); home != nullptr) return home;
    passwd record = {};
    passwd* found = nullptr;
    char text[4096];
    if (getpwuid_r(geteuid(), &record, text, sizeof text, &found) != 0 || found == nullptr) return {};
    if (found->pw_dir == nullptr || found->pw_dir[0] != '/') return {};
    return found->pw_dir;
}

/// One of the user's places; `fallback` is that place below the home folder. Empty when there is no home.
std::string UserPlace(const char* variable, const char* fallback)
{
    if (const char* base = AbsoluteFromEnvironment(variable); base != nullptr) return base;
    const std::string home = HomeFolder();
    return home.empty() ? std::string() : home + fallback;
}

/// A folder of ours in one of the user's places.
std::string UserFolder(const char* variable, const char* fallback)
{
    std::string folder = UserPlace(variable, fallback);
    if (folder.empty()) return {};
    folder += "/ochrine";
    return MakeFolders(folder) ? folder : std::string();
}

} // namespace

bool BPIsPlainName(const char* name)
{
    if (name == nullptr) return false;
    const size_t length = strnlen(name, kBPNameLimit + 1);
    if (length == 0 || length > kBPNameLimit) return false;
    if (strchr(name, '/') != nullptr) return false;
    return strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

BPStatus BPStatusFromErrno(int number)
{
    switch (number) {
    case ENOENT:
    case ENOTDIR:
    case ENXIO:
    case ELOOP: return bpFileNotFoundErr;
    case EEXIST: return bpFileExistsErr;
    case EACCES:
    case EPERM:
    case EROFS: return bpPermissionErr;
    case ENOMEM:
    case EAGAIN:
    case EMFILE:
    case ENFILE: return bpMemFullErr;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return bpDiskFullErr;
    case EBUSY:
    case ETXTBSY: return bpFileBusyErr;
    default: return bpParamErr;
    }
}

int BPOpenRuntimeFolder(std::string* path)
{
    char name[PATH_MAX];
    const char* base = AbsoluteFromEnvironment("XDG_RUNTIME_DIR");
    const int length = base != nullptr ? snprintf(name, sizeof name, "%s/ochrine", base)
                                       : snprintf(name, sizeof name, "/tmp/ochrine-%u", geteuid());
    if (length <= 0 || static_cast<size_t>(length) >= sizeof name) return -1;

    const char* reason = nullptr;
    if (mkdir(name, 0700) != 0 && errno != EEXIST) reason = strerrordesc_np(errno);
    int folder = -1;
    if (reason == nullptr) {
        folder = open(name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        reason = folder < 0 ? "it is no folder of ours" : ReasonAgainst(folder);
    }
    if (reason != nullptr) {
        if (folder >= 0) close(folder);
        static std::atomic<bool> logged{false}; // callers try again on every tick
        if (!logged.exchange(true)) BPDebugLog("The runtime folder %s cannot be used: %s\n", name, reason);
        return -1;
    }
    if (path != nullptr) *path = name;
    return folder;
}

std::string BPRuntimeFolder()
{
    std::string path;
    const int folder = BPOpenRuntimeFolder(&path);
    if (folder < 0) return {};
    close(folder);
    return path;
}

std::string BPConfigFolder()
{
    return UserFolder("XDG_CONFIG_HOME", "/.config");
}

std::string BPStateFolder()
{
    return UserFolder("XDG_STATE_HOME", "/.local/state");
}

std::string BPDocumentsFolder()
{
    const std::string home = HomeFolder();
    std::vector<uint8_t> bytes;
    const std::string list = UserPlace("XDG_CONFIG_HOME", "/.config") + "/user-dirs.dirs";
    if (BPReadFile(list.c_str(), 1 << 16, &bytes) == bpNoErr) {
        const std::string text = "\n" + std::string(bytes.begin(), bytes.end());
        const std::string key = "\nXDG_DOCUMENTS_DIR=\"";
        const size_t found = text.find(key);
        const size_t begin = found == std::string::npos ? text.size() : found + key.size();
        const size_t end = text.find_first_of("\"\n", begin);
        if (end != std::string::npos && text[end] == '"') {
            const std::string folder = text.substr(begin, end - begin);
            // The desktop writes absolute names, and such as begin with $HOME.
            if (folder.rfind("$HOME/", 0) == 0 && !home.empty()) return home + folder.substr(5);
            if (folder.size() > 1 && folder[0] == '/') return folder;
        }
    }
    return home.empty() ? std::string() : home + "/Documents";
}

bool BPMakeFolder(const std::string& path)
{
    return !path.empty() && path[0] == '/' && MakeFolders(path);
}

std::string BPProgramFolder()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0 || static_cast<size_t>(length) >= sizeof path) return {};
    const std::string program(path, static_cast<size_t>(length));
    const size_t slash = program.rfind('/');
    if (slash == std::string::npos) return {};
    return slash == 0 ? "/" : program.substr(0, slash);
}

BPStatus BPReadFile(const char* path, size_t maximumBytes, std::vector<uint8_t>* bytes)
{
    bytes->clear();
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); // a pipe must not keep us waiting
    if (file < 0) return StreamStatusOf(errno);

    BPStatus status = bpNoErr;
    struct stat info = {};
    if (fstat(file, &info) == 0 && S_ISDIR(info.st_mode)) {
        status = bpIsFolderErr;
    } else if (!S_ISREG(info.st_mode)) {
        status = bpParamErr;
    } else if (info.st_size < 0 || static_cast<uint64_t>(info.st_size) > maximumBytes) {
        status = bpParamErr;
    } else {
        status = ReadAll(file, static_cast<size_t>(info.st_size), maximumBytes, bytes);
    }
    close(file);
    if (status != bpNoErr) bytes->clear();
    return status;
}

BPStatus BPWriteFile(const char* path, const void* bytes, size_t byteCount)
{
    // A link stays a link: what it leads to is replaced.
    char resolved[PATH_MAX];
    const std::string target = realpath(path, resolved) != nullptr ? resolved : path;
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : target.substr(0, slash);

    mode_t mode = 0644;
    struct stat info = {};
    if (stat(target.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) return bpIsFolderErr;
        if (!S_ISREG(info.st_mode)) return bpParamErr;
        mode = info.st_mode & 0777;
    }

    std::string neighbour = folder + "/.ochrine-XXXXXX";
    const int file = mkostemp(neighbour.data(), O_CLOEXEC);
    if (file < 0) return StreamStatusOf(errno);
    BPStatus status = WriteAll(file, static_cast<const uint8_t*>(bytes), byteCount);
    // Some file systems know no modes; the contents are worth more.
    if (status == bpNoErr && fchmod(file, mode) != 0 && errno != EPERM && errno != EOPNOTSUPP)
        status = StreamStatusOf(errno);
    if (status == bpNoErr && fsync(file) != 0) status = StreamStatusOf(errno);
    if (close(file) != 0 && status == bpNoErr) status = StreamStatusOf(errno);
    if (status == bpNoErr && rename(neighbour.c_str(), target.c_str()) != 0) status = StreamStatusOf(errno);
    if (status != bpNoErr) {
        unlink(neighbour.c_str());
        return status;
    }
    FlushFolder(folder);
    return bpNoErr;
}
