// The block's layout, and the session library against a fake application.
#include "host/HostMisbehave.h"
#include "host/HostSession.h"
#include "src/OCSettings.h"
#include "src/TincturaFrameBuffer.h"
#include "tests/host/FakeApplication.h"

#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

extern "C" {
size_t OchrineBlockSizeInC(void);
size_t OchrineSettingsOffsetInC(void);
uint32_t OchrineStatusInC(OchrineBlock* block, uint32_t status);
}

namespace {

BPPlatform Platform()
{
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    return platform;
}

/// A frame whose bytes all tell where they stand.
std::vector<uint8_t> Pixels(size_t count, uint32_t seed)
{
    std::vector<uint8_t> pixels(count);
    for (size_t i = 0; i < count; ++i) pixels[i] = static_cast<uint8_t>((i * 2654435761u + seed * 97u) >> 13);
    return pixels;
}

constexpr uint32_t kWidth = 20, kHeight = 11, kRowBytes = 96;

/// A host with a published frame of 20 x 11 pixels whose rows have padding.
struct Host {
    OchrineHost* host = nullptr;
    OchrineBlock* block = nullptr;
    std::vector<uint8_t> pixels = Pixels(kRowBytes * kHeight, 1);

    explicit Host(uint32_t chunkRows = 0, bool publish = true)
    {
        EXPECT_EQ(OchrineHostOpen(kRowBytes * (chunkRows == 0 ? kHeight : std::min(chunkRows, kHeight)), &host),
                  ochrineOk);
        if (host == nullptr) return;
        block = OchrineHostBlock(host);
        block->frameStep = 1001;
        block->frameTimeMax = 49 * 1001;
        block->settings[0] = kOchrineGradeSignature;
        block->settings[5] = 77;
        if (publish) {
            EXPECT_EQ(Publish(chunkRows), ochrineOk);
        }
    }
    ~Host() { OchrineHostClose(host); }

    OchrineResult Publish(uint32_t chunkRows)
    {
        const OchrineFrame frame = {kWidth, kHeight, kRowBytes, ochrinePixFormatARGB8, pixels.data()};
        return OchrineHostPublish(host, &frame, chunkRows);
    }

