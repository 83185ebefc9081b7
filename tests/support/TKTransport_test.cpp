// Moving through the clip.
#include "tests/support/TKTestSession.h"

namespace {

class TKTransportTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        host_.serve = [](TKTestHost* host) { host->SendFrames(); };
    }
    int32_t Time() const { return host_.Block()->frameTime; }
};

TEST_F(TKTransportTest, StepsAndEndsClampToTheClip)
{
    TKStepFrames(session_, 1);
    EXPECT_EQ(Time(), 100);
    TKStepFrames(session_, -3);
    EXPECT_EQ(Time(), 0);
    TKGoToLastFrame(session_);
    EXPECT_EQ(Time(), 900);
    EXPECT_EQ(windows_.positionText, "00:00:00:09");
    TKStepFrames(session_, 1);
    EXPECT_EQ(Time(), 900);
    TKGoToFirstFrame(session_);
    EXPECT_EQ(Time(), 0);
    TKLocate(session_, INT64_MAX);
    EXPECT_EQ(Time(), 900);
    TKLocate(session_, INT64_MIN);
    EXPECT_EQ(Time(), 0);
}

TEST_F(TKTransportTest, PlaybackAdvancesAFrameATickAndStopsAtTheEnd)
{
    TKTransport* transport = TKActiveTransport(session_);
    ASSERT_NE(transport, nullptr);
    TKTogglePlay(session_, transport);
    EXPECT_TRUE(TKIsPlaying(session_));
    for (int i = 1; i <= 9; ++i) {
        TKTick(session_);
        EXPECT_EQ(Time(), i * 100);
    }
    EXPECT_TRUE(TKIsPlaying(session_));
    const uint32_t renders = session_->renderCount;
    TKTick(session_);
    EXPECT_EQ(Time(), 900);
    EXPECT_FALSE(TKIsPlaying(session_));
    EXPECT_EQ(session_->renderCount, renders); // no frame was asked for
    EXPECT_EQ(windows_.Count("stopped"), 1u);
}

TEST_F(TKTransportTest, PlaybackStopsOnAToggle)
{
    TKTogglePlay(session_, TKActiveTransport(session_));
    TKTick(session_);
    TKTogglePlay(session_, TKActiveTransport(session_));
    TKTick(session_);
    EXPECT_EQ(Time(), 100);
}

TEST_F(TKTransportTest, TheActiveTransportIsTheLastVisibleOne)
{
    EXPECT_EQ(TKActiveTransport(session_), &session_->transport[kTKTransportLeft]);
    session_->transport[kTKTransportSingle].visible = true;
    EXPECT_EQ(TKActiveTransport(session_), &session_->transport[kTKTransportSingle]);
    for (TKTransport& transport : session_->transport) transport.visible = false;
    EXPECT_EQ(TKActiveTransport(session_), nullptr);
}

TEST_F(TKTransportTest, HostileTimesNeverOverflow)
{
    const int32_t extremes[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 1, 100, INT32_MAX - 1, INT32_MAX};
    host_.serve = [](TKTestHost* host) {
        if (host->Block()->status == kTKUIStatusRequestFrame) host->Block()->status = kTKUIStatusRequestFailed;
    };
    for (const int32_t time : extremes)
        for (const int32_t step : extremes)
            for (const int32_t last : extremes) {
                TKUIComm* block = host_.Block();
                const auto put = [&] {
                    block->frameTime = time;
                    block->frameStep = step;
                    block->frameTimeMax = last;
                };
                for (const int move : {0, 1, 2, 3, 4}) {
                    put();
                    if (move == 0) TKStepFrames(session_, 1);
                    if (move == 1) TKStepFrames(session_, -1);
                    if (move == 2) TKGoToLastFrame(session_);
                    if (move == 3) TKGoToFirstFrame(session_);
                    if (move == 4) {
                        session_->transport[0].running = true;
                        TKPlaybackStep(session_);
                        TKStopPlayback(session_);
                    }
                    ASSERT_GE(Time(), 0);
                    ASSERT_LE(Time(), std::max(0, last));
                }
            }
}

TEST_F(TKTransportTest, ThePositionIsShownAsTheHostWants)
{
    struct Case {
        uint8_t format, feet, drop;
        uint16_t rate, start;
        const char* text;
    };
    TKUIComm* block = host_.Block();
    block->frameTimeMax = 100 * 2000;
    block->frameTime = 100 * 1798;
    for (const Case& c : {Case{1, 0, 0, 2997, 5, "00:01:00;00"}, Case{1, 0, 1, 2997, 5, "00:00:59:28"},
                          Case{0, 0, 1, 2997, 5, "00:01:00;00"}, // without a format: timecode, drop
                          Case{2, 0, 1, 2997, 5, "01803"}, Case{3, 16, 1, 2400, 2, "0112+08"},
                          // What no display could use is shown as frames, without an alert at every frame.
                          Case{1, 0, 1, 0, 0, "01798"}, Case{1, 0, 1, 99, 0, "01798"}, Case{3, 0, 1, 2400, 0, "01798"},
                          Case{77, 0, 1, 2400, 0, ""}}) {
        block->timeDisplayFormat = c.format;
        block->framesPerFoot = c.feet;
        block->dropFrameMode = c.drop;
        block->frameRate100 = c.rate;
        block->startFrame = c.start;
        TKUpdatePositionText(session_);
        EXPECT_EQ(windows_.positionText, c.text) << static_cast<int>(c.format);
        EXPECT_STREQ(session_->transport[kTKTransportLeft].positionText, c.text);
    }
    EXPECT_TRUE(gBPFake.reports.empty());
    block->frameStep = 0;
    block->timeDisplayFormat = 2;
    block->startFrame = 0;
    TKUpdatePositionText(session_);
    EXPECT_EQ(windows_.positionText, "00000");
}

TEST_F(TKTransportTest, NothingMovesWhileDetached)
{
    TKCloseCommBlock(session_);
    TKStepFrames(session_, 1);
    TKGoToFirstFrame(session_);
    TKGoToLastFrame(session_);
    TKLocate(session_, 300);
    session_->transport[0].running = true;
    TKPlaybackStep(session_);
    TKUpdatePositionText(session_);
    EXPECT_FALSE(BPFakeWrittenSinceClose(kTKCommBlockName));
    EXPECT_TRUE(host_.statusSeen.empty());
}

} // namespace
