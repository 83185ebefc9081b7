// The frame channel: a SOCK_SEQPACKET socket in the runtime folder; a message is two words and one memory file.
//
// A peer is another program of the same user, and it may be broken. It never makes the application wait (all its
// sockets are non-blocking, and only memory is read, never a file that could stall), never makes it keep descriptors
// that were not asked for, and never makes it touch memory that can vanish.
#include "src/platform/linux/BPLinux.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int kConnectionLimit = 16;
constexpr int kBacklog = 16;
constexpr int kDescriptorLimit = 8;  // what one message may carry before the system cuts the rest
constexpr int kNamesLookedAt = 4096; // in search of leftovers, in a folder that somebody filled
constexpr int kLeftoverSeconds = 10; // younger sockets may be about to listen
constexpr int kSendWaitSeconds = 2;  // the longest wait of a host for room in the channel

struct Words {
    uint32_t dataWord;
    uint32_t byteCount;
};
static_assert(sizeof(Words) == 8);

struct Channel {
    int listener;
    int folder;
    char name[kBPNameLimit + 1];
    dev_t device; // of the socket's file: only our own is removed
    ino_t inode;
    int connections[kConnectionLimit]; // -1 when free
    int next;                          // the connection to be asked first, so that none starves the others
};

Channel* ChannelOf(const BPFrameChannel* channel)
{
    return reinterpret_cast<Channel*>(channel->handle);
}

/// The address of a name in the open folder. Going by the descriptor keeps it short however long the folder's path is.
bool MakeAddress(int folder, const char* name, sockaddr_un* address)
{
    *address = {};
    address->sun_family = AF_UNIX;
    const int length = snprintf(address->sun_path, sizeof address->sun_path, "/proc/self/fd/%d/%s", folder, name);
    return length > 0 && static_cast<size_t>(length) < sizeof address->sun_path;
}

