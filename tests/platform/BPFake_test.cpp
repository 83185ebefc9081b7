#include "src/platform/fake/BPFake.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

class BPFakePlatform : public testing::Test {
  protected:
    void SetUp() override
    {
        BPFakeReset();
        BPFillFakePlatform(&platform_);
    }
    void TearDown() override { BPFakeReset(); }
    BPPlatform platform_ = {};
};

} // namespace

TEST_F(BPFakePlatform, BlocksBehaveAsOnTheSystem)
{
    BPSharedMemory block, second;
    EXPECT_EQ(platform_.sharedMemory.open("b", 1, &block), bpFileNotFoundErr);
    EXPECT_EQ(platform_.sharedMemory.create("b", 5000, &block), bpNoErr);
    EXPECT_EQ(platform_.sharedMemory.create("b", 5000, &second), bpFileExistsErr);
    EXPECT_EQ(platform_.sharedMemory.open("b", 5001, &second), bpParamErr);
    EXPECT_EQ(platform_.sharedMemory.open("b", 5000, &second), bpNoErr);
    EXPECT_EQ(second.byteCount, 5000u);
    block.address[4999] = 3;
    EXPECT_EQ(second.address[4999], 3);
    EXPECT_EQ(gBPFake.openMappings, 2u);
    EXPECT_EQ(platform_.sharedMemory.remove("b"), bpNoErr);
    EXPECT_EQ(platform_.sharedMemory.remove("b"), bpFileNotFoundErr);
    platform_.sharedMemory.close(&block);
    EXPECT_EQ(block.address, nullptr);
    EXPECT_EQ(second.address[4999], 3); // lives as long as a mapping does
    platform_.sharedMemory.close(&second);
    EXPECT_EQ(gBPFake.openMappings, 0u);
    EXPECT_EQ(platform_.sharedMemory.create("a/b", 10, &block), bpParamErr);
}

TEST_F(BPFakePlatform, WriteAfterCloseIsFound)
{
    uint8_t* bytes = BPFakeMakeBlock("b", 100);
    BPSharedMemory block;
    ASSERT_EQ(platform_.sharedMemory.open("b", 100, &block), bpNoErr);
    EXPECT_EQ(block.address, bytes);
    block.address[12] = 4;
    EXPECT_FALSE(BPFakeWrittenSinceClose("b"));
    platform_.sharedMemory.close(&block);
    EXPECT_FALSE(BPFakeWrittenSinceClose("b"));
    bytes[12] = 3;
    EXPECT_TRUE(BPFakeWrittenSinceClose("b"));
}

TEST_F(BPFakePlatform, ChosenCallsFail)
{
    BPFakeMakeBlock("b", 100);
    gBPFake.failCall[bpFakeSharedOpen] = 2;
    gBPFake.failFrom[bpFakeSharedOpen] = 4;
    const BPStatus expected[] = {bpNoErr, bpFileNotFoundErr, bpNoErr, bpFileNotFoundErr, bpFileNotFoundErr};
    for (const BPStatus status : expected) {
        BPSharedMemory block;
        EXPECT_EQ(platform_.sharedMemory.open("b", 1, &block), status);
        EXPECT_EQ(block.address == nullptr, status != bpNoErr);
        platform_.sharedMemory.close(&block);
    }
    EXPECT_EQ(gBPFake.calls[bpFakeSharedOpen], 5u);
    gBPFake.failCall[bpFakeSpawn] = 1;
    gBPFake.failStatus[bpFakeSpawn] = bpMemFullErr;
    const char* const words[] = {"app", nullptr};
    uint32_t id = 0;
    EXPECT_EQ(platform_.process.spawn(words, &id), bpMemFullErr);
    EXPECT_TRUE(gBPFake.spawned.empty());
}

