// The preferences in their real store: other processes, kills, disks that are full or cannot be written, damage.
#include "src/support/TKPreferences.h"

#include "src/platform/BPLog.h"
#include "tests/platform/PlatformTest.h"

#include <csignal>
#include <cstring>
#include <memory>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

constexpr uint32_t kMarked[] = {1, 5, 10, 20, 50, 99}; // depths: the only number that is checked when it is read

class TKPreferencesOnDisk : public PlatformTest {
  protected:
    std::string File() const { return Path("config/ochrine/Settings.db"); }
    bool LogHas(const char* text) const { return log_.find(text) != std::string::npos; }
};

/// A record in which every word of the grade slots and many others tell `mark`.
std::unique_ptr<TKPreferences> Marked(const BPPlatform& platform, uint32_t mark)
{
    auto record = std::make_unique<TKPreferences>();
    PrefsSetDefaults(record.get(), platform);
    record->undoDepth = kMarked[mark % std::size(kMarked)];
    record->uiTimeoutDuration = mark;
    record->controlSurfaceWindowV = static_cast<int32_t>(mark); // the last number of the table
    std::memset(record->primaryLUT, static_cast<int>(mark), sizeof record->primaryLUT);
    for (TKSavedSlot& slot : record->savedSettings) {
        slot.used = 1;
        std::memset(&slot.settings, static_cast<int>(mark), sizeof slot.settings);
    }
    return record;
}

/// Whether the store holds one record that Marked made, whole. Its mark goes to `mark`.
bool IsWhole(const BPPlatform& platform, uint32_t* mark)
{
    TKPreferences found;
    (void)PrefsRead(&found, platform);
    *mark = found.uiTimeoutDuration;
    const auto expected = Marked(platform, *mark);
    expected->undoPopupIndex = found.undoPopupIndex;
    expected->autoLumaTrim = found.autoLumaTrim;
    return std::memcmp(&found, expected.get(), sizeof found) == 0;
}

} // namespace

TEST_F(TKPreferencesOnDisk, WhatOneRunWritesTheNextOneReads)
{
    const auto written = Marked(platform_, 7);
    ASSERT_EQ(PrefsWrite(*written, platform_), bpNoErr);
    EXPECT_EQ(RunInChild([&] {
                  uint32_t mark = 0;
                  return IsWhole(platform_, &mark) && mark == 7 ? 0 : 1;
              }),
              0);
    EXPECT_EQ(NamesIn(Path("config/ochrine")), (std::vector<std::string>{"Settings.db", "Settings.db.lock"}));
}

TEST_F(TKPreferencesOnDisk, AProcessKilledWhileItWritesLeavesOneWholeRecord)
{
    ASSERT_EQ(PrefsWrite(*Marked(platform_, 0), platform_), bpNoErr);
    uint32_t last = 0, moves = 0;
    for (int round = 0; round < 25; ++round) {
        Gate begun;
        Child writer([&] {
            for (uint32_t mark = last + 1;; ++mark) {
                if (PrefsWrite(*Marked(platform_, mark % 250), platform_) != bpNoErr) return 1;
                begun.Open();
            }
        });
        ASSERT_TRUE(begun.Wait());
        usleep(static_cast<useconds_t>(200 + round * 617));
        writer.Kill();
        ASSERT_EQ(writer.Wait(), 128 + SIGKILL);
        uint32_t mark = 0;
        ASSERT_TRUE(IsWhole(platform_, &mark)) << "round " << round << ", mark " << mark;
        moves += mark != last;
        last = mark;
    }
    EXPECT_GT(moves, 12u);
    EXPECT_FALSE(LogHas("damaged"));
}

TEST_F(TKPreferencesOnDisk, TwoProcessesAtOnceLeaveOneOfTheirRecordsWhole)
{
    ASSERT_EQ(PrefsWrite(*Marked(platform_, 0), platform_), bpNoErr);
    const auto write = [&](uint32_t own) {
        for (uint32_t round = 0; round < 30; ++round)
            if (PrefsWrite(*Marked(platform_, own + round % 3), platform_) != bpNoErr) return 1;
        return 0;
    };
    Child first([&] { return write(10); });
    Child second([&] { return write(20); });
    for (int round = 0; round < 20; ++round) {
        uint32_t mark = 0;
        ASSERT_TRUE(IsWhole(platform_, &mark)) << mark;
        EXPECT_TRUE(mark == 0 || mark / 10 == 1 || mark / 10 == 2) << mark;
    }
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    uint32_t mark = 0;
    EXPECT_TRUE(IsWhole(platform_, &mark));
    EXPECT_NE(mark, 0u);
}

TEST_F(TKPreferencesOnDisk, AnotherProcessThatHoldsTheStoreDelaysTheStartASecondOrTwoAndNoMore)
{
    ASSERT_EQ(PrefsWrite(*Marked(platform_, 7), platform_), bpNoErr);
    Gate held, done;
    Child holder([&] {
        BPKeyedStore store = {};
        if (platform_.keyedStore.open(kTKPreferencesStore, &store) != bpNoErr) return 1;
        if (platform_.keyedStore.begin(&store) != bpNoErr) return 2;
        held.Open();
        done.Wait();
        platform_.keyedStore.close(&store);
        return 0;
    });
    ASSERT_TRUE(held.Wait());
    const uint64_t begin = platform_.clock.monotonicMs();
    TKPreferences found;
    (void)PrefsRead(&found, platform_); // a writer that has not committed lets readers in
    EXPECT_EQ(found.uiTimeoutDuration, 7u);
    EXPECT_EQ(found.savedSettings[7].used, 1u);
    EXPECT_EQ(PrefsWrite(found, platform_), bpFileBusyErr);
    EXPECT_LT(platform_.clock.monotonicMs() - begin, 12000u);
    EXPECT_TRUE(LogHas("PrefsWrite: nothing was stored, error -47; the store keeps what it held\n"));
    done.Open();
    EXPECT_EQ(holder.Wait(), 0);
    EXPECT_EQ(PrefsWrite(found, platform_), bpNoErr);
}

