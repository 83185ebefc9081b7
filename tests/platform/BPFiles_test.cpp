#include "src/platform/BPFiles.h"

#include "src/platform/BPMemory.h"
#include "tests/platform/PlatformTest.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

class BPFilesOnLinux : public PlatformTest {
  protected:
    void TearDown() override
    {
        BPFailAllocation(0);
        PlatformTest::TearDown();
    }
    static std::string Text(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }
    static BPStatus Write(const std::string& path, const std::string& text)
    {
        return BPWriteFile(path.c_str(), text.data(), text.size());
    }
    static mode_t ModeOf(const std::string& path)
    {
        struct stat info = {};
        return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
    }
};

} // namespace

TEST_F(BPFilesOnLinux, WrittenFilesReadBack)
{
    for (const size_t size : {size_t{0}, size_t{1}, size_t{16384}, size_t{16385}, size_t{3000000}}) {
        std::string text(size, 0);
        for (size_t at = 0; at < size; ++at) text[at] = static_cast<char>(at * 31 + (at >> 8));
        ASSERT_EQ(Write(Path("file"), text), bpNoErr) << size;
        std::vector<uint8_t> bytes = {1, 2, 3};
        ASSERT_EQ(BPReadFile(Path("file").c_str(), size, &bytes), bpNoErr) << size;
        EXPECT_EQ(Text(bytes), text) << size;
    }
    EXPECT_EQ(NamesIn(folder_), (std::vector<std::string>{"file", "runtime"}));
}

TEST_F(BPFilesOnLinux, ReadingKeepsItsBound)
{
    ASSERT_TRUE(WriteWhole(Path("file"), "0123456789"));
    std::vector<uint8_t> bytes = {9};
    EXPECT_EQ(BPReadFile(Path("file").c_str(), 9, &bytes), bpParamErr);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(BPReadFile(Path("file").c_str(), 10, &bytes), bpNoErr);
    EXPECT_EQ(bytes.size(), 10u);
    // A file that tells the size 0 and holds more.
    EXPECT_EQ(BPReadFile("/proc/self/status", 100, &bytes), bpParamErr);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(BPReadFile("/proc/self/status", 100000, &bytes), bpNoErr);
    EXPECT_NE(Text(bytes).find("platform_test"), std::string::npos);
}

TEST_F(BPFilesOnLinux, WhatIsNoFileIsToldAndDoesNotHang)
{
    std::vector<uint8_t> bytes = {9};
    EXPECT_EQ(BPReadFile(Path("missing").c_str(), 10, &bytes), bpFileNotFoundErr);
    EXPECT_TRUE(bytes.empty());
    ASSERT_TRUE(WriteWhole(Path("file"), "x"));
    EXPECT_EQ(BPReadFile(Path("file/inside").c_str(), 10, &bytes), bpNotFolderErr);
    EXPECT_EQ(BPReadFile(folder_.c_str(), 10, &bytes), bpIsFolderErr);
    EXPECT_EQ(BPReadFile("/dev/zero", 10, &bytes), bpParamErr);
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(BPReadFile(Path("fifo").c_str(), 10, &bytes), bpParamErr);
}

TEST_F(BPFilesOnLinux, LackOfMemoryIsToldAtEveryRequest)
{
    ASSERT_TRUE(WriteWhole(Path("file"), std::string(100000, 'x')));
    std::vector<uint8_t> fresh;
    BPFailAllocation(0);
    ASSERT_EQ(BPReadFile(Path("file").c_str(), 200000, &fresh), bpNoErr);
    const uint64_t requests = BPAllocationCount();
    ASSERT_GT(requests, 0u);
    for (uint64_t failing = 1; failing <= requests; ++failing) {
        std::vector<uint8_t> bytes;
        BPFailAllocation(failing);
        EXPECT_EQ(BPReadFile(Path("file").c_str(), 200000, &bytes), bpMemFullErr) << failing;
        EXPECT_TRUE(bytes.empty());
    }
}

TEST_F(BPFilesOnLinux, RefusedAccessIsTold)
{
    ASSERT_TRUE(WriteWhole(Path("secret"), "x"));
    ASSERT_EQ(chmod(Path("secret").c_str(), 0), 0);
    ASSERT_EQ(mkdir(Path("locked").c_str(), 0500), 0);
    EXPECT_EQ(RunInChild([this] {
                  if (!ObeyFileModes()) return 1;
                  std::vector<uint8_t> bytes;
                  if (BPReadFile(Path("secret").c_str(), 10, &bytes) != bpPermissionErr) return 2;
                  if (Write(Path("locked/new"), "x") != bpPermissionErr) return 3;
                  setenv("XDG_CONFIG_HOME", Path("locked").c_str(), 1);
                  return BPConfigFolder().empty() ? 0 : 4;
              }),
              0);
}

TEST_F(BPFilesOnLinux, ModeIsKeptAndNewFilesCanBeRead)
{
    const mode_t before = umask(0077);
    ASSERT_EQ(Write(Path("new"), "x"), bpNoErr);
    umask(before);
    EXPECT_EQ(ModeOf(Path("new")), 0644u);
    ASSERT_TRUE(WriteWhole(Path("old"), "x", 0640));
    ASSERT_EQ(Write(Path("old"), "y"), bpNoErr);
    EXPECT_EQ(ModeOf(Path("old")), 0640u);
}

TEST_F(BPFilesOnLinux, LinkStaysALink)
{
    ASSERT_TRUE(WriteWhole(Path("target"), "old"));
    ASSERT_EQ(symlink("target", Path("link").c_str()), 0);
    ASSERT_EQ(Write(Path("link"), "new"), bpNoErr);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
    EXPECT_EQ(ReadWhole(Path("target")), "new");
}

