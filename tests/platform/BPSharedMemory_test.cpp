#include "src/platform/BPSharedMemory.h"

#include "src/platform/BPFiles.h"
#include "src/platform/BPThreads.h"
#include "tests/platform/PlatformTest.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

class BPSharedMemoryOnLinux : public PlatformTest {
  protected:
    BPStatus Create(const char* name, uint64_t byteCount, BPSharedMemory* memory)
    {
        return platform_.sharedMemory.create(name, byteCount, memory);
    }
    BPStatus Open(const char* name, uint64_t minimumBytes, BPSharedMemory* memory)
    {
        return platform_.sharedMemory.open(name, minimumBytes, memory);
    }
    void Close(BPSharedMemory* memory) { platform_.sharedMemory.close(memory); }
    BPStatus Remove(const char* name) { return platform_.sharedMemory.remove(name); }
};

bool IsClosed(const BPSharedMemory& memory)
{
    return memory.handle == 0 && memory.address == nullptr && memory.byteCount == 0;
}

} // namespace

TEST_F(BPSharedMemoryOnLinux, TwoProcessesSeeOneBlock)
{
    BPSharedMemory block;
    ASSERT_EQ(Create("Ochrine3CommBlock", 86628 + 5000, &block), bpNoErr);
    EXPECT_EQ(block.byteCount, 91628u);
    EXPECT_EQ(std::count(block.address, block.address + 91628, 0), 91628);
    block.address[12] = 1;

    EXPECT_EQ(RunInChild([this] {
                  BPSharedMemory mine;
                  if (Open("Ochrine3CommBlock", 86628, &mine) != bpNoErr) return 1;
                  if (mine.byteCount != 91628) return 2;
                  if (mine.address[12] != 1) return 3;
                  mine.address[12] = 3;
                  mine.address[91627] = 99;
                  Close(&mine);
                  return IsClosed(mine) ? 0 : 4;
              }),
              0);
    EXPECT_EQ(block.address[12], 3);
    EXPECT_EQ(block.address[91627], 99);
    Close(&block);
    EXPECT_TRUE(IsClosed(block));
    Close(&block); // a closed record is left alone
    EXPECT_EQ(Remove("Ochrine3CommBlock"), bpNoErr);
}