    /// Steps until an event of this kind, or until ten seconds are over.
    OchrineEvent Await(OchrineEventKind kind)
    {
        OchrineEvent event = {};
        for (int i = 0; i < 5000; ++i) {
            OchrineHostStep(host, &event);
            if (event.kind == kind) return event;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        ADD_FAILURE() << "no event of kind " << kind << ", status " << event.status;
        return event;
    }
};

uint32_t Spawn(const BPPlatform& platform, const char* seconds)
{
    const char* const arguments[] = {"sleep", seconds, nullptr};
    uint32_t process = 0;
    EXPECT_EQ(platform.process.spawn(arguments, &process), bpNoErr);
    return process;
}

} // namespace

TEST(OchrineBlock, HasTheLayoutOfTheRecordsInside)
{
    EXPECT_EQ(sizeof(OchrineBlock), 86628u);
    EXPECT_EQ(OchrineBlockSizeInC(), sizeof(OchrineBlock));
    EXPECT_EQ(OchrineSettingsOffsetInC(), 53044u);
    EXPECT_EQ(sizeof(OchrineBlock::settings), sizeof(OCSettings));
    EXPECT_EQ(kOchrineGradeSignature, kOCSettingsSignature);
    EXPECT_EQ(static_cast<int32_t>(ochrinePixFormatBGRA8), static_cast<int32_t>(pixFormatBGRA8));
    EXPECT_EQ(static_cast<int32_t>(ochrinePixFormatRGBA32_Float), static_cast<int32_t>(pixFormatRGBA32_Float));
    EXPECT_EQ(static_cast<int32_t>(ochrinePixFormatARGB8), static_cast<int32_t>(pixFormatARGB8));
    OchrineBlock block = {};
    EXPECT_EQ(OchrineStatusInC(&block, kTKUIStatusRequestFrame), 9u);
    EXPECT_EQ(OchrineLoadStatus(&block), 9u);
}

TEST(OchrineHost, WritesTheHeaderAndRemovesTheBlock)
{
    const BPPlatform platform = Platform();
    {
        Host host(0, false);
        ASSERT_NE(host.host, nullptr);
        BPSharedMemory memory = {};
        ASSERT_EQ(platform.sharedMemory.open(kOchrineBlockName, kOchrineBlockBytes, &memory), bpNoErr);
        EXPECT_EQ(memory.byteCount, 86624u + kRowBytes * kHeight);
        uint32_t words[4] = {};
        std::memcpy(words, memory.address, sizeof(words));
        EXPECT_EQ(words[0], 7u);
        EXPECT_EQ(words[1], 0x4F436333u);
        EXPECT_EQ(words[3], 0u);
        std::memcpy(words, memory.address + 52920, 4);
        EXPECT_EQ(words[0], platform.process.currentId());
        ASSERT_EQ(host.Publish(0), ochrineOk);
        std::memcpy(words, memory.address, sizeof(words));
        EXPECT_EQ(words[2], 1u);
        EXPECT_EQ(words[3], 1u);
        EXPECT_EQ(std::memcmp(memory.address + 86624, host.pixels.data(), host.pixels.size()), 0);
        platform.sharedMemory.close(&memory);
    }
    BPSharedMemory memory = {};
    EXPECT_EQ(platform.sharedMemory.open(kOchrineBlockName, 1, &memory), bpFileNotFoundErr);
}

TEST(OchrineHost, RefusesFramesThatCannotBe)
{
    Host host(0, false);
    ASSERT_NE(host.host, nullptr);
    const OchrineFrame good = {kWidth, kHeight, kRowBytes, ochrinePixFormatARGB8, host.pixels.data()};
    const auto refused = [&](auto change, uint32_t chunkRows = 0) {
        OchrineFrame frame = good;
        change(frame);
        return OchrineHostPublish(host.host, &frame, chunkRows) == ochrineParamErr;
    };
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.rowBytes = 0; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.rowBytes = kWidth * 4 - 1; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.height = kHeight + 1; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.width = 0; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.pixels = nullptr; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.pixelFormat = ochrinePixFormatRGBA32_Float; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.rowBytes = 0xFFFFFFFF; }));
    EXPECT_TRUE(refused([](OchrineFrame& f) { f.height = 40; }, 12));
    EXPECT_FALSE(refused([](OchrineFrame& f) { f.height = 5; }));
    host.block->frameStep = 0;
    EXPECT_TRUE(refused([](OchrineFrame&) {}));
    host.block->frameStep = 1;
    host.block->frameTimeMax = -1;
    EXPECT_TRUE(refused([](OchrineFrame&) {}));
    EXPECT_EQ(OchrineLoadStatus(host.block), uint32_t{kTKUIStatusDataReady}); // of the one that was good
    OchrineHost* none = nullptr;
    EXPECT_EQ(OchrineHostOpen(uint64_t{1} << 40, &none), ochrineParamErr);
    EXPECT_EQ(none, nullptr);
}

TEST(OchrineHost, HandsAFrameOverInline)
{
    Host host;
    FakeApplication application;
    ASSERT_TRUE(FakeAttach(&application));
    EXPECT_EQ(FakeTakeFrame(&application), host.pixels);
    EXPECT_EQ(host.Await(ochrineEventAttached).status, uint32_t{kTKUIStatusUIRunning});
    OchrineEvent event = {};
    OchrineHostStep(host.host, &event);
    EXPECT_EQ(event.kind, ochrineEventNone); // told once
    FakeLeave(&application, kTKUIStatusUIDone);
    host.Await(ochrineEventDone);
}

class Chunks : public testing::TestWithParam<uint32_t> {};

TEST_P(Chunks, AreHandedOverWhole)
{
    Host host(GetParam());
    std::vector<uint8_t> taken;
    std::thread application([&] {
        FakeApplication fake;
        if (!FakeAttach(&fake)) return;
        fake.platform.clock.sleepMs(50); // 3 without a chunk taken is not attached yet
        taken = FakeTakeFrame(&fake);
        FakeLeave(&fake, 0);
    });
    host.Await(ochrineEventAttached);
    application.join();
    EXPECT_EQ(taken, host.pixels);
}