TEST_F(BPFakePlatform, SleepsMoveTheClockAndLetTheTestPlay)
{
    struct Host {
        BPPlatform* platform;
        uint64_t seenAt = 0;
    } host = {.platform = &platform_};
    gBPFake.hookContext = &host;
    gBPFake.onSleep = [](void* context, uint32_t milliseconds) {
        EXPECT_EQ(milliseconds, 15u);
        static_cast<Host*>(context)->seenAt = gBPFake.monotonicMs;
        BPFakeQueueMessage(9, "frame", 5);
    };
    BPFrameChannel channel;
    ASSERT_EQ(platform_.frameChannel.listen("Comm1", &channel), bpNoErr);
    const uint64_t begin = platform_.clock.monotonicMs();
    const double wall = platform_.clock.wallSeconds();
    BPFrameMessage message;
    EXPECT_EQ(platform_.frameChannel.receive(&channel, 9, 100, &message), bpNotFoundErr);
    platform_.clock.sleepMs(15);
    ASSERT_EQ(platform_.frameChannel.receive(&channel, 9, 100, &message), bpNoErr);
    EXPECT_EQ(memcmp(message.bytes, "frame", 5), 0);
    BPFree(message.bytes);
    EXPECT_EQ(host.seenAt, begin + 15);
    EXPECT_DOUBLE_EQ(platform_.clock.wallSeconds(), wall + 0.015);
    EXPECT_EQ(gBPFake.sleeps, std::vector<uint32_t>{15});
    platform_.frameChannel.release(&channel);
    platform_.frameChannel.close(&channel);
    const std::vector<BPFakeOp> expected = {bpFakeChannelListen,  bpFakeChannelReceive, bpFakeSleepMs,
                                            bpFakeChannelReceive, bpFakeChannelRelease, bpFakeChannelClose};
    EXPECT_EQ(gBPFake.journal, expected);
}

TEST_F(BPFakePlatform, MessagesAreCheckedAsOnTheSystem)
{
    BPFrameChannel channel;
    ASSERT_EQ(platform_.frameChannel.listen("Comm1", &channel), bpNoErr);
    gBPFake.messages.push_back({.dataWord = 8, .byteCount = 3, .bytes = {1, 2, 3}});
    gBPFake.messages.push_back({.dataWord = 9, .byteCount = 4, .bytes = {1, 2, 3}});
    gBPFake.messages.push_back({.dataWord = 9, .byteCount = 3, .bytes = {1, 2, 3}});
    gBPFake.messages.push_back({.dataWord = 9, .byteCount = 3, .bytes = {1, 2, 3}});
    for (const uint32_t maximum : {100u, 100u, 2u}) {
        BPFrameMessage message;
        EXPECT_EQ(platform_.frameChannel.receive(&channel, 9, maximum, &message), bpNoErr);
        EXPECT_EQ(message.bytes, nullptr);
    }
    BPFrameMessage message;
    EXPECT_EQ(platform_.frameChannel.receive(&channel, 9, 3, &message), bpNoErr);
    ASSERT_NE(message.bytes, nullptr);
    EXPECT_EQ(message.bytes[2], 3);
    BPFree(message.bytes);
    BPFakeQueueMessage(9, "x", 1);
    platform_.frameChannel.release(&channel);
    EXPECT_EQ(gBPFake.releases, 1u);
    EXPECT_EQ(platform_.frameChannel.receive(&channel, 9, 3, &message), bpNotFoundErr);
}

TEST_F(BPFakePlatform, HostSideSeesTheRelease)
{
    BPFrameConnection connection;
    EXPECT_EQ(platform_.frameChannel.connect("Comm1", &connection), bpFileNotFoundErr);
    BPFrameChannel channel;
    ASSERT_EQ(platform_.frameChannel.listen("Comm1", &channel), bpNoErr);
    ASSERT_EQ(platform_.frameChannel.connect("Comm1", &connection), bpNoErr);
    EXPECT_EQ(platform_.frameChannel.send(&connection, 9, "abc", 3), bpNoErr);
    EXPECT_EQ(gBPFake.messages.size(), 1u);
    EXPECT_EQ(platform_.frameChannel.awaitEnd(&connection, 100), bpNotFoundErr);
    EXPECT_EQ(gBPFake.sleeps, std::vector<uint32_t>{100});
    platform_.frameChannel.release(&channel);
    EXPECT_EQ(platform_.frameChannel.awaitEnd(&connection, 100), bpNoErr);
    EXPECT_EQ(platform_.frameChannel.send(&connection, 9, "abc", 3), bpEndOfFileErr);
    platform_.frameChannel.disconnect(&connection);
    EXPECT_EQ(platform_.frameChannel.send(&connection, 9, "abc", 3), bpParamErr);
    ASSERT_EQ(platform_.frameChannel.connect("Comm1", &connection), bpNoErr);
    platform_.frameChannel.close(&channel);
    EXPECT_EQ(platform_.frameChannel.awaitEnd(&connection, 100), bpNoErr);
    EXPECT_EQ(gBPFake.releases, 1u);
}

