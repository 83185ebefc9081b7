#include "src/platform/BPFrameChannel.h"

#include "src/platform/BPMemory.h"
#include "tests/platform/PlatformTest.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <sys/fsuid.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <vector>

namespace {

constexpr uint32_t kFrameWord = 9;

/// A host that speaks to the socket by hand, to send what ours never would.
class RawHost {
  public:
    explicit RawHost(const std::string& path)
    {
        socket_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        const int folder = open(path.substr(0, path.rfind('/')).c_str(), O_PATH | O_CLOEXEC);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const std::string name = "/proc/self/fd/" + std::to_string(folder) + path.substr(path.rfind('/'));
        name.copy(address.sun_path, sizeof address.sun_path - 1);
        connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(folder);
    }
    ~RawHost() { close(socket_); }
    RawHost(const RawHost&) = delete;
    RawHost& operator=(const RawHost&) = delete;

    bool IsConnected() const { return connected_; }

    bool Send(const void* bytes, size_t byteCount, const std::vector<int>& files) const
    {
        iovec part = {.iov_base = const_cast<void*>(bytes), .iov_len = byteCount};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * 64)] = {};
        msghdr header = {};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        if (!files.empty()) {
            header.msg_control = control;
            header.msg_controllen = CMSG_SPACE(sizeof(int) * files.size());
            cmsghdr* item = CMSG_FIRSTHDR(&header);
            item->cmsg_level = SOL_SOCKET;
            item->cmsg_type = SCM_RIGHTS;
            item->cmsg_len = CMSG_LEN(sizeof(int) * files.size());
            memcpy(CMSG_DATA(item), files.data(), sizeof(int) * files.size());
        }
        return sendmsg(socket_, &header, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(byteCount);
    }

    bool SendWords(uint32_t dataWord, uint32_t byteCount, const std::vector<int>& files) const
    {
        const uint32_t words[] = {dataWord, byteCount};
        return Send(words, sizeof words, files);
    }