INSTANTIATE_TEST_SUITE_P(Rows, Chunks, testing::Values(3, 4, 10, 11, 500));

// An application reads bytesRemaining after it has stored 5. It must find the count of the chunk that it took.
TEST(OchrineHost, LeavesTheCountAloneForAWhileAfterAChunkWasTaken)
{
    Host host(10);
    FakeApplication application;
    ASSERT_TRUE(FakeAttach(&application));
    EXPECT_EQ(host.block->bytesRemaining, static_cast<int32_t>(kRowBytes));
    OchrineEvent event = {};
    OchrineHostStep(host.host, &event);
    EXPECT_EQ(event.kind, ochrineEventNone);
    OchrineStoreStatus(application.block, kTKUIStatusChunkConsumed);
    OchrineHostStep(host.host, &event);
    OchrineHostStep(host.host, &event);
    EXPECT_EQ(application.block->bytesRemaining, static_cast<int32_t>(kRowBytes));
    EXPECT_EQ(OchrineLoadStatus(application.block), uint32_t{kTKUIStatusChunkConsumed});
    application.platform.clock.sleepMs(60);
    OchrineHostStep(host.host, &event);
    EXPECT_EQ(OchrineLoadStatus(application.block), uint32_t{kTKUIStatusChunkReady});
    EXPECT_EQ(application.block->bytesRemaining, 0);
    EXPECT_EQ(application.block->chunkBytes, kRowBytes);
    FakeLeave(&application, kTKUIStatusUIDone);
}

TEST(OchrineHost, ServesRequestsOneAfterTheOther)
{
    Host host;
    std::vector<std::vector<uint8_t>> got;
    std::thread application([&] {
        FakeApplication fake;
        if (!FakeAttach(&fake) || !FakeListen(&fake, "Comm4711")) return;
        for (int32_t frame : {3, 4, 4, 49}) got.push_back(FakeRequest(&fake, frame * 1001));
        got.push_back(FakeRequest(&fake, -5));        // clamped to the first
        got.push_back(FakeRequest(&fake, INT32_MAX)); // and to the last
        FakeLeave(&fake, kTKUIStatusUIDone);
    });
    std::vector<int32_t> asked;
    for (;;) {
        OchrineEvent event = {};
        OchrineHostStep(host.host, &event);
        if (event.kind == ochrineEventFrameWanted) {
            asked.push_back(event.frameNumber);
            const std::vector<uint8_t> frame = Pixels(kRowBytes * kHeight, static_cast<uint32_t>(event.frameNumber));
            EXPECT_EQ(OchrineHostAnswer(host.host, frame.data(), static_cast<uint32_t>(frame.size())), ochrineOk);
        }
        if (event.kind == ochrineEventDone) break;
        ASSERT_NE(event.kind, ochrineEventDied);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    application.join();
    EXPECT_EQ(asked, (std::vector<int32_t>{3, 4, 4, 49, 0, 49}));
    ASSERT_EQ(got.size(), asked.size());
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i], Pixels(kRowBytes * kHeight, static_cast<uint32_t>(asked[i]))) << i;
    }
}

TEST(OchrineHost, RefusesARequest)
{
    Host host;
    std::vector<uint8_t> got = {1};
    std::thread application([&] {
        FakeApplication fake;
        if (!FakeAttach(&fake) || !FakeListen(&fake, "Comm1")) return;
        got = FakeRequest(&fake, 1001);
        FakeLeave(&fake, kTKUIStatusUIDone);
    });
    EXPECT_EQ(host.Await(ochrineEventFrameWanted).frameNumber, 1);
    OchrineHostRefuse(host.host);
    host.Await(ochrineEventDone);
    application.join();
    EXPECT_TRUE(got.empty());
}