TEST_F(BPFilesOnLinux, WhereNoFileCanStandNothingIsLeft)
{
    EXPECT_EQ(Write(Path("missing/file"), "x"), bpFileNotFoundErr);
    ASSERT_EQ(mkdir(Path("folder").c_str(), 0700), 0);
    EXPECT_EQ(Write(Path("folder"), "x"), bpIsFolderErr);
    EXPECT_EQ(Write(Path("folder/" + std::string(300, 'n')), "x"), bpParamErr);
    EXPECT_TRUE(NamesIn(Path("folder")).empty());
    EXPECT_EQ(NamesIn(folder_), (std::vector<std::string>{"folder", "runtime"}));
}

TEST_F(BPFilesOnLinux, AFileThatWouldBeTooLargeLeavesTheOldOne)
{
    ASSERT_TRUE(WriteWhole(Path("file"), "the old one"));
    EXPECT_EQ(RunInChild([this] {
                  signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit = {.rlim_cur = 5000, .rlim_max = 5000};
                  setrlimit(RLIMIT_FSIZE, &limit);
                  return Write(Path("file"), std::string(100000, 'n')) == bpFileTooLargeErr ? 0 : 1;
              }),
              0);
    EXPECT_EQ(ReadWhole(Path("file")), "the old one");
    EXPECT_EQ(NamesIn(folder_), (std::vector<std::string>{"file", "runtime"}));
}

TEST_F(BPFilesOnLinux, KilledWriterLeavesAWholeFile)
{
    const std::string first(300000, 'a'), second(300000, 'b');
    ASSERT_EQ(Write(Path("file"), first), bpNoErr);
    for (int round = 0; round < 25; ++round) {
        Gate begun;
        Child writer([&] {
            begun.Open();
            for (;;) {
                if (Write(Path("file"), first) != bpNoErr || Write(Path("file"), second) != bpNoErr) return 1;
            }
        });
        ASSERT_TRUE(begun.Wait());
        for (int look = 0; look < 5; ++look) {
            const std::string seen = ReadWhole(Path("file"));
            ASSERT_TRUE(seen == first || seen == second) << seen.size();
        }
        usleep(static_cast<useconds_t>(round * 397));
        writer.Kill();
        writer.Wait();
        const std::string left = ReadWhole(Path("file"));
        ASSERT_TRUE(left == first || left == second) << left.size();
    }
}

TEST_F(BPFilesOnLinux, ConfigurationFolderIsMade)
{
    EXPECT_EQ(BPConfigFolder(), Path("config/ochrine"));
    EXPECT_EQ(ModeOf(Path("config/ochrine")), 0700u);
    unsetenv("XDG_CONFIG_HOME");
    const std::string home = getenv("HOME") != nullptr ? getenv("HOME") : "";
    setenv("HOME", Path("home/user").c_str(), 1);
    EXPECT_EQ(BPConfigFolder(), Path("home/user/.config/ochrine"));
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(BPConfigFolder(), Path("home/user/.config/ochrine"));
    ASSERT_TRUE(WriteWhole(Path("blocked"), "x"));
    setenv("XDG_CONFIG_HOME", Path("blocked").c_str(), 1);
    EXPECT_EQ(BPConfigFolder(), "");
    setenv("XDG_CONFIG_HOME", "/proc/none", 1);
    EXPECT_EQ(BPConfigFolder(), "");
    setenv("HOME", home.c_str(), 1);
}

TEST_F(BPFilesOnLinux, DocumentsFolderIsTheOneOfTheDesktop)
{
    const char* before = getenv("XDG_CONFIG_HOME");
    const std::string config = before != nullptr ? before : "", home = getenv("HOME") != nullptr ? getenv("HOME") : "/";
    setenv("HOME", "/home-of-a-user", 1);
    setenv("XDG_CONFIG_HOME", Path("").c_str(), 1);
    EXPECT_EQ(BPDocumentsFolder(), "/home-of-a-user/Documents");
    struct {
        const char* text;
        const char* folder;
    } const cases[] = {
        {"# XDG_DOCUMENTS_DIR=\"/no\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n", "/home-of-a-user/Dokumente"},
        {"XDG_MUSIC_DIR=\"/m\"\nXDG_DOCUMENTS_DIR=\"/data/docs\"", "/data/docs"},
        {"XDG_DOCUMENTS_DIR=\"relative\"\n", "/home-of-a-user/Documents"},
        {"XDG_DOCUMENTS_DIR=\"/cut", "/home-of-a-user/Documents"},
        {"XDG_DOCUMENTS_DIR=\"/cut\nX=\"", "/home-of-a-user/Documents"},
        {"", "/home-of-a-user/Documents"},
    };
    for (const auto& row : cases) {
        ASSERT_EQ(BPWriteFile(Path("user-dirs.dirs").c_str(), row.text, strlen(row.text)), bpNoErr);
        EXPECT_EQ(BPDocumentsFolder(), row.folder) << row.text;
    }
    EXPECT_TRUE(BPMakeFolder(Path("documents/of mine")));
    EXPECT_TRUE(BPMakeFolder(Path("documents/of mine")));
    EXPECT_EQ(BPWriteFile(Path("documents/of mine/x").c_str(), "x", 1), bpNoErr);
    EXPECT_FALSE(BPMakeFolder(Path("documents/of mine/x")));
    EXPECT_FALSE(BPMakeFolder(""));
    EXPECT_FALSE(BPMakeFolder("relative"));
    config.empty() ? unsetenv("XDG_CONFIG_HOME") : setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    setenv("HOME", home.c_str(), 1);
}

TEST_F(BPFilesOnLinux, ProgramFolderHoldsTheProgram)
{
    EXPECT_TRUE(Exists(BPProgramFolder() + "/platform_test"));
}