TEST_F(BPSharedMemoryOnLinux, BlockAndFolderArePrivate)
{
    BPSharedMemory block;
    const mode_t before = umask(0);
    ASSERT_EQ(Create("private", 100, &block), bpNoErr);
    umask(before);
    struct stat info;
    ASSERT_EQ(stat(RuntimePath("private").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    ASSERT_EQ(stat(RuntimePath("").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    Close(&block);
}

TEST_F(BPSharedMemoryOnLinux, OpenNeverMakesABlock)
{
    BPSharedMemory block = {.handle = 5, .address = nullptr, .byteCount = 7};
    EXPECT_EQ(Open("missing", 1, &block), bpFileNotFoundErr);
    EXPECT_TRUE(IsClosed(block));
    EXPECT_TRUE(NamesIn(RuntimePath("")).empty());
}

TEST_F(BPSharedMemoryOnLinux, ShortBlockIsRefusedBeforeItIsMapped)
{
    BPSharedMemory block, other;
    ASSERT_EQ(Create("short", 86627, &block), bpNoErr);
    EXPECT_EQ(Open("short", 86628, &other), bpParamErr);
    EXPECT_TRUE(IsClosed(other));
    EXPECT_EQ(Open("short", 86627, &other), bpNoErr);
    Close(&other);
    Close(&block);
    ASSERT_TRUE(WriteWhole(RuntimePath("empty"), ""));
    EXPECT_EQ(Open("empty", 0, &other), bpParamErr);
    struct stat info;
    ASSERT_EQ(stat(RuntimePath("short").c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 86627);
}

TEST_F(BPSharedMemoryOnLinux, TakenNameAndMissingNameAreTold)
{
    BPSharedMemory block, second;
    ASSERT_EQ(Create("name", 10, &block), bpNoErr);
    EXPECT_EQ(Create("name", 10, &second), bpFileExistsErr);
    EXPECT_TRUE(IsClosed(second));
    EXPECT_EQ(Remove("name"), bpNoErr);
    EXPECT_EQ(Remove("name"), bpFileNotFoundErr);
    // The mapping outlives the name, and the name is free again.
    block.address[9] = 1;
    EXPECT_EQ(Create("name", 10, &second), bpNoErr);
    EXPECT_EQ(second.address[9], 0);
    Close(&block);
    Close(&second);
}

TEST_F(BPSharedMemoryOnLinux, NamesThatLeaveTheFolderAreRefused)
{
    const std::string longest(63, 'n'), tooLong(64, 'n');
    BPSharedMemory block;
    for (const char* name : {"", ".", "..", "a/b", "/etc/passwd", "../x", tooLong.c_str()}) {
        EXPECT_EQ(Create(name, 10, &block), bpParamErr) << name;
        EXPECT_EQ(Open(name, 1, &block), bpParamErr) << name;
        EXPECT_EQ(Remove(name), bpParamErr) << name;
    }
    EXPECT_EQ(Create(nullptr, 10, &block), bpParamErr);
    EXPECT_EQ(Open(nullptr, 10, &block), bpParamErr);
    EXPECT_EQ(Create(longest.c_str(), 10, &block), bpNoErr);
    Close(&block);
}

TEST_F(BPSharedMemoryOnLinux, OnlyRegularFilesAreBlocks)
{
    ASSERT_FALSE(BPRuntimeFolder().empty());
    ASSERT_EQ(mkfifo(RuntimePath("fifo").c_str(), 0600), 0);
    ASSERT_EQ(mkdir(RuntimePath("folder").c_str(), 0700), 0);
    ASSERT_TRUE(WriteWhole(Path("outside"), std::string(100, 'o')));
    ASSERT_EQ(symlink(Path("outside").c_str(), RuntimePath("link").c_str()), 0);
    ASSERT_EQ(symlink("/dev/zero", RuntimePath("device").c_str()), 0);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string shortcut = "/proc/self/fd/" + std::to_string(open(RuntimePath("").c_str(), O_PATH)) + "/socket";
    strcpy(address.sun_path, shortcut.c_str());
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    BPSharedMemory block;
    for (const char* name : {"fifo", "folder", "link", "device", "socket"}) {
        EXPECT_EQ(Open(name, 1, &block), bpFileNotFoundErr) << name;
        EXPECT_EQ(Create(name, 10, &block), bpFileExistsErr) << name;
        EXPECT_EQ(Remove(name), bpFileNotFoundErr) << name;
        EXPECT_TRUE(IsClosed(block));
    }
    EXPECT_EQ(ReadWhole(Path("outside")), std::string(100, 'o'));
    close(listener);
}

TEST_F(BPSharedMemoryOnLinux, BlockOfAnotherUserIsRefused)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can make one";
    BPSharedMemory block;
    ASSERT_EQ(Create("theirs", 10, &block), bpNoErr);
    Close(&block);
    ASSERT_EQ(chown(RuntimePath("theirs").c_str(), 65534, 65534), 0);
    EXPECT_EQ(Open("theirs", 1, &block), bpFileNotFoundErr);
}

TEST_F(BPSharedMemoryOnLinux, MappingsAreLimitedAndComeBack)
{
    BPSharedMemory first;
    ASSERT_EQ(Create("many", 4096, &first), bpNoErr);
    std::vector<BPSharedMemory> blocks(100);
    size_t opened = 0;
    for (BPSharedMemory& block : blocks) {
        const BPStatus status = Open("many", 1, &block);
        if (status == bpNoErr) {
            opened++;
        } else {
            EXPECT_EQ(status, bpMemFullErr);
            EXPECT_TRUE(IsClosed(block));
        }
    }
    EXPECT_EQ(opened, 63u);
    for (BPSharedMemory& block : blocks) Close(&block);
    EXPECT_EQ(Open("many", 1, &blocks[0]), bpNoErr);
    Close(&blocks[0]);
    Close(&first);
}

TEST_F(BPSharedMemoryOnLinux, BlockThatDoesNotFitLeavesNoName)
{
    BPSharedMemory block;
    for (const uint64_t size : {uint64_t{0}, uint64_t{1} << 61, uint64_t{1} << 63, UINT64_MAX}) {
        EXPECT_NE(Create("huge", size, &block), bpNoErr) << size;
        EXPECT_TRUE(IsClosed(block));
        EXPECT_FALSE(Exists(RuntimePath("huge"))) << size;
    }
}

TEST_F(BPSharedMemoryOnLinux, DescriptorsDoNotLeak)
{
    BPSharedMemory block;
    ASSERT_EQ(Create("good", 100, &block), bpNoErr);
    const size_t before = CountDescriptors();
    for (int round = 0; round < 50; ++round) {
        BPSharedMemory other;
        EXPECT_EQ(Open("none", 1, &other), bpFileNotFoundErr);
        EXPECT_EQ(Open("good", 101, &other), bpParamErr);
        EXPECT_EQ(Create("good", 10, &other), bpFileExistsErr);
        EXPECT_EQ(Open("good", 100, &other), bpNoErr);
        Close(&other);
    }
    EXPECT_EQ(CountDescriptors(), before);
    Close(&block);
}

TEST_F(BPSharedMemoryOnLinux, VanishedPagesReadAsZero)
{
    const uint64_t size = 10 * 4096 + 100;
    BPSharedMemory block, other;
    ASSERT_EQ(Create("cut", size, &block), bpNoErr);
    ASSERT_EQ(Create("whole", size, &other), bpNoErr);
    memset(block.address, 7, size);
    memset(other.address, 9, size);
    // Another process cuts it short while we have it mapped.
    ASSERT_EQ(RunInChild([this] { return truncate(RuntimePath("cut").c_str(), 3 * 4096) == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(std::count(block.address, block.address + 3 * 4096, 7), 3 * 4096);
    EXPECT_EQ(std::count(block.address + 3 * 4096, block.address + size, 0), 7 * 4096 + 100);
    memset(block.address, 5, size);
    EXPECT_EQ(std::count(block.address, block.address + size, 5), static_cast<ptrdiff_t>(size));
    EXPECT_EQ(std::count(other.address, other.address + size, 9), static_cast<ptrdiff_t>(size));
    Close(&block);
    Close(&other);
}

TEST_F(BPSharedMemoryOnLinux, VanishedPagesTakeWritesFirst)
{
    BPSharedMemory block;
    ASSERT_EQ(Create("cut", 3 * 4096, &block), bpNoErr);
    ASSERT_EQ(truncate(RuntimePath("cut").c_str(), 0), 0);
    block.address[2 * 4096] = 1;
    EXPECT_EQ(block.address[2 * 4096], 1);
    EXPECT_EQ(block.address[0], 0);
    Close(&block);
}

TEST_F(BPSharedMemoryOnLinux, ThreadsMeetVanishedPagesTogether)
{
    struct Work {
        BPSharedMemory* block;
        uint64_t sum;
    };
    for (int round = 0; round < 20; ++round) {
        BPSharedMemory block;
        ASSERT_EQ(Create("cut", 64 * 4096, &block), bpNoErr);
        ASSERT_EQ(truncate(RuntimePath("cut").c_str(), 0), 0);
        Work work[3];
        BPThread threads[3];
        for (int index = 0; index < 3; ++index) {
            work[index] = {.block = &block, .sum = 1};
            ASSERT_EQ(BPStartThread(
                          [](void* argument) {
                              Work* mine = static_cast<Work*>(argument);
                              uint64_t sum = 0;
                              for (uint64_t at = 0; at < mine->block->byteCount; at += 512)
                                  sum += mine->block->address[at];
                              mine->sum = sum;
                          },
                          &work[index], &threads[index]),
                      bpNoErr);
        }
        for (BPThread& thread : threads) BPJoinThread(&thread);
        for (const Work& one : work) EXPECT_EQ(one.sum, 0u);
        Close(&block);
        ASSERT_EQ(Remove("cut"), bpNoErr);
    }
}

TEST_F(BPSharedMemoryOnLinux, FaultsElsewhereStillEndTheProcess)
{
    BPSharedMemory block;
    ASSERT_EQ(Create("ours", 4096, &block), bpNoErr);
    const int code = RunInChild([&] {
        close(STDERR_FILENO);
        const int file = memfd_create("foreign", 0);
        if (ftruncate(file, 4096) != 0) return 0;
        volatile char* foreign = static_cast<char*>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        if (ftruncate(file, 0) != 0) return 0;
        foreign[0] = 1;
        return 0;
    });
    if (FaultsAreReported()) {
        EXPECT_NE(code, 0);
    } else {
        EXPECT_EQ(code, 128 + SIGBUS);
    }
    // A closed block is no longer ours either.
    const uint8_t* gone = block.address;
    Close(&block);
    EXPECT_NE(RunInChild([gone] {
                  close(STDERR_FILENO);
                  return static_cast<int>(*static_cast<const volatile uint8_t*>(gone));
              }),
              0);
}

TEST_F(BPSharedMemoryOnLinux, SentSignalStillEndsTheProcess)
{
    BPSharedMemory block;
    ASSERT_EQ(Create("ours", 4096, &block), bpNoErr);
    EXPECT_NE(RunInChild([] {
                  close(STDERR_FILENO);
                  kill(getpid(), SIGBUS);
                  usleep(200000);
                  return 0;
              }),
              0);
    Close(&block);
}

TEST_F(BPSharedMemoryOnLinux, HandlerThatWasThereBeforeGetsItsFaults)
{
    const std::string peer = BPProgramFolder() + "/platform_peer";
    const char* const words[] = {peer.c_str(), "chained-handler", nullptr};
    uint32_t process = 0;
    ASSERT_EQ(platform_.process.spawn(words, &process), bpNoErr);
    int32_t code = -1;
    for (int wait = 0; wait < 2000 && platform_.process.reap(process, &code) != bpNoErr; ++wait) usleep(10000);
    if (code < 0) kill(static_cast<pid_t>(process), SIGKILL); // it goes round and round in the fault
    EXPECT_EQ(code, 42);
}

// The runtime folder.

TEST_F(BPSharedMemoryOnLinux, RuntimeFolderIsMadeAndFound)
{
    EXPECT_EQ(BPRuntimeFolder(), Path("runtime/ochrine"));
    EXPECT_EQ(BPRuntimeFolder(), Path("runtime/ochrine"));
    EXPECT_EQ(log_, "");
}

TEST_F(BPSharedMemoryOnLinux, RuntimeFolderThatIsALinkIsRefused)
{
    ASSERT_EQ(mkdir(Path("elsewhere").c_str(), 0700), 0);
    ASSERT_EQ(symlink(Path("elsewhere").c_str(), Path("runtime/ochrine").c_str()), 0);
    EXPECT_EQ(BPRuntimeFolder(), "");
    BPSharedMemory block;
    EXPECT_EQ(Create("x", 10, &block), bpFileNotFoundErr);
    EXPECT_EQ(Open("x", 10, &block), bpFileNotFoundErr);
    EXPECT_EQ(Remove("x"), bpFileNotFoundErr);
    BPFrameChannel channel;
    EXPECT_EQ(platform_.frameChannel.listen("x", &channel), bpFileNotFoundErr);
    EXPECT_TRUE(NamesIn(Path("elsewhere")).empty());
}

TEST_F(BPSharedMemoryOnLinux, RuntimeFolderThatOthersMayUseIsRefused)
{
    ASSERT_FALSE(BPRuntimeFolder().empty());
    for (const mode_t mode : {0710u, 0701u, 0777u, 0740u}) {
        ASSERT_EQ(chmod(RuntimePath("").c_str(), mode), 0);
        EXPECT_EQ(BPRuntimeFolder(), "") << mode;
    }
    ASSERT_EQ(chmod(RuntimePath("").c_str(), 0700), 0);
    EXPECT_FALSE(BPRuntimeFolder().empty());
    if (geteuid() == 0) {
        ASSERT_EQ(chown(RuntimePath("").c_str(), 65534, 65534), 0);
        EXPECT_EQ(BPRuntimeFolder(), "");
    }
}

TEST_F(BPSharedMemoryOnLinux, RuntimeFolderThatIsNoneIsRefused)
{
    ASSERT_TRUE(WriteWhole(Path("runtime/ochrine"), "a file"));
    EXPECT_EQ(BPRuntimeFolder(), "");
    setenv("XDG_RUNTIME_DIR", Path("missing").c_str(), 1);
    EXPECT_EQ(BPRuntimeFolder(), "");
    setenv("XDG_RUNTIME_DIR", ("/" + std::string(5000, 'x')).c_str(), 1);
    EXPECT_EQ(BPRuntimeFolder(), "");
}

TEST_F(BPSharedMemoryOnLinux, WithoutTheVariableAFolderBelowTmpServes)
{
    const std::string expected = "/tmp/ochrine-" + std::to_string(geteuid());
    const bool wasThere = Exists(expected);
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(BPRuntimeFolder(), expected);
    struct stat info;
    ASSERT_EQ(lstat(expected.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode, S_IFDIR | 0700u);
    setenv("XDG_RUNTIME_DIR", "relative", 1);
    EXPECT_EQ(BPRuntimeFolder(), expected);
    setenv("XDG_RUNTIME_DIR", "", 1);
    EXPECT_EQ(BPRuntimeFolder(), expected);
    if (!wasThere) rmdir(expected.c_str());
}

TEST_F(BPSharedMemoryOnLinux, AnObjectThatIsTakenBackIsNoLongerWhole)
{
    const size_t descriptors = CountDescriptors();
    for (const char* way : {"removed", "cut", "emptied", "replaced", "moved away"}) {
        BPSharedMemory theirs, block;
        ASSERT_EQ(Create("b", 9000, &theirs), bpNoErr);
        ASSERT_EQ(Open("b", 9000, &block), bpNoErr);
        EXPECT_TRUE(platform_.sharedMemory.isWhole(&block));
        const std::string deed = way;
        if (deed == "removed") {
            ASSERT_EQ(Remove("b"), bpNoErr);
        }
        if (deed == "cut") {
            ASSERT_EQ(truncate(RuntimePath("b").c_str(), 8999), 0);
        }
        if (deed == "emptied") {
            ASSERT_EQ(truncate(RuntimePath("b").c_str(), 0), 0);
        }
        if (deed == "replaced") {
            BPSharedMemory next;
            ASSERT_EQ(Remove("b"), bpNoErr);
            ASSERT_EQ(Create("b", 9000, &next), bpNoErr);
            EXPECT_TRUE(platform_.sharedMemory.isWhole(&next));
            Close(&next);
        }
        // A name is a name: whoever moves the object still has it.
        if (deed == "moved away") {
            ASSERT_EQ(rename(RuntimePath("b").c_str(), RuntimePath("c").c_str()), 0);
        }
        EXPECT_EQ(platform_.sharedMemory.isWhole(&block), deed == "moved away") << way;
        Close(&block);
        EXPECT_FALSE(platform_.sharedMemory.isWhole(&block));
        Close(&theirs);
        (void)Remove("b");
        (void)Remove("c");
    }
    EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST_F(BPSharedMemoryOnLinux, AMappedObjectIsRemovedOnlyWhileItHasItsName)
{
    const auto removeMapped = platform_.sharedMemory.removeMapped;
    const size_t descriptors = CountDescriptors();
    BPSharedMemory first, second, closed = {};
    ASSERT_EQ(Create("b", 100, &first), bpNoErr);
    EXPECT_EQ(removeMapped("b", &closed), bpParamErr);
    EXPECT_EQ(removeMapped("a/b", &first), bpParamErr);
    EXPECT_EQ(removeMapped("c", &first), bpFileNotFoundErr);
    EXPECT_EQ(removeMapped("b", &first), bpNoErr);
    EXPECT_FALSE(Exists(RuntimePath("b")));
    first.address[99] = 5; // the mapping lives on
    EXPECT_EQ(removeMapped("b", &first), bpFileNotFoundErr);
    ASSERT_EQ(Create("b", 100, &second), bpNoErr);
    EXPECT_EQ(removeMapped("b", &first), bpFileNotFoundErr); // that is its successor
    EXPECT_TRUE(platform_.sharedMemory.isWhole(&second));
    Close(&first);
    // While somebody else removes it, it is not ours to remove.
    ASSERT_EQ(RunInChild([this] {
                  BPSharedMemory theirs;
                  const int file = open(RuntimePath("b").c_str(), O_RDWR);
                  if (flock(file, LOCK_EX) != 0 || Open("b", 1, &theirs) != bpNoErr) return 1;
                  return platform_.sharedMemory.removeMapped("b", &theirs) == bpFileNotFoundErr ? 0 : 2;
              }),
              0);
    EXPECT_TRUE(Exists(RuntimePath("b")));
    EXPECT_EQ(removeMapped("b", &second), bpNoErr);
    Close(&second);
    EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST_F(BPSharedMemoryOnLinux, AnObjectThatIsCutAndGrowsAgainIsNotWhole)
{
    BPSharedMemory block, next;
    ASSERT_EQ(Create("b", 3 * 4096, &block), bpNoErr);
    const std::string path = RuntimePath("b");
    ASSERT_EQ(truncate(path.c_str(), 4096), 0);
    block.address[2 * 4096] = 1; // from here on that page is not the object's
    ASSERT_EQ(truncate(path.c_str(), 3 * 4096), 0);
    EXPECT_FALSE(platform_.sharedMemory.isWhole(&block));
    ASSERT_EQ(Open("b", 3 * 4096, &next), bpNoErr);
    EXPECT_TRUE(platform_.sharedMemory.isWhole(&next));
    Close(&block);
    Close(&next);
    ASSERT_EQ(Open("b", 3 * 4096, &next), bpNoErr); // in the place of the first
    EXPECT_TRUE(platform_.sharedMemory.isWhole(&next));
    Close(&next);
}