TEST(OchrineHost, RefusesForAChannelThatIsNotThere)
{
    Host host;
    FakeApplication application;
    ASSERT_TRUE(FakeAttach(&application));
    const char* const names[] = {"", "nobody", "../../etc/passwd"};
    for (const char* name : names) {
        std::memset(application.block->commWindowName, 0, 64);
        std::memcpy(application.block->commWindowName, name, std::strlen(name));
        OchrineStoreStatus(application.block, kTKUIStatusRequestFrame);
        host.Await(ochrineEventFrameWanted);
        EXPECT_NE(OchrineHostAnswer(host.host, host.pixels.data(), static_cast<uint32_t>(host.pixels.size())),
                  ochrineOk);
        EXPECT_EQ(OchrineLoadStatus(application.block), uint32_t{kTKUIStatusRequestFailed}) << name;
    }
    std::memset(application.block->commWindowName, 'x', 64); // no end
    OchrineStoreStatus(application.block, kTKUIStatusRequestFrame);
    host.Await(ochrineEventFrameWanted);
    EXPECT_NE(OchrineHostAnswer(host.host, host.pixels.data(), static_cast<uint32_t>(host.pixels.size())), ochrineOk);
    EXPECT_EQ(OchrineHostAnswer(host.host, host.pixels.data(), 5), ochrineParamErr);
    FakeLeave(&application, kTKUIStatusUIDone);
}

TEST(OchrineHost, NeverOverwritesAnotherStatusWithARefusal)
{
    Host host;
    OchrineStoreStatus(host.block, kTKUIStatusUIDone);
    OchrineHostRefuse(host.host);
    EXPECT_EQ(OchrineLoadStatus(host.block), uint32_t{kTKUIStatusUIDone});
}

TEST(OchrineHost, ReadsTheGrade)
{
    Host host;
    FakeApplication application;
    ASSERT_TRUE(FakeAttach(&application));
    application.block->settings[5] = 78;
    FakeLeave(&application, kTKUIStatusUIDone);
    host.Await(ochrineEventDone);
    std::vector<uint32_t> grade(kOchrineGradeWords);
    EXPECT_EQ(OchrineHostReadGrade(host.host, grade.data()), ochrineOk);
    EXPECT_EQ(grade[5], 78u);
    host.block->settings[0] = 1;
    EXPECT_EQ(OchrineHostReadGrade(host.host, grade.data()), ochrineNoGradeErr);
}

TEST(OchrineHost, TellsOfAnApplicationThatLetGo)
{
    Host host;
    FakeApplication application;
    ASSERT_TRUE(FakeAttach(&application));
    FakeLeave(&application, kTKUIStatusUIFailed);
    EXPECT_EQ(host.Await(ochrineEventFailed).status, uint32_t{kTKUIStatusUIFailed});
}

TEST(OchrineHost, TellsOfADeathInEachState)
{
    const BPPlatform platform = Platform();
    for (uint32_t state : {1u, 3u, 5u, 9u, 11u, 12345u}) {
        Host host;
        const uint32_t child = Spawn(platform, "0.05");
        ASSERT_EQ(OchrineHostWatch(host.host, child), ochrineOk);
        OchrineStoreStatus(host.block, state);
        EXPECT_EQ(host.Await(ochrineEventDied).status, state);
        int32_t code = 0;
        EXPECT_EQ(platform.process.reap(child, &code), bpNoErr);
    }
}

TEST(OchrineHost, BelievesFourOfAnApplicationThatIsGone)
{
    const BPPlatform platform = Platform();
    Host host;
    const uint32_t child = Spawn(platform, "0");
    ASSERT_EQ(OchrineHostWatch(host.host, child), ochrineOk);
    platform.clock.sleepMs(100);
    OchrineStoreStatus(host.block, kTKUIStatusUIDone);
    OchrineEvent event = {};
    OchrineHostStep(host.host, &event);
    EXPECT_EQ(event.kind, ochrineEventDone);
    int32_t code = 0;
    EXPECT_EQ(platform.process.reap(child, &code), bpNoErr);
}