bool IsSameUser(int socketDescriptor)
{
    ucred peer = {};
    socklen_t length = sizeof peer;
    return getsockopt(socketDescriptor, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == geteuid();
}

/// Makes room for the name when it belongs to a process that is gone.
BPStatus RemoveStaleName(int folder, const char* name, const sockaddr_un& address)
{
    struct stat info = {};
    if (fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? bpNoErr : BPStatusFromErrno(errno);
    }
    if (!S_ISSOCK(info.st_mode)) return bpFileExistsErr;
    const int probe = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (probe < 0) return BPStatusFromErrno(errno);
    const bool dead =
        connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 && errno == ECONNREFUSED;
    close(probe);
    if (!dead) return bpFileExistsErr;
    return unlinkat(folder, name, 0) == 0 || errno == ENOENT ? bpNoErr : BPStatusFromErrno(errno);
}

/// Removes the sockets that processes left behind which were killed. Nobody else ever would.
void RemoveLeftovers(int folder)
{
    const int descriptor = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    DIR* names = fdopendir(descriptor); // takes the descriptor over
    if (names == nullptr) {
        close(descriptor);
        return;
    }
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    for (int look = 0; look < kNamesLookedAt; ++look) {
        const dirent* entry = readdir(names);
        if (entry == nullptr) break;
        struct stat info = {};
        if (!BPIsPlainName(entry->d_name) || fstatat(folder, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (!S_ISSOCK(info.st_mode) || now.tv_sec - info.st_mtim.tv_sec < kLeftoverSeconds) continue;
        sockaddr_un address;
        if (MakeAddress(folder, entry->d_name, &address)) (void)RemoveStaleName(folder, entry->d_name, address);
    }
    closedir(names);
}

BPStatus StartListening(Channel* channel)
{
    sockaddr_un address;
    if (!MakeAddress(channel->folder, channel->name, &address)) return bpParamErr;
    if (BPStatus err = RemoveStaleName(channel->folder, channel->name, address); err != bpNoErr) return err;
    RemoveLeftovers(channel->folder);
    channel->listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (channel->listener < 0) return BPStatusFromErrno(errno);
    if (bind(channel->listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return errno == EADDRINUSE ? bpFileExistsErr : BPStatusFromErrno(errno);
    }
    struct stat info = {};
    if (fstatat(channel->folder, channel->name, &info, AT_SYMLINK_NOFOLLOW) == 0) {
        channel->device = info.st_dev;
        channel->inode = info.st_ino;
    }
    return listen(channel->listener, kBacklog) == 0 ? bpNoErr : BPStatusFromErrno(errno);
}

/// Closes everything and frees the record.
void Dispose(Channel* channel)
{
    for (const int connection : channel->connections) {
        if (connection >= 0) close(connection);
    }
    struct stat info = {};
    if (channel->inode != 0 && fstatat(channel->folder, channel->name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        info.st_dev == channel->device && info.st_ino == channel->inode) {
        unlinkat(channel->folder, channel->name, 0);
    }
    if (channel->listener >= 0) close(channel->listener);
    close(channel->folder);
    delete channel;
}

BPStatus Listen(const char* name, BPFrameChannel* channel)
{
    channel->handle = 0;
    if (!BPIsPlainName(name)) return bpParamErr;
    const int folder = BPOpenRuntimeFolder(nullptr);
    if (folder < 0) return bpFileNotFoundErr;
    Channel* made = new (std::nothrow) Channel{};
    if (made == nullptr) {
        close(folder);
        return bpMemFullErr;
    }
    made->folder = folder;
    made->listener = -1;
    snprintf(made->name, sizeof made->name, "%s", name);
    for (int& connection : made->connections) connection = -1;
    if (BPStatus err = StartListening(made); err != bpNoErr) {
        Dispose(made);
        return err;
    }
    channel->handle = reinterpret_cast<uintptr_t>(made);
    return bpNoErr;
}

/// Accepts one waiting client; -1 when there is none.
int AcceptOne(const Channel* channel)
{
    int accepted = -1;
    do {
        accepted = accept4(channel->listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    } while (accepted < 0 && (errno == EINTR || errno == ECONNABORTED));
    return accepted;
}

/// Accepts who waits, as long as there is room. Strangers are shown the door.
void AcceptClients(Channel* channel)
{
    for (int& connection : channel->connections) {
        while (connection < 0) {
            const int accepted = AcceptOne(channel);
            if (accepted < 0) return;
            if (IsSameUser(accepted)) {
                connection = accepted;
            } else {
                BPDebugLog("Frame channel %s: a process of another user was refused\n", channel->name);
                close(accepted);
            }
        }
    }
}

/// What one read of a connection gave.
enum class Taken { nothing, message, broken };

/// Reads a message. `file` receives its descriptor, or -1 when it had none or more than one: then none is believed.
Taken TakeMessage(int connection, Words* words, int* file)
{
    *file = -1;
    *words = {};
    iovec part = {.iov_base = words, .iov_len = sizeof *words};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kDescriptorLimit)];
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    ssize_t got = -1;
    do {
        got = recvmsg(connection, &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    } while (got < 0 && errno == EINTR);
    if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK ? Taken::nothing : Taken::broken;

    int files[kDescriptorLimit];
    int fileCount = 0;
    for (cmsghdr* item = CMSG_FIRSTHDR(&header); item != nullptr; item = CMSG_NXTHDR(&header, item)) {
        if (item->cmsg_level != SOL_SOCKET || item->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (item->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t index = 0; index < count && fileCount < kDescriptorLimit; ++index) {
            memcpy(&files[fileCount++], CMSG_DATA(item) + index * sizeof(int), sizeof(int));
        }
    }
    // An end of the stream reads as zero bytes: such a message ends the connection too.
    const bool sound = got == sizeof *words && (header.msg_flags & MSG_TRUNC) == 0;
    const bool believed = sound && fileCount == 1 && (header.msg_flags & MSG_CTRUNC) == 0;
    if (believed) {
        *file = files[0];
    } else {
        for (int index = 0; index < fileCount; ++index) close(files[index]);
    }
    return sound ? Taken::message : Taken::broken;
}

/// Reads the bytes into memory of our own; null when the descriptor does not hold them.
uint8_t* ReadBytes(int file, uint32_t byteCount)
{
    // Only files in memory know seals. Anything else could keep us waiting in the reads below.
    if (fcntl(file, F_GET_SEALS) < 0) return nullptr;
    struct stat info = {};
    if (fstat(file, &info) != 0 || info.st_size < 0 || static_cast<uint64_t>(info.st_size) < byteCount) return nullptr;
    uint8_t* bytes = static_cast<uint8_t*>(BPAllocate(byteCount));
    if (bytes == nullptr) return nullptr;
    uint32_t done = 0;
    while (done < byteCount) {
        const ssize_t got = pread(file, bytes + done, byteCount - done, done);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            BPFree(bytes);
            return nullptr;
        }
        done += static_cast<uint32_t>(got);
    }
    return bytes;
}

BPStatus Receive(BPFrameChannel* channel, uint32_t wantedWord, uint32_t maximumBytes, BPFrameMessage* message)
{
    *message = {};
    if (channel->handle == 0) return bpParamErr;
    Channel* open = ChannelOf(channel);
    AcceptClients(open);
    for (int step = 0; step < kConnectionLimit; ++step) {
        const int index = (open->next + step) % kConnectionLimit;
        int& connection = open->connections[index];
        if (connection < 0) continue;
        Words words;
        int file = -1;
        const Taken taken = TakeMessage(connection, &words, &file);
        if (taken == Taken::broken) {
            close(connection);
            connection = -1;
        }
        if (taken != Taken::message) continue;

        open->next = (index + 1) % kConnectionLimit;
        message->dataWord = words.dataWord;
        message->byteCount = words.byteCount;
        if (file >= 0) {
            if (words.dataWord == wantedWord && words.byteCount > 0 && words.byteCount <= maximumBytes) {
                message->bytes = ReadBytes(file, words.byteCount);
            }
            close(file);
        }
        return bpNoErr;
    }
    return bpNotFoundErr;
}

void Release(BPFrameChannel* channel)
{
    if (channel->handle == 0) return;
    Channel* open = ChannelOf(channel);
    for (int& connection : open->connections) {
        if (connection >= 0) close(connection);
        connection = -1;
    }
    // Who still waits for the door brought a frame for the request that is over now. Bounded, for a peer may call
    // again and again.
    for (int round = 0; round < 2 * kBacklog; ++round) {
        const int late = AcceptOne(open);
        if (late < 0) break;
        close(late);
    }
}

void Close(BPFrameChannel* channel)
{
    if (channel->handle != 0) Dispose(ChannelOf(channel));
    channel->handle = 0;
}

int SocketOf(const BPFrameConnection* connection)
{
    return static_cast<int>(connection->handle - 1);
}

BPStatus Connect(const char* name, BPFrameConnection* connection)
{
    connection->handle = 0;
    if (!BPIsPlainName(name)) return bpParamErr;
    const int folder = BPOpenRuntimeFolder(nullptr);
    if (folder < 0) return bpFileNotFoundErr;
    sockaddr_un address;
    const bool named = MakeAddress(folder, name, &address);
    const int made = named ? socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0) : -1;
    if (made < 0) {
        close(folder);
        return named ? bpMemFullErr : bpParamErr;
    }
    const timeval limit = {.tv_sec = kSendWaitSeconds, .tv_usec = 0};
    setsockopt(made, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    int failed = -1;
    do {
        failed = connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (failed != 0 && errno == EINTR);
    close(folder);
    if (failed != 0 || !IsSameUser(made)) {
        close(made);
        return bpFileNotFoundErr;
    }
    connection->handle = static_cast<uint64_t>(made) + 1;
    return bpNoErr;
}

/// Makes the memory file with a copy of the bytes and seals it, where the system can.
BPStatus MakeMemoryFile(const void* bytes, uint32_t byteCount, int* file)
{
    *file = memfd_create("ochrine-frame", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (*file < 0) return BPStatusFromErrno(errno);
    uint32_t done = 0;
    while (done < byteCount) {
        const ssize_t written = pwrite(*file, static_cast<const uint8_t*>(bytes) + done, byteCount - done, done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            close(*file);
            *file = -1;
            return bpMemFullErr;
        }
        done += static_cast<uint32_t>(written);
    }
    (void)fcntl(*file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    return bpNoErr;
}

BPStatus Send(BPFrameConnection* connection, uint32_t dataWord, const void* bytes, uint32_t byteCount)
{
    if (connection->handle == 0 || (bytes == nullptr && byteCount > 0)) return bpParamErr;
    int file = -1;
    if (BPStatus err = MakeMemoryFile(bytes, byteCount, &file); err != bpNoErr) return err;

    Words words = {.dataWord = dataWord, .byteCount = byteCount};
    iovec part = {.iov_base = &words, .iov_len = sizeof words};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    cmsghdr* item = CMSG_FIRSTHDR(&header);
    item->cmsg_level = SOL_SOCKET;
    item->cmsg_type = SCM_RIGHTS;
    item->cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(item), &file, sizeof file);

    ssize_t sent = -1;
    do {
        sent = sendmsg(SocketOf(connection), &header, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    const int reason = errno;
    close(file);
    if (sent == sizeof words) return bpNoErr;
    if (sent < 0 && (reason == EAGAIN || reason == EWOULDBLOCK)) return bpFileBusyErr;
    return bpEndOfFileErr;
}

int64_t NowMs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

BPStatus AwaitEnd(BPFrameConnection* connection, uint32_t timeoutMs)
{
    if (connection->handle == 0) return bpParamErr;
    const int64_t deadline = NowMs() + timeoutMs;
    for (;;) {
        const int64_t left = deadline - NowMs();
        // Only the hang-up is asked for: what the application might send must not wake us.
        pollfd request = {.fd = SocketOf(connection), .events = POLLRDHUP, .revents = 0};
        const int ready = poll(&request, 1, left <= 0 ? 0 : left > INT_MAX ? INT_MAX : static_cast<int>(left));
        if (ready > 0) return bpNoErr;
        if (ready < 0 && errno != EINTR) return bpParamErr;
        if (ready == 0 && left <= INT_MAX) return bpNotFoundErr;
    }
}

void Disconnect(BPFrameConnection* connection)
{
    if (connection->handle != 0) close(SocketOf(connection));
    connection->handle = 0;
}

} // namespace

void BPFillLinuxFrameChannel(BPFrameChannelOps* ops)
{
    *ops = {.listen = Listen,
            .receive = Receive,
            .release = Release,
            .close = Close,
            .connect = Connect,
            .send = Send,
            .awaitEnd = AwaitEnd,
            .disconnect = Disconnect};
}