    /// True once the application has closed its end.
    bool HasEnded() const
    {
        char byte = 0;
        return recv(socket_, &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET || errno == EPIPE;
    }

  private:
    int socket_ = -1;
    bool connected_ = false;
};

/// A file in memory that holds the text; closed with the record.
class MemoryFile {
  public:
    explicit MemoryFile(const std::string& text) : file_(memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING))
    {
        if (write(file_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) abort();
    }
    ~MemoryFile() { close(file_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    int Id() const { return file_; }

  private:
    int file_;
};

class BPFrameChannelOnLinux : public PlatformTest {
  protected:
    void SetUp() override
    {
        PlatformTest::SetUp();
        ASSERT_EQ(Ops().listen("Comm123", &channel_), bpNoErr);
    }
    void TearDown() override
    {
        Ops().close(&channel_);
        BPFailAllocation(0);
        PlatformTest::TearDown();
    }
    const BPFrameChannelOps& Ops() const { return platform_.frameChannel; }
    std::string Socket() const { return RuntimePath("Comm123"); }

    /// Receives and turns the message into text: "none", "word/count/null" or "word/count/bytes".
    std::string Receive(uint32_t maximumBytes = 1000)
    {
        BPFrameMessage message;
        const BPStatus status = Ops().receive(&channel_, kFrameWord, maximumBytes, &message);
        if (status == bpNotFoundErr && message.bytes == nullptr && message.byteCount == 0) return "none";
        if (status != bpNoErr) return "error " + std::to_string(status);
        const std::string text =
            message.bytes == nullptr ? "null" : std::string(reinterpret_cast<char*>(message.bytes), message.byteCount);
        BPFree(message.bytes);
        return std::to_string(message.dataWord) + "/" + std::to_string(message.byteCount) + "/" + text;
    }

    BPFrameChannel channel_ = {};
};

} // namespace

TEST_F(BPFrameChannelOnLinux, FrameComesFromAnotherProcess)
{
    const uint32_t size = 8u << 20;
    Gate ended;
    Child host([&] {
        std::vector<uint8_t> frame(size);
        for (uint32_t at = 0; at < size; ++at) frame[at] = static_cast<uint8_t>(at * 7 + (at >> 13));
        BPFrameConnection connection;
        if (Ops().connect("Comm123", &connection) != bpNoErr) return 1;
        if (Ops().send(&connection, kFrameWord, frame.data(), size) != bpNoErr) return 2;
        std::fill(frame.begin(), frame.end(), uint8_t{0}); // the bytes were copied
        if (Ops().awaitEnd(&connection, 20000) != bpNoErr) return 3;
        Ops().disconnect(&connection);
        return connection.handle == 0 ? 0 : 4;
    });
    BPFrameMessage message;
    BPStatus status = bpNotFoundErr;
    for (int wait = 0; wait < 2000 && status == bpNotFoundErr; ++wait) {
        status = Ops().receive(&channel_, kFrameWord, size, &message);
        if (status == bpNotFoundErr) usleep(10000);
    }
    ASSERT_EQ(status, bpNoErr);
    EXPECT_EQ(message.dataWord, kFrameWord);
    ASSERT_EQ(message.byteCount, size);
    ASSERT_NE(message.bytes, nullptr);
    bool same = true;
    for (uint32_t at = 0; at < size; ++at)
        same = same && message.bytes[at] == static_cast<uint8_t>(at * 7 + (at >> 13));
    EXPECT_TRUE(same);
    BPFree(message.bytes);
    Ops().release(&channel_);
    EXPECT_EQ(host.Wait(), 0);
}

TEST_F(BPFrameChannelOnLinux, NothingWaitingIsToldAtOnce)
{
    EXPECT_EQ(Receive(), "none");
    const RawHost silent(Socket());
    ASSERT_TRUE(silent.IsConnected());
    EXPECT_EQ(Receive(), "none");
    Ops().release(&channel_);
    Ops().release(&channel_);
    EXPECT_EQ(Receive(), "none");
}

TEST_F(BPFrameChannelOnLinux, WordAndSizesAreChecked)
{
    const RawHost host(Socket());
    const MemoryFile file("abcdefghij");
    struct Case {
        uint32_t word, count, maximum;
        const char* expected;
    };
    for (const Case& row :
         {Case{9, 10, 10, "9/10/abcdefghij"}, Case{9, 4, 10, "9/4/abcd"}, Case{8, 10, 10, "8/10/null"},
          Case{9, 10, 9, "9/10/null"}, Case{9, 11, 100, "9/11/null"}, Case{9, 0, 100, "9/0/null"},
          Case{9, UINT32_MAX, UINT32_MAX, "9/4294967295/null"}, Case{0, 0, 0, "0/0/null"}}) {
        ASSERT_TRUE(host.SendWords(row.word, row.count, {file.Id()}));
        BPFailAllocation(0);
        EXPECT_EQ(Receive(row.maximum), row.expected);
        // A claim that is not believed costs no memory.
        EXPECT_EQ(BPAllocationCount(), strstr(row.expected, "null") != nullptr ? 0u : 1u) << row.expected;
    }
    EXPECT_EQ(Receive(), "none");
}

TEST_F(BPFrameChannelOnLinux, OneCallTakesOneMessage)
{
    BPFrameConnection connection;
    ASSERT_EQ(Ops().connect("Comm123", &connection), bpNoErr);
    EXPECT_EQ(Ops().send(&connection, 9, "one", 3), bpNoErr);
    EXPECT_EQ(Ops().send(&connection, 9, "two", 3), bpNoErr);
    EXPECT_EQ(Receive(), "9/3/one");
    EXPECT_EQ(Receive(), "9/3/two");
    EXPECT_EQ(Receive(), "none");
    Ops().disconnect(&connection);
}

TEST_F(BPFrameChannelOnLinux, MessagesThatAreNotTwoWordsCostTheConnection)
{
    const size_t before = CountDescriptors();
    const char bytes[64] = {};
    for (const size_t size : {size_t{0}, size_t{1}, size_t{4}, size_t{7}, size_t{9}, size_t{12}, size_t{64}}) {
        const RawHost bad(Socket()), good(Socket());
        const MemoryFile file("good");
        ASSERT_TRUE(bad.Send(bytes, size, {file.Id()}));
        ASSERT_TRUE(good.SendWords(9, 4, {file.Id()}));
        EXPECT_EQ(Receive(), "9/4/good") << size;
        EXPECT_EQ(Receive(), "none") << size;
        EXPECT_TRUE(bad.HasEnded()) << size;
        EXPECT_FALSE(good.HasEnded()) << size;
        Ops().release(&channel_);
        EXPECT_TRUE(good.HasEnded()) << size;
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(BPFrameChannelOnLinux, WrongDescriptorsGiveNullBytesAndAreClosed)
{
    const RawHost host(Socket());
    const MemoryFile file("memory");
    ASSERT_EQ(Receive(), "none"); // accepted now, so that descriptors can be counted
    int pipeEnds[2];
    ASSERT_EQ(pipe2(pipeEnds, O_CLOEXEC), 0);
    ASSERT_TRUE(WriteWhole(Path("on-disk"), "on disk"));
    const int disk = open(Path("on-disk").c_str(), O_RDONLY | O_CLOEXEC);
    const int folder = open(folder_.c_str(), O_RDONLY | O_CLOEXEC);
    const int zero = open("/dev/zero", O_RDONLY | O_CLOEXEC);
    const std::string again = "/proc/self/fd/" + std::to_string(file.Id());
    const int writeOnly = open(again.c_str(), O_WRONLY | O_CLOEXEC);
    const int pathOnly = open(again.c_str(), O_PATH | O_CLOEXEC);
    ASSERT_TRUE(disk >= 0 && folder >= 0 && zero >= 0 && writeOnly >= 0 && pathOnly >= 0);
    const size_t before = CountDescriptors();

    const std::vector<std::vector<int>> cases = {
        {},
        {pipeEnds[0]},
        {folder},
        {zero},
        {writeOnly},
        {pathOnly},
        {file.Id(), file.Id()},
        std::vector<int>(8, file.Id()),
        std::vector<int>(9, file.Id()),
        std::vector<int>(64, file.Id()),
    };
    for (const std::vector<int>& files : cases) {
        ASSERT_TRUE(host.SendWords(9, 6, files));
        EXPECT_EQ(Receive(), "9/6/null") << files.size() << " " << (files.empty() ? -1 : files[0]);
        EXPECT_EQ(CountDescriptors(), before);
    }
    struct stat onDisk, inMemory;
    ASSERT_EQ(fstat(disk, &onDisk), 0);
    ASSERT_EQ(fstat(file.Id(), &inMemory), 0);
    if (fcntl(disk, F_GET_SEALS) < 0) { // the test's folder may itself lie in memory
        ASSERT_TRUE(host.SendWords(9, 6, {disk}));
        EXPECT_EQ(Receive(), "9/6/null");
    }
    ASSERT_TRUE(host.SendWords(9, 6, {file.Id()}));
    EXPECT_EQ(Receive(), "9/6/memory");
    EXPECT_EQ(CountDescriptors(), before);
    for (const int each : {pipeEnds[0], pipeEnds[1], disk, folder, zero, writeOnly, pathOnly}) close(each);
}

TEST_F(BPFrameChannelOnLinux, MemoryThatShrankMeanwhileGivesNullBytes)
{
    const RawHost host(Socket());
    const MemoryFile file(std::string(100000, 'x'));
    ASSERT_TRUE(host.SendWords(9, 100000, {file.Id()}));
    ASSERT_EQ(ftruncate(file.Id(), 99999), 0);
    EXPECT_EQ(Receive(100000), "9/100000/null");
    ASSERT_TRUE(host.SendWords(9, 100000, {file.Id()}));
    ASSERT_EQ(ftruncate(file.Id(), 0), 0);
    EXPECT_EQ(Receive(100000), "9/100000/null");
}

TEST_F(BPFrameChannelOnLinux, MemoryThatShrinksDuringTheReadIsSurvived)
{
    const uint32_t size = 4u << 20;
    const RawHost host(Socket());
    const MemoryFile file(std::string(size, 'x'));
    const Child shaker([&] {
        for (;;) {
            if (ftruncate(file.Id(), 0) != 0 || ftruncate(file.Id(), size) != 0) return 1;
        }
    });
    for (int round = 0; round < 40; ++round) {
        ASSERT_TRUE(host.SendWords(9, size, {file.Id()}));
        BPFrameMessage message;
        ASSERT_EQ(Ops().receive(&channel_, kFrameWord, size, &message), bpNoErr);
        EXPECT_EQ(message.byteCount, size);
        BPFree(message.bytes);
    }
}

TEST_F(BPFrameChannelOnLinux, MemoryThatIsGoneInTheMiddleOfTheReadEndsIt)
{
    const uint32_t size = 16u << 20;
    const RawHost host(Socket());
    for (int round = 0; round < 30; ++round) {
        const MemoryFile file(std::string(size, 'x'));
        ASSERT_TRUE(host.SendWords(9, size, {file.Id()}));
        Gate receiving;
        Child cutter([&] {
            if (!receiving.Wait()) return 1;
            usleep(static_cast<useconds_t>(round * 400));
            return ftruncate(file.Id(), 4096);
        });
        receiving.Open();
        BPFrameMessage message;
        ASSERT_EQ(Ops().receive(&channel_, kFrameWord, size, &message), bpNoErr);
        if (message.bytes != nullptr) {
            EXPECT_EQ(std::count(message.bytes, message.bytes + size, 'x'), size);
        }
        BPFree(message.bytes);
        EXPECT_EQ(cutter.Wait(), 0);
    }
}

TEST_F(BPFrameChannelOnLinux, OursIsSealed)
{
    // Received by hand in the application's place.
    Ops().close(&channel_);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const int folder = open(RuntimePath("").c_str(), O_PATH | O_CLOEXEC);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/Comm123", folder);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    BPFrameConnection connection;
    ASSERT_EQ(Ops().connect("Comm123", &connection), bpNoErr);
    ASSERT_EQ(Ops().send(&connection, 9, "frame", 5), bpNoErr);
    const int accepted = accept(listener, nullptr, nullptr);
    uint32_t words[3] = {};
    iovec part = {.iov_base = words, .iov_len = sizeof words};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * 4)] = {};
    msghdr header = {};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    ASSERT_EQ(recvmsg(accepted, &header, 0), 8);
    EXPECT_EQ(words[0], 9u);
    EXPECT_EQ(words[1], 5u);
    const cmsghdr* item = CMSG_FIRSTHDR(&header);
    ASSERT_NE(item, nullptr);
    ASSERT_EQ(item->cmsg_len, CMSG_LEN(sizeof(int)));
    int file = -1;
    memcpy(&file, CMSG_DATA(item), sizeof file);
    const int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    EXPECT_EQ(fcntl(file, F_GET_SEALS), seals);
    for (const int each : {file, accepted, listener, folder}) close(each);
    Ops().disconnect(&connection);
}

TEST_F(BPFrameChannelOnLinux, NoClientStarvesAnother)
{
    const RawHost greedy(Socket()), second(Socket()), third(Socket());
    const MemoryFile file("x");
    for (int round = 0; round < 8; ++round) ASSERT_TRUE(greedy.SendWords(9, 1, {file.Id()}));
    ASSERT_TRUE(second.SendWords(2, 1, {file.Id()}));
    ASSERT_TRUE(third.SendWords(3, 1, {file.Id()}));
    EXPECT_EQ(Receive(), "9/1/x");
    EXPECT_EQ(Receive(), "2/1/null");
    EXPECT_EQ(Receive(), "3/1/null");
    for (int round = 0; round < 7; ++round) EXPECT_EQ(Receive(), "9/1/x");
    EXPECT_EQ(Receive(), "none");
}

TEST_F(BPFrameChannelOnLinux, MoreClientsThanPlacesAreServedInTurn)
{
    std::vector<std::unique_ptr<RawHost>> hosts;
    const MemoryFile file("x");
    for (int index = 0; index < 24; ++index) {
        hosts.push_back(std::make_unique<RawHost>(Socket()));
        ASSERT_TRUE(hosts.back()->IsConnected());
        ASSERT_TRUE(hosts.back()->SendWords(9, 1, {file.Id()}));
        if (index == 15) {
            ASSERT_EQ(Receive(), "9/1/x"); // takes the first sixteen in
        }
    }
    for (int index = 1; index < 16; ++index) EXPECT_EQ(Receive(), "9/1/x") << index;
    EXPECT_EQ(Receive(), "none");
    for (int index = 0; index < 16; ++index) hosts[static_cast<size_t>(index)].reset();
    EXPECT_EQ(Receive(), "none"); // their ends are noticed
    for (int index = 16; index < 24; ++index) EXPECT_EQ(Receive(), "9/1/x") << index;
    EXPECT_EQ(Receive(), "none");
}

TEST_F(BPFrameChannelOnLinux, ReleaseEndsAllRequestsOldAndLate)
{
    const RawHost served(Socket()), silent(Socket());
    const MemoryFile file("x");
    ASSERT_TRUE(served.SendWords(9, 1, {file.Id()}));
    ASSERT_TRUE(served.SendWords(9, 1, {file.Id()}));
    EXPECT_EQ(Receive(), "9/1/x");
    const RawHost late(Socket());
    ASSERT_TRUE(late.SendWords(9, 1, {file.Id()}));
    EXPECT_FALSE(served.HasEnded());
    Ops().release(&channel_);
    EXPECT_TRUE(served.HasEnded());
    EXPECT_TRUE(silent.HasEnded());
    EXPECT_TRUE(late.HasEnded());
    EXPECT_EQ(Receive(), "none");
    const RawHost next(Socket());
    ASSERT_TRUE(next.SendWords(9, 1, {file.Id()}));
    EXPECT_EQ(Receive(), "9/1/x");
}

TEST_F(BPFrameChannelOnLinux, MessageOutlivesItsSender)
{
    EXPECT_EQ(RunInChild([this] {
                  BPFrameConnection connection;
                  if (Ops().connect("Comm123", &connection) != bpNoErr) return 1;
                  return Ops().send(&connection, 9, "last words", 10) == bpNoErr ? 0 : 2;
              }),
              0);
    EXPECT_EQ(Receive(), "9/10/last words");
    EXPECT_EQ(Receive(), "none");
}

TEST_F(BPFrameChannelOnLinux, LackOfMemoryGivesNullBytes)
{
    const RawHost host(Socket());
    const MemoryFile file("abc");
    ASSERT_TRUE(host.SendWords(9, 3, {file.Id()}));
    ASSERT_TRUE(host.SendWords(9, 3, {file.Id()}));
    BPFailAllocation(1);
    EXPECT_EQ(Receive(), "9/3/null");
    EXPECT_EQ(Receive(), "9/3/abc");
}

TEST_F(BPFrameChannelOnLinux, HostLearnsHowTheRequestWent)
{
    BPFrameConnection connection;
    ASSERT_EQ(Ops().connect("Comm123", &connection), bpNoErr);
    const uint64_t begin = platform_.clock.monotonicMs();
    EXPECT_EQ(Ops().awaitEnd(&connection, 0), bpNotFoundErr);
    EXPECT_EQ(Ops().awaitEnd(&connection, 50), bpNotFoundErr);
    EXPECT_GE(platform_.clock.monotonicMs() + 2, begin + 50);
    EXPECT_EQ(Ops().send(&connection, 9, nullptr, 3), bpParamErr);
    EXPECT_EQ(Ops().send(&connection, 9, nullptr, 0), bpNoErr);
    EXPECT_EQ(Receive(), "9/0/null");
    Ops().release(&channel_);
    EXPECT_EQ(Ops().awaitEnd(&connection, 20000), bpNoErr);
    EXPECT_EQ(Ops().send(&connection, 9, "x", 1), bpEndOfFileErr);
    Ops().disconnect(&connection);
    Ops().disconnect(&connection);
    EXPECT_EQ(Ops().send(&connection, 9, "x", 1), bpParamErr);
    EXPECT_EQ(Ops().awaitEnd(&connection, 0), bpParamErr);
}

TEST_F(BPFrameChannelOnLinux, ApplicationThatTakesNothingDoesNotHoldTheHostForever)
{
    BPFrameConnection connection;
    ASSERT_EQ(Ops().connect("Comm123", &connection), bpNoErr);
    const uint64_t begin = platform_.clock.monotonicMs();
    BPStatus status = bpNoErr;
    for (int sent = 0; sent < 100000 && status == bpNoErr; ++sent) status = Ops().send(&connection, 9, "x", 1);
    EXPECT_EQ(status, bpFileBusyErr);
    EXPECT_LE(platform_.clock.monotonicMs(), begin + 15000);
    Ops().disconnect(&connection);
}

TEST_F(BPFrameChannelOnLinux, DeathOfTheApplicationEndsTheRequest)
{
    Gate listening;
    Child application([&] {
        BPFrameChannel mine;
        if (Ops().listen("Mortal", &mine) != bpNoErr) return 1;
        listening.Open();
        pause();
        return 0;
    });
    ASSERT_TRUE(listening.Wait());
    BPFrameConnection connection;
    ASSERT_EQ(Ops().connect("Mortal", &connection), bpNoErr);
    EXPECT_EQ(Ops().awaitEnd(&connection, 20), bpNotFoundErr);
    application.Kill();
    EXPECT_EQ(Ops().awaitEnd(&connection, 20000), bpNoErr);
    application.Wait();
    Ops().disconnect(&connection);

    // The name of the dead is left behind: nobody answers, and it can be taken over.
    EXPECT_TRUE(Exists(RuntimePath("Mortal")));
    EXPECT_EQ(Ops().connect("Mortal", &connection), bpFileNotFoundErr);
    BPFrameChannel heir;
    EXPECT_EQ(Ops().listen("Mortal", &heir), bpNoErr);
    EXPECT_EQ(Ops().connect("Mortal", &connection), bpNoErr);
    Ops().disconnect(&connection);
    Ops().close(&heir);
    EXPECT_FALSE(Exists(RuntimePath("Mortal")));
}

TEST_F(BPFrameChannelOnLinux, NamesInUseAreNotTaken)
{
    BPFrameChannel second;
    EXPECT_EQ(Ops().listen("Comm123", &second), bpFileExistsErr);
    EXPECT_EQ(second.handle, 0u);
    ASSERT_TRUE(WriteWhole(RuntimePath("file"), "keep me"));
    EXPECT_EQ(Ops().listen("file", &second), bpFileExistsErr);
    EXPECT_EQ(ReadWhole(RuntimePath("file")), "keep me");
    BPFrameConnection connection;
    EXPECT_EQ(Ops().connect("file", &connection), bpFileNotFoundErr);
    EXPECT_EQ(Ops().connect("missing", &connection), bpFileNotFoundErr);
    // The first still works.
    const RawHost host(Socket());
    const MemoryFile file("x");
    ASSERT_TRUE(host.SendWords(9, 1, {file.Id()}));
    EXPECT_EQ(Receive(), "9/1/x");
}

TEST_F(BPFrameChannelOnLinux, CloseRemovesOnlyItsOwnName)
{
    ASSERT_EQ(unlink(Socket().c_str()), 0);
    ASSERT_TRUE(WriteWhole(Socket(), "somebody else's"));
    Ops().close(&channel_);
    EXPECT_EQ(channel_.handle, 0u);
    EXPECT_EQ(ReadWhole(Socket()), "somebody else's");
    EXPECT_EQ(Receive(), "error -50");
    Ops().release(&channel_);
    Ops().close(&channel_);
}

TEST_F(BPFrameChannelOnLinux, BadNamesAreRefused)
{
    BPFrameChannel channel;
    BPFrameConnection connection;
    const std::string longest(63, 'n'), tooLong(64, 'n');
    for (const char* name : {"", ".", "..", "a/b", tooLong.c_str()}) {
        EXPECT_EQ(Ops().listen(name, &channel), bpParamErr) << name;
        EXPECT_EQ(Ops().connect(name, &connection), bpParamErr) << name;
    }
    ASSERT_EQ(Ops().listen(longest.c_str(), &channel), bpNoErr);
    EXPECT_EQ(Ops().connect(longest.c_str(), &connection), bpNoErr);
    Ops().disconnect(&connection);
    Ops().close(&channel);
}

TEST_F(BPFrameChannelOnLinux, LongRuntimeFolderServesToo)
{
    const std::string deep = Path("runtime/" + std::string(150, 'd'));
    ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
    setenv("XDG_RUNTIME_DIR", deep.c_str(), 1);
    BPFrameChannel channel;
    ASSERT_EQ(Ops().listen("Comm", &channel), bpNoErr);
    BPFrameConnection connection;
    EXPECT_EQ(Ops().connect("Comm", &connection), bpNoErr);
    Ops().disconnect(&connection);
    Ops().close(&channel);
    EXPECT_FALSE(Exists(deep + "/ochrine/Comm"));
}

TEST_F(BPFrameChannelOnLinux, ProcessOfAnotherUserIsShownTheDoor)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
    Gate sent;
    Child stranger([&] {
        if (seteuid(65534) != 0) return 1;
        setfsuid(0); // the folder would keep the stranger out before we could
        const RawHost host(Socket());
        if (!host.IsConnected()) return 2;
        const MemoryFile file("x");
        if (!host.SendWords(9, 1, {file.Id()})) return 3;
        sent.Open();
        for (int wait = 0; wait < 2000; ++wait) {
            if (host.HasEnded()) return 0;
            usleep(10000);
        }
        return 4;
    });
    ASSERT_TRUE(sent.Wait());
    EXPECT_EQ(Receive(), "none");
    EXPECT_EQ(stranger.Wait(), 0);
    EXPECT_EQ(log_, "Frame channel Comm123: a process of another user was refused\n");
}

TEST_F(BPFrameChannelOnLinux, DescriptorsDoNotLeak)
{
    const size_t before = CountDescriptors();
    for (int round = 0; round < 20; ++round) {
        BPFrameConnection connection, other;
        ASSERT_EQ(Ops().connect("Comm123", &connection), bpNoErr);
        EXPECT_EQ(Ops().connect("missing", &other), bpFileNotFoundErr);
        EXPECT_EQ(Ops().send(&connection, 9, "abc", 3), bpNoErr);
        EXPECT_EQ(Ops().send(&connection, 8, "abc", 3), bpNoErr);
        EXPECT_EQ(Receive(), "9/3/abc");
        BPFrameChannel second;
        EXPECT_EQ(Ops().listen("Comm123", &second), bpFileExistsErr);
        ASSERT_EQ(Ops().listen("Second", &second), bpNoErr);
        Ops().close(&second);
        Ops().release(&channel_);
        Ops().disconnect(&connection);
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(BPFrameChannelOnLinux, NamesOfKilledApplicationsAreSweptAwayInTime)
{
    const auto leave = [this](const char* name, time_t age) { // what a killed process leaves
        BPFrameChannel made;
        EXPECT_EQ(RunInChild([&] { return platform_.frameChannel.listen(name, &made) == bpNoErr ? 0 : 1; }), 0);
        timespec times[2] = {};
        clock_gettime(CLOCK_REALTIME, &times[0]);
        times[0].tv_sec -= age;
        times[1] = times[0];
        EXPECT_EQ(utimensat(AT_FDCWD, RuntimePath(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    };
    BPFrameChannel living, channel;
    ASSERT_EQ(platform_.frameChannel.listen("living", &living), bpNoErr);
    ASSERT_EQ(utimensat(AT_FDCWD, RuntimePath("living").c_str(), std::vector<timespec>(2).data(), 0), 0);
    ASSERT_TRUE(WriteWhole(RuntimePath("file"), ""));
    leave("old", 60);
    leave("young", 1);
    ASSERT_EQ(platform_.frameChannel.listen("channel", &channel), bpNoErr);
    EXPECT_EQ(NamesIn(Path("runtime/ochrine")),
              (std::vector<std::string>{"Comm123", "channel", "file", "living", "young"}));
    platform_.frameChannel.close(&channel);
    platform_.frameChannel.close(&living);
}