TEST_F(BPFakePlatform, ProcessesLiveAndDieByTheScript)
{
    gBPFake.alive[500] = true;
    BPProcessWatch watch, none;
    EXPECT_EQ(platform_.process.watch(501, &none), bpNotFoundErr);
    ASSERT_EQ(platform_.process.watch(500, &watch), bpNoErr);
    EXPECT_TRUE(platform_.process.isAlive(&watch));
    gBPFake.alive[500] = false;
    EXPECT_FALSE(platform_.process.isAlive(&watch));
    EXPECT_EQ(gBPFake.openWatches, 1u);
    platform_.process.unwatch(&watch);
    EXPECT_EQ(gBPFake.openWatches, 0u);

    const char* const words[] = {"ochrine", "--x", nullptr};
    uint32_t child = 0;
    ASSERT_EQ(platform_.process.spawn(words, &child), bpNoErr);
    EXPECT_EQ(gBPFake.spawned[0], (std::vector<std::string>{"ochrine", "--x"}));
    int32_t code = 0;
    EXPECT_EQ(platform_.process.reap(child, &code), bpNotFoundErr);
    gBPFake.exitCodes[child] = 3;
    EXPECT_EQ(platform_.process.reap(child, &code), bpNoErr);
    EXPECT_EQ(code, 3);
    EXPECT_EQ(platform_.process.watch(child, &watch), bpNotFoundErr);
}

TEST_F(BPFakePlatform, StoreKeepsKindsAndTransactions)
{
    gBPFake.stores["Settings"]["Undo Depth"] = {.kind = bpFakeNumber, .number = 7, .text = {}, .block = {}};
    BPKeyedStore store;
    ASSERT_EQ(platform_.keyedStore.open("Settings", &store), bpNoErr);
    uint32_t value = 0, size = 0;
    char text[4];
    EXPECT_EQ(platform_.keyedStore.readNumber(&store, "Undo Depth", &value), bpNoErr);
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(platform_.keyedStore.readString(&store, "Undo Depth", text, 4), bpNotFoundErr);
    EXPECT_EQ(platform_.keyedStore.writeString(&store, "s", "long text"), bpNoErr);
    EXPECT_EQ(platform_.keyedStore.readString(&store, "s", text, 4), bpNoErr);
    EXPECT_STREQ(text, "lon");
    EXPECT_EQ(platform_.keyedStore.writeBlock(&store, "b", "12345", 5), bpNoErr);
    EXPECT_EQ(platform_.keyedStore.readBlock(&store, "b", nullptr, 0, &size), bpNoErr);
    EXPECT_EQ(size, 5u);

    ASSERT_EQ(platform_.keyedStore.begin(&store), bpNoErr);
    gBPFake.failCall[bpFakeWriteNumber] = 2;
    EXPECT_EQ(platform_.keyedStore.writeNumber(&store, "n", 1), bpNoErr);
    EXPECT_EQ(platform_.keyedStore.writeNumber(&store, "m", 1), bpDiskFullErr);
    EXPECT_EQ(platform_.keyedStore.commit(&store), bpDiskFullErr);
    EXPECT_FALSE(gBPFake.stores["Settings"].contains("n"));
    ASSERT_EQ(platform_.keyedStore.begin(&store), bpNoErr);
    EXPECT_EQ(platform_.keyedStore.writeNumber(&store, "n", 2), bpNoErr);
    EXPECT_EQ(platform_.keyedStore.commit(&store), bpNoErr);
    ASSERT_EQ(platform_.keyedStore.begin(&store), bpNoErr);
    EXPECT_EQ(platform_.keyedStore.writeNumber(&store, "n", 3), bpNoErr);
    platform_.keyedStore.close(&store);
    EXPECT_EQ(gBPFake.stores["Settings"]["n"].number, 2u);
    EXPECT_EQ(gBPFake.openStores, 0u);
    EXPECT_EQ(platform_.keyedStore.readNumber(&store, "n", &value), bpParamErr);
}

