#include "src/platform/BPStateFile.h"

#include "src/platform/BPFiles.h"
#include "tests/platform/PlatformTest.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

class BPStateFileOnLinux : public PlatformTest {
  protected:
    void SetUp() override
    {
        PlatformTest::SetUp();
        setenv("XDG_STATE_HOME", Path("state").c_str(), 1);
    }
    void TearDown() override
    {
        unsetenv("XDG_STATE_HOME");
        PlatformTest::TearDown();
    }
    BPStatus Open(const char* name, bool create, BPStateFile* file)
    {
        return platform_.stateFile.open(name, create, file);
    }
    std::string StatePath(const std::string& name) const { return Path("state/ochrine/" + name); }
    std::string Content(BPStateFile* file)
    {
        std::string text(100, '?');
        uint32_t count = 0;
        if (platform_.stateFile.read(file, text.data(), 100, &count) != bpNoErr) return "error";
        text.resize(count < 100 ? count : 100);
        return text;
    }
};

} // namespace

TEST_F(BPStateFileOnLinux, WhatIsWrittenIsReadAndOutlivesTheRecord)
{
    BPStateFile file;
    EXPECT_EQ(Open("a.test", false, &file), bpFileNotFoundErr);
    ASSERT_EQ(Open("a.test", true, &file), bpNoErr);
    EXPECT_EQ(Content(&file), "");
    EXPECT_EQ(platform_.stateFile.write(&file, 0, "hello", 5), bpNoErr);
    EXPECT_EQ(platform_.stateFile.write(&file, 7, "!", 1), bpNoErr);
    EXPECT_EQ(Content(&file), std::string("hello\0\0!", 8));
    platform_.stateFile.close(&file);
    EXPECT_EQ(file.handle, 0u);
    platform_.stateFile.close(&file);
    ASSERT_EQ(Open("a.test", false, &file), bpNoErr);
    EXPECT_EQ(Content(&file), std::string("hello\0\0!", 8));
    uint32_t count = 0;
    char two[2];
    EXPECT_EQ(platform_.stateFile.read(&file, two, 2, &count), bpNoErr);
    EXPECT_EQ(count, 8u); // the full size
    struct stat info = {};
    ASSERT_EQ(stat(StatePath("a.test").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    platform_.stateFile.discard(&file);
    EXPECT_FALSE(Exists(StatePath("a.test")));
    EXPECT_EQ(platform_.stateFile.write(&file, 0, "x", 1), bpParamErr);
}

TEST_F(BPStateFileOnLinux, AFileBelongsToOneProcessAtATime)
{
    BPStateFile file, second;
    ASSERT_EQ(Open("a.test", true, &file), bpNoErr);
    EXPECT_EQ(Open("a.test", true, &second), bpFileBusyErr);
    EXPECT_EQ(RunInChild([this] {
                  platform_.stateFile.prune(".test", 0); // what is held stays
                  BPStateFile mine;
                  return Open("a.test", false, &mine) == bpFileBusyErr ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(Exists(StatePath("a.test")));
    platform_.stateFile.close(&file);
    EXPECT_EQ(Open("a.test", false, &second), bpNoErr);
    platform_.stateFile.close(&second);
}

TEST_F(BPStateFileOnLinux, AKilledOwnerLeavesTheFileToTheNext)
{
    Gate held;
    Child owner([&] {
        BPStateFile mine;
        if (Open("a.test", true, &mine) != bpNoErr || platform_.stateFile.write(&mine, 0, "kept", 4) != bpNoErr)
            return 1;
        held.Open();
        pause();
        return 0;
    });
    ASSERT_TRUE(held.Wait());
    BPStateFile file;
    EXPECT_EQ(Open("a.test", false, &file), bpFileBusyErr);
    owner.Kill();
    (void)owner.Wait();
    ASSERT_EQ(Open("a.test", false, &file), bpNoErr);
    EXPECT_EQ(Content(&file), "kept");
    platform_.stateFile.close(&file);
}

TEST_F(BPStateFileOnLinux, OnlyPlainFilesOfOurOwnAreOpened)
{
    ASSERT_FALSE(BPStateFolder().empty());
    ASSERT_TRUE(WriteWhole(Path("outside"), "secret"));
    ASSERT_EQ(symlink(Path("outside").c_str(), StatePath("link").c_str()), 0);
    ASSERT_EQ(link(Path("outside").c_str(), StatePath("hard").c_str()), 0);
    ASSERT_EQ(mkfifo(StatePath("pipe").c_str(), 0600), 0);
    ASSERT_EQ(mkdir(StatePath("folder").c_str(), 0700), 0);
    BPStateFile file;
    for (const char* name : {"link", "hard", "pipe", "folder"})
        for (const bool create : {false, true}) EXPECT_EQ(Open(name, create, &file), bpFileNotFoundErr) << name;
    for (const char* name : {"", ".", "..", "a/b"}) EXPECT_EQ(Open(name, true, &file), bpParamErr) << name;
    EXPECT_EQ(ReadWhole(Path("outside")), "secret");
}

TEST_F(BPStateFileOnLinux, AFolderThatCannotBeHadIsAnErrorAndNothingMore)
{
    setenv("XDG_STATE_HOME", "/proc/ochrine-test", 1); // nobody makes folders there, not even root
    BPStateFile file;
    EXPECT_EQ(Open("a.test", true, &file), bpPermissionErr);
    platform_.stateFile.prune(".test", 0);
    ASSERT_TRUE(WriteWhole(Path("plain"), ""));
    setenv("XDG_STATE_HOME", Path("plain").c_str(), 1);
    EXPECT_EQ(Open("a.test", true, &file), bpPermissionErr);
}

TEST_F(BPStateFileOnLinux, AFullDiskIsAnErrorOfTheWrite)
{
    EXPECT_EQ(RunInChild([this] {
                  signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit = {.rlim_cur = 4, .rlim_max = 4};
                  BPStateFile mine;
                  if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || Open("a.test", true, &mine) != bpNoErr) return 1;
                  if (platform_.stateFile.write(&mine, 0, "123456", 6) != bpDiskFullErr) return 2;
                  return Content(&mine) == "1234" ? 0 : 3;
              }),
              0);
}

TEST_F(BPStateFileOnLinux, PruningKeepsTheNewest)
{
    BPStateFile file;
    for (int i = 0; i < 6; ++i) {
        const std::string name = std::to_string(5 - i) + ".test";
        ASSERT_EQ(Open(name.c_str(), true, &file), bpNoErr);
        platform_.stateFile.close(&file);
        const timespec times[2] = {{.tv_sec = 1000 + i, .tv_nsec = 0}, {.tv_sec = 1000 + i, .tv_nsec = 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, StatePath(name).c_str(), times, 0), 0);
    }
    ASSERT_TRUE(WriteWhole(StatePath("other"), "x"));
    platform_.stateFile.prune(".test", 2);
    EXPECT_EQ(NamesIn(Path("state/ochrine")), (std::vector<std::string>{"0.test", "1.test", "other"}));
    platform_.stateFile.prune(".test", 2);
    EXPECT_EQ(NamesIn(Path("state/ochrine")).size(), 3u);
}

TEST_F(BPStateFileOnLinux, NoDescriptorIsLost)
{
    const size_t before = CountDescriptors();
    for (int i = 0; i < 5; ++i) {
        BPStateFile file, second;
        ASSERT_EQ(Open("a.test", true, &file), bpNoErr);
        (void)Open("a.test", true, &second);
        (void)Open("b.test", false, &second);
        platform_.stateFile.prune(".test", 9);
        platform_.stateFile.discard(&file);
    }
    EXPECT_EQ(CountDescriptors(), before);
}