TEST_F(TKPreferencesOnDisk, ADamagedStoreIsMovedAsideAndTheDefaultsAreInForce)
{
    ASSERT_EQ(PrefsWrite(*Marked(platform_, 7), platform_), bpNoErr);
    std::string damage = ReadWhole(File());
    for (size_t i = 0; i < damage.size(); i += 3) damage[i] = static_cast<char>(i);
    ASSERT_TRUE(WriteWhole(File(), damage));
    TKPreferences found;
    (void)PrefsRead(&found, platform_);
    EXPECT_EQ(found.uiTimeoutDuration, 10u);
    EXPECT_EQ(found.savedSettings[0].used, 0u);
    EXPECT_TRUE(
        LogHas(("The settings store " + File() + " was damaged and is kept as " + File() + ".damaged-1\n").c_str()));
    EXPECT_EQ(ReadWhole(File() + ".damaged-1"), damage);
    ASSERT_EQ(PrefsWrite(*Marked(platform_, 9), platform_), bpNoErr);
    uint32_t mark = 0;
    EXPECT_TRUE(IsWhole(platform_, &mark));
    EXPECT_EQ(mark, 9u);
}

TEST_F(TKPreferencesOnDisk, AFolderThatCannotBeWrittenIsReadAndTold)
{
    ASSERT_EQ(PrefsWrite(*Marked(platform_, 7), platform_), bpNoErr);
    const std::string before = ReadWhole(File());
    for (const bool withLock : {true, false}) {
        if (!withLock) {
            ASSERT_EQ(unlink((File() + ".lock").c_str()), 0);
        }
        ASSERT_EQ(chmod(File().c_str(), 0400), 0);
        ASSERT_EQ(chmod(Path("config/ochrine").c_str(), 0500), 0);
        EXPECT_EQ(RunInChild([&] {
                      if (!ObeyFileModes()) return 1;
                      log_.clear();
                      uint32_t mark = 0;
                      if (!IsWhole(platform_, &mark) || mark != 7) return 2;
                      if (PrefsWrite(*Marked(platform_, 8), platform_) != bpPermissionErr) return 4;
                      if (!LogHas("PrefsWrite: nothing was stored, error -54; the store keeps what it held\n"))
                          return 5;
                      return 0;
                  }),
                  0)
            << withLock;
        ASSERT_EQ(chmod(Path("config/ochrine").c_str(), 0700), 0);
        EXPECT_EQ(ReadWhole(File()), before);
    }
}

TEST_F(TKPreferencesOnDisk, ANewFolderThatCannotBeWrittenGivesTheDefaults)
{
    ASSERT_EQ(mkdir(Path("closed").c_str(), 0500), 0);
    EXPECT_EQ(RunInChild([&] {
                  if (!ObeyFileModes()) return 1;
                  setenv("XDG_CONFIG_HOME", Path("closed").c_str(), 1);
                  TKPreferences found;
                  (void)PrefsRead(&found, platform_);
                  if (found.undoDepth != 20 || found.autoLumaTrim != 0.001f) return 2;
                  if (!LogHas("PrefsRead: the store cannot be opened, error ")) return 3;
                  if (PrefsWrite(found, platform_) == bpNoErr) return 4;
                  return 0;
              }),
              0);
}

TEST_F(TKPreferencesOnDisk, AFullDiskLosesNothingThatWasStored)
{
    const int result = RunInChild([&] {
        // A file system of its own, as small as the store and a journal need, seen by this process alone.
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
        if (mkdir(Path("small").c_str(), 0700) != 0) return 1;
        if (mount("none", Path("small").c_str(), "tmpfs", 0, "size=512k") != 0) return 77;
        setenv("XDG_CONFIG_HOME", Path("small").c_str(), 1);
        auto few = Marked(platform_, 7);
        for (size_t slot = 1; slot < kTKSlotCount; ++slot) few->savedSettings[slot].used = 0;
        if (PrefsWrite(*few, platform_) != bpNoErr) return 2;
        if (!WriteWhole(Path("small/filler"), std::string(512 * 1024, 'f'))) {
            // The last bytes did not fit: that is what the disk is for.
        }
        log_.clear();
        if (PrefsWrite(*Marked(platform_, 8), platform_) != bpDiskFullErr) return 3;
        if (!LogHas("PrefsWrite: nothing was stored, error -34; the store keeps what it held\n")) return 4;
        TKPreferences found;
        (void)PrefsRead(&found, platform_);
        if (found.uiTimeoutDuration != 7 || found.savedSettings[0].used != 1) return 5;
        if (std::memcmp(&found.savedSettings[0].settings, &few->savedSettings[0].settings, sizeof(OCSettings)) != 0)
            return 6;
        if (unlink(Path("small/filler").c_str()) != 0) return 7;
        if (PrefsWrite(*few, platform_) != bpNoErr) return 8;
        return LogHas("damaged") ? 9 : 0;
    });
    if (result == 77) GTEST_SKIP() << "a file system of its own needs more rights";
    EXPECT_EQ(result, 0);
}