TEST_F(BPFakePlatform, WindowSystemIsScripted)
{
    gBPFake.modifierWord = bpShiftKey | bpCapsLock;
    gBPFake.mouseButtonDown = true;
    EXPECT_EQ(platform_.keyboard.modifierWord(), 0x600u);
    EXPECT_TRUE(platform_.keyboard.mouseButtonDown());

    platform_.alert.alert(bpNote, "text");
    platform_.alert.messageBox("Ochrine 3 UI", "boxed");
    platform_.alert.beep();
    ASSERT_EQ(gBPFake.alerts.size(), 2u);
    EXPECT_EQ(gBPFake.alerts[0].severity, bpNote);
    EXPECT_EQ(gBPFake.alerts[1].title, "Ochrine 3 UI");
    EXPECT_EQ(gBPFake.beeps, 1u);

    char bytes[4] = {};
    uint32_t size = 0;
    EXPECT_FALSE(platform_.clipboard.has("f"));
    EXPECT_EQ(platform_.clipboard.put("f", "abcdef", 6), bpNoErr);
    EXPECT_TRUE(platform_.clipboard.has("f"));
    EXPECT_EQ(platform_.clipboard.get("f", bytes, 3, &size), bpNoErr);
    EXPECT_EQ(size, 6u);
    EXPECT_STREQ(bytes, "abc");
    EXPECT_EQ(platform_.clipboard.get("g", bytes, 3, &size), bpNotFoundErr);

    gBPFake.screens.push_back({.left = 1920, .top = 0, .right = 2640, .bottom = 576});
    BPRect bounds;
    EXPECT_EQ(platform_.screen.count(), 2u);
    EXPECT_EQ(platform_.screen.bounds(1, &bounds), bpNoErr);
    EXPECT_EQ(bounds.right, 2640);
    EXPECT_EQ(platform_.screen.bounds(2, &bounds), bpParamErr);
    EXPECT_EQ(platform_.screen.workArea(&bounds), bpNoErr);
    platform_.screen.allowForeground(500);
    EXPECT_EQ(gBPFake.allowedForeground, std::vector<uint32_t>{500});
}

TEST_F(BPFakePlatform, LogAndReportsAreKept)
{
    BPFakeCaptureLog();
    BPDebugLog("a line\n");
    BPFatalError("text", "title");
    EXPECT_EQ(gBPFake.log, "a line\ntitle: text\n");
    ASSERT_EQ(gBPFake.reports.size(), 1u);
    EXPECT_EQ(gBPFake.reports[0].title, "title");
}

TEST_F(BPFakePlatform, ResetForgetsEverything)
{
    BPSharedMemory block;
    BPKeyedStore store;
    BPFrameChannel channel;
    ASSERT_EQ(platform_.sharedMemory.create("b", 10, &block), bpNoErr);
    ASSERT_EQ(platform_.keyedStore.open("s", &store), bpNoErr);
    ASSERT_EQ(platform_.frameChannel.listen("c", &channel), bpNoErr);
    gBPFake.modifierWord = 1;
    gBPFake.failFrom[bpFakeSharedCreate] = 1;
    BPFakeReset();
    EXPECT_TRUE(gBPFake.blocks.empty());
    EXPECT_TRUE(gBPFake.journal.empty());
    EXPECT_EQ(gBPFake.openMappings, 0u);
    EXPECT_EQ(gBPFake.modifierWord, 0u);
    uint32_t value = 0;
    EXPECT_EQ(platform_.keyedStore.readNumber(&store, "x", &value), bpParamErr); // handles of before are dead
    BPFrameMessage message;
    EXPECT_EQ(platform_.frameChannel.receive(&channel, 9, 1, &message), bpParamErr);
    EXPECT_EQ(platform_.sharedMemory.create("b", 10, &block), bpNoErr);
}

TEST_F(BPFakePlatform, EndlessWaitEndsTheProgram)
{
    gBPFake.sleepLimit = 10;
    EXPECT_DEATH(
        {
            for (;;) platform_.clock.sleepMs(1);
        },
        "waits forever");
}