TEST(OchrineHost, EndsARequestWhoseApplicationDies)
{
    const BPPlatform platform = Platform();
    Host host;
    FakeApplication application;
    ASSERT_TRUE(FakeAttach(&application) && FakeListen(&application, "Comm2"));
    const uint32_t child = Spawn(platform, "0.1");
    ASSERT_EQ(OchrineHostWatch(host.host, child), ochrineOk);
    OchrineStoreStatus(application.block, kTKUIStatusRequestFrame);
    host.Await(ochrineEventFrameWanted);
    // Sent, and never taken.
    EXPECT_EQ(OchrineHostAnswer(host.host, host.pixels.data(), static_cast<uint32_t>(host.pixels.size())), ochrineOk);
    host.Await(ochrineEventDied);
    int32_t code = 0;
    EXPECT_EQ(platform.process.reap(child, &code), bpNoErr);
    FakeLeave(&application, 0);
}

TEST(OchrineHost, TakesASessionUpWithAnotherApplication)
{
    const BPPlatform platform = Platform();
    Host host;
    const uint32_t first = Spawn(platform, "0");
    ASSERT_EQ(OchrineHostWatch(host.host, first), ochrineOk);
    host.Await(ochrineEventDied);
    const uint32_t second = Spawn(platform, "5");
    ASSERT_EQ(OchrineHostWatch(host.host, second), ochrineOk);
    OchrineStoreStatus(host.block, kTKUIStatusUIRunning);
    host.Await(ochrineEventAttached);
    int32_t code = 0;
    EXPECT_EQ(platform.process.reap(first, &code), bpNoErr);
}

TEST(OchrineHost, SurvivesABlockThatIsCutShort)
{
    Host host;
    const std::string path = std::string(getenv("XDG_RUNTIME_DIR")) + "/ochrine/" + kOchrineBlockName;
    ASSERT_EQ(truncate(path.c_str(), 0), 0);
    OchrineEvent event = {};
    OchrineHostStep(host.host, &event);
    EXPECT_EQ(event.kind, ochrineEventNone);
    EXPECT_EQ(event.status, 0u);
    std::vector<uint32_t> grade(kOchrineGradeWords);
    EXPECT_EQ(OchrineHostReadGrade(host.host, grade.data()), ochrineNoGradeErr);
}

TEST(OchrineHost, DoesNotRemoveTheBlockOfItsSuccessor)
{
    const BPPlatform platform = Platform();
    OchrineHost* lost = nullptr;
    ASSERT_EQ(OchrineHostOpen(0, &lost), ochrineOk);
    ASSERT_EQ(platform.sharedMemory.remove(kOchrineBlockName), bpNoErr);
    Host successor;
    ASSERT_NE(successor.host, nullptr);
    OchrineHostClose(lost);
    BPSharedMemory memory = {};
    EXPECT_EQ(platform.sharedMemory.open(kOchrineBlockName, kOchrineBlockBytes, &memory), bpNoErr);
    platform.sharedMemory.close(&memory);
}

/// A process table in which the owner of a stale block is dead, and another host puts its block in the place of the
/// stale one while that is found out.
BPStatus WatchWhileAnotherHostComes(uint32_t, BPProcessWatch* watch)
{
    const BPPlatform platform = Platform();
    *watch = {};
    EXPECT_EQ(platform.sharedMemory.remove(kOchrineBlockName), bpNoErr);
    BPSharedMemory memory = {};
    EXPECT_EQ(platform.sharedMemory.create(kOchrineBlockName, kOchrineBlockBytes, &memory), bpNoErr);
    auto* block = reinterpret_cast<OchrineBlock*>(memory.address);
    block->hostProcessID = 4711;
    block->signature = kOchrineSignature;
    platform.sharedMemory.close(&memory);
    return bpNotFoundErr;
}

TEST(StaleBlock, ThatAnotherHostReplacesMeanwhileIsNotRemovedTwice)
{
    BPPlatform platform = Platform();
    ASSERT_EQ(LeaveStaleBlock(platform), ochrineOk);
    platform.process.watch = WatchWhileAnotherHostComes;
    OchrineHost* host = nullptr;
    EXPECT_EQ(OchrineHostOpenOn(platform, 0, &host), ochrineExistsErr);
    EXPECT_EQ(host, nullptr);
    BPSharedMemory memory = {};
    ASSERT_EQ(platform.sharedMemory.open(kOchrineBlockName, kOchrineBlockBytes, &memory), bpNoErr);
    EXPECT_EQ(reinterpret_cast<OchrineBlock*>(memory.address)->hostProcessID, 4711u);
    EXPECT_EQ(platform.sharedMemory.removeMapped(kOchrineBlockName, &memory), bpNoErr);
    platform.sharedMemory.close(&memory);
}

TEST(StaleBlock, OfADeadHostIsReplaced)
{
    const BPPlatform platform = Platform();
    ASSERT_EQ(LeaveStaleBlock(platform), ochrineOk);
    Host host;
    ASSERT_NE(host.host, nullptr);
    EXPECT_EQ(host.block->hostProcessID, platform.process.currentId());
}

TEST(StaleBlock, OfALiveHostIsRefused)
{
    Host host;
    OchrineHost* second = nullptr;
    EXPECT_EQ(OchrineHostOpen(0, &second), ochrineExistsErr);
    EXPECT_EQ(second, nullptr);
    host.block->hostProcessID = 0; // nobody knows whether it lives
    EXPECT_EQ(OchrineHostOpen(0, &second), ochrineExistsErr);
}

TEST(StaleBlock, ThatNobodyFinishedIsReplaced)
{
    const BPPlatform platform = Platform();
    for (uint64_t size : {uint64_t{1}, uint64_t{4096}, uint64_t{kOchrineBlockBytes}}) {
        BPSharedMemory memory = {};
        ASSERT_EQ(platform.sharedMemory.create(kOchrineBlockName, size, &memory), bpNoErr);
        platform.sharedMemory.close(&memory);
        Host host;
        EXPECT_NE(host.host, nullptr) << size;
    }
}

TEST(StaleBlock, ThatIsBeingFinishedIsRefused)
{
    const BPPlatform platform = Platform();
    BPSharedMemory memory = {};
    ASSERT_EQ(platform.sharedMemory.create(kOchrineBlockName, kOchrineBlockBytes, &memory), bpNoErr);
    OchrineBlock* block = reinterpret_cast<OchrineBlock*>(memory.address);
    std::thread other([&] {
        platform.clock.sleepMs(30);
        block->hostProcessID = platform.process.currentId();
        __atomic_store_n(&block->signature, kOchrineSignature, __ATOMIC_RELEASE);
    });
    OchrineHost* host = nullptr;
    EXPECT_EQ(OchrineHostOpen(0, &host), ochrineExistsErr);
    other.join();
    platform.sharedMemory.close(&memory);
    EXPECT_EQ(platform.sharedMemory.remove(kOchrineBlockName), bpNoErr);
}

TEST(Resident, IsFoundWhileItLives)
{
    const BPPlatform platform = Platform();
    uint32_t found = 1;
    EXPECT_EQ(OchrineFindResident(&found), ochrineNotFoundErr);
    EXPECT_EQ(found, 0u);
    BPSharedMemory memory = {};
    ASSERT_EQ(platform.sharedMemory.create(kOchrineResidentName, sizeof(OchrineResidentBlock), &memory), bpNoErr);
    auto* resident = reinterpret_cast<OchrineResidentBlock*>(memory.address);
    const uint32_t child = Spawn(platform, "0.2");
    resident->processId = child;
    EXPECT_EQ(OchrineFindResident(&found), ochrineOk);
    EXPECT_EQ(found, child);
    platform.clock.sleepMs(400);
    EXPECT_EQ(OchrineFindResident(&found), ochrineNotFoundErr); // a zombie is gone
    int32_t code = 0;
    EXPECT_EQ(platform.process.reap(child, &code), bpNoErr);
    resident->processId = 0;
    EXPECT_EQ(OchrineFindResident(&found), ochrineNotFoundErr);
    platform.sharedMemory.close(&memory);
    EXPECT_EQ(platform.sharedMemory.remove(kOchrineResidentName), bpNoErr);
}
