// The image pane's record: mapping, zoom, pan, pick, split line, cursors.
#include "src/UI/UIImagePane.h"

#include "src/TincturaFrameBuffer.h"
#include "src/platform/BPKeyboard.h"
#include "tests/ScopesTest.h"
#include "tests/support/TKTestSession.h"

#include <cmath>
#include <limits>

namespace {

/// A pane of 404 x 304 whose picture area is 400 x 300, with a picture of 800 x 600: two source pixels a screen pixel.
class ImagePane : public ::testing::Test {
  protected:
    ImagePane() : picture_(800, 600)
    {
        picture_.Fill([](int32_t x, int32_t y) {
            return Opaque(static_cast<uint8_t>(x), static_cast<uint8_t>(y),
                          static_cast<uint8_t>(x / 256 + 16 * (y / 256)));
        });
        TKCreateImagePane(&pane_);
        pane_.canZoom = pane_.canSample = true;
        TKSetPaneFrame(&pane_, {.x = 0, .y = 0, .width = 404, .height = 304});
        TKSetPaneSurface(&pane_, &picture_, 1);
    }
    void SetUp() override { BPFakeCaptureLog(); }

    TKPicturePoint At(int32_t x, int32_t y) const { return TKPicturePointQuietly(pane_, x, y); }
    void ZoomTo(int32_t steps, int32_t x, int32_t y)
    {
        for (int32_t i = 0; i < steps; ++i) (void)TKZoomPane(&pane_, true, x, y);
    }

    Surface picture_;
    ImagePaneVars pane_;
    float sample_[3] = {9, 9, 9};
};

testing::AssertionResult IsPoint(TKPicturePoint point, int32_t x, int32_t y)
{
    if (point.x == x && point.y == y) return testing::AssertionSuccess();
    return testing::AssertionFailure() << point.x << ", " << point.y << " instead of " << x << ", " << y;
}

/// Red, green, blue of the fixture's picture.
testing::AssertionResult IsSampleOf(const float sample[3], int32_t x, int32_t y)
{
    const int32_t expected[3] = {x & 255, y & 255, (x / 256 + 16 * (y / 256)) & 255};
    for (int i = 0; i < 3; ++i)
        if (sample[i] != static_cast<float>(expected[i] * 257) / 65535.0f)
            return testing::AssertionFailure()
                   << "component " << i << " is " << sample[i] << ", not that of " << x << ", " << y;
    return testing::AssertionSuccess();
}

bool IsDefault(const ScopeSplitLine& line)
{
    return line.x1 == 0.5f && line.y1 == 0 && line.x2 == 0.5f && line.y2 == 1;
}

} // namespace

TEST_F(ImagePane, TheZoomTablesHoldNineStepsInBothOrders)
{
    const float expected[] = {1.0f, 0.6667f, 0.5f, 0.3333f, 0.25f, 0.1667f, 0.125f, 0.0833f, 0.0625f};
    ASSERT_EQ(std::size(expected), static_cast<size_t>(kTKZoomStepCount));
    for (int32_t i = 0; i < kTKZoomStepCount; ++i) {
        EXPECT_EQ(kTKZoomSteps[i], expected[i]);
        EXPECT_EQ(kTKZoomStepsOut[i], expected[kTKZoomStepCount - 1 - i]);
    }
}

TEST_F(ImagePane, ThePictureAreaIsTheFrameInsetByTwo)
{
    EXPECT_EQ(pane_.imageRect.x, 2);
    EXPECT_EQ(pane_.imageRect.y, 2);
    EXPECT_EQ(pane_.imageRect.width, 400);
    EXPECT_EQ(pane_.imageRect.height, 300);
    EXPECT_DOUBLE_EQ(pane_.scaleX, 2);
    EXPECT_DOUBLE_EQ(pane_.scaleY, 2);
}

TEST_F(ImagePane, AMappedPointIsTruncatedAndLogged)
{
    EXPECT_TRUE(IsPoint(At(2, 2), 0, 0));
    EXPECT_TRUE(IsPoint(At(401, 301), 798, 598));
    EXPECT_TRUE(IsPoint(At(102, 52), 200, 100));
    pane_.zoom = 0.3333f; // 2 x 0.3333 = 0.6666 source pixels
    pane_.panX = 0.5;
    EXPECT_TRUE(IsPoint(At(2, 2), 0, 0));
    EXPECT_TRUE(IsPoint(At(3, 3), 1, 0)); // 1.1666, 0.6666
    EXPECT_TRUE(IsPoint(TKPicturePointAt(pane_, 3, 3), 1, 0));
    EXPECT_TRUE(TKLogHas({"++++++          computed pt = 1, 0\n"}));
}

TEST_F(ImagePane, TheAspectDividesAcrossAlone)
{
    const Surface wide(400, 600); // pixels twice as wide as high: as large as 800 x 600
    TKSetPaneSurface(&pane_, &wide, 2);
    EXPECT_DOUBLE_EQ(pane_.scaleX, 2);
    EXPECT_TRUE(IsPoint(At(102, 52), 100, 100));
    EXPECT_TRUE(IsPoint(At(401, 301), 399, 598));
}

TEST_F(ImagePane, AnAspectThatCannotBeCountsAsSquare)
{
    for (const float aspect : {0.0f, -1.0f, std::nanf(""), std::numeric_limits<float>::infinity()}) {
        TKSetPaneSurface(&pane_, &picture_, aspect);
        EXPECT_EQ(pane_.aspect, 1);
        EXPECT_TRUE(IsPoint(At(102, 52), 200, 100));
    }
}

TEST_F(ImagePane, WithoutAPictureNothingHappensAnywhere)
{
    TKSetPaneSurface(&pane_, nullptr, 1);
    EXPECT_EQ(TKShownRect(pane_).width, 0);
    EXPECT_FALSE(TKIsInPicture(pane_, At(100, 100)));
    EXPECT_FALSE(TKZoomPane(&pane_, true, 100, 100).repaints);
    EXPECT_FALSE(TKPanePress(&pane_, 100, 100, tkButtonMiddle, 0).handled);
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, 0), tkCursorPlain);
    pane_.canSplit = true;
    EXPECT_EQ(TKSplitEndAt(pane_, 202, 2), 0);
    pane_.pickTarget = sample_;
    EXPECT_TRUE(TKPanePress(&pane_, 100, 100, tkButtonLeft, 0).sampled);
    for (const float component : sample_) EXPECT_EQ(component, 0);
}

// Zoom -----------------------------------------------------------------------------------------------------------------

TEST_F(ImagePane, ThePointUnderThePointerStaysThereWhileZooming)
{
    for (int32_t step = 0; step < kTKZoomStepCount - 1; ++step) {
        EXPECT_TRUE(TKPaneWheel(&pane_, 150, 120, 120).repaints);
        EXPECT_EQ(pane_.zoom, kTKZoomSteps[step + 1]);
        EXPECT_NEAR(At(150, 120).x, 296, 1) << step;
        EXPECT_NEAR(At(150, 120).y, 236, 1) << step;
    }
    for (int32_t step = 0; step < kTKZoomStepCount - 1; ++step) {
        EXPECT_TRUE(TKPaneWheel(&pane_, 150, 120, -120).repaints);
        EXPECT_NEAR(At(150, 120).x, 296, 1) << step;
    }
    EXPECT_EQ(pane_.zoom, 1.0f);
    EXPECT_EQ(pane_.panX, 0);
    EXPECT_EQ(pane_.panY, 0);
}

TEST_F(ImagePane, AWheelNotchAt16xDoesNothingAndTheCursorShows511)
{
    ZoomTo(8, 100, 100);
    ASSERT_EQ(pane_.zoom, 0.0625f);
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, 0), tkCursorZoomEnd);
    EXPECT_EQ(static_cast<uint32_t>(tkCursorZoomEnd), 511u);
    const ImagePaneVars before = pane_;
    EXPECT_FALSE(TKPaneWheel(&pane_, 120, 90, 120).repaints);
    EXPECT_EQ(pane_.zoom, before.zoom);
    EXPECT_EQ(pane_.panX, before.panX);
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, bpControlKey), tkCursorZoomOut);
}

TEST_F(ImagePane, AClickWithControlAt1xDoesNothing)
{
    const TKPaneEffect effect = TKPanePress(&pane_, 100, 100, tkButtonLeft, bpControlKey);
    EXPECT_FALSE(effect.repaints);
    EXPECT_EQ(pane_.zoom, 1.0f);
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, bpControlKey), tkCursorZoomEnd);
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, 0), tkCursorZoomIn);
}

TEST_F(ImagePane, AClickZoomsInAndWithControlOut)
{
    EXPECT_TRUE(TKPanePress(&pane_, 100, 100, tkButtonLeft, 0).repaints);
    (void)TKPaneRelease(&pane_, 100, 100, tkButtonLeft, 0);
    EXPECT_EQ(pane_.zoom, 0.6667f);
    EXPECT_TRUE(TKPanePress(&pane_, 100, 100, tkButtonLeft, bpControlKey).repaints);
    EXPECT_EQ(pane_.zoom, 1.0f);
    EXPECT_FALSE(TKPanePress(&pane_, 100, 100, tkButtonRight, 0).handled);
}

TEST_F(ImagePane, SmallTurnsOfTheWheelAddUpAndATurnBackStartsAnew)
{
    EXPECT_FALSE(TKPaneWheel(&pane_, 100, 100, 60).repaints);
    EXPECT_TRUE(TKPaneWheel(&pane_, 100, 100, 60).repaints);
    EXPECT_EQ(pane_.zoom, 0.6667f);
    EXPECT_FALSE(TKPaneWheel(&pane_, 100, 100, 100).repaints);
    EXPECT_FALSE(TKPaneWheel(&pane_, 100, 100, -100).repaints);
    EXPECT_TRUE(TKPaneWheel(&pane_, 100, 100, -20).repaints);
    EXPECT_EQ(pane_.zoom, 1.0f);
    (void)TKPaneWheel(&pane_, 100, 100, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(pane_.zoom, 0.0625f);
}

TEST_F(ImagePane, APaneWithoutZoomTakesNoWheelAndNoClick)
{
    pane_.canZoom = false;
    EXPECT_FALSE(TKPaneWheel(&pane_, 100, 100, 120).handled);
    EXPECT_FALSE(TKPanePress(&pane_, 100, 100, tkButtonLeft, 0).repaints);
    EXPECT_EQ(pane_.zoom, 1.0f);
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, 0), tkCursorPlain);
}

TEST_F(ImagePane, AZoomAtACornerNeverShowsWhatIsBesideThePicture)
{
    for (const TKPicturePoint corner : {TKPicturePoint{2, 2}, {401, 2}, {2, 301}, {401, 301}}) {
        ZoomTo(4, corner.x, corner.y);
        EXPECT_GE(pane_.panX, 0);
        EXPECT_GE(pane_.panY, 0);
        EXPECT_TRUE(TKIsInPicture(pane_, At(2, 2)));
        EXPECT_TRUE(TKIsInPicture(pane_, At(401, 301)));
        for (int i = 0; i < 9; ++i) (void)TKZoomPane(&pane_, false, 200, 150);
    }
}

TEST_F(ImagePane, AZoomedPictureUsesTheWholePane)
{
    const Surface wide(800, 200); // at the fit size 400 x 100, with room above and below
    TKSetPaneSurface(&pane_, &wide, 1);
    EXPECT_EQ(TKShownRect(pane_).height, 100);
    EXPECT_EQ(TKShownRect(pane_).y, 102);
    ZoomTo(2, 200, 150);
    EXPECT_EQ(TKShownRect(pane_).height, 200);
    EXPECT_EQ(TKShownRect(pane_).width, 400);
    ZoomTo(2, 200, 150);
    EXPECT_EQ(TKShownRect(pane_).height, 300);
}

// Pan ------------------------------------------------------------------------------------------------------------------

TEST_F(ImagePane, ThePictureFollowsTheHandOfTheMiddleButton)
{
    ZoomTo(4, 200, 150); // half a source pixel for a screen pixel
    const TKPicturePoint grabbed = At(200, 150);
    EXPECT_TRUE(TKPanePress(&pane_, 200, 150, tkButtonMiddle, 0).handled);
    EXPECT_TRUE(TKPaneMove(&pane_, 230, 140, 0).repaints);
    EXPECT_TRUE(IsPoint(At(230, 140), grabbed.x, grabbed.y));
    (void)TKPaneRelease(&pane_, 230, 140, tkButtonMiddle, 0);
    EXPECT_FALSE(TKPaneMove(&pane_, 300, 140, 0).handled);
}

TEST_F(ImagePane, APanStopsAtThePicturesEdges)
{
    ZoomTo(4, 200, 150);
    (void)TKPanePress(&pane_, 200, 150, tkButtonMiddle, 0);
    (void)TKPaneMove(&pane_, 5000, 5000, 0);
    EXPECT_EQ(pane_.panX, 0);
    EXPECT_EQ(pane_.panY, 0);
    (void)TKPaneMove(&pane_, -5000, -5000, 0);
    EXPECT_DOUBLE_EQ(pane_.panX, 800 - 400 * 0.5);
    EXPECT_DOUBLE_EQ(pane_.panY, 600 - 300 * 0.5);
    EXPECT_TRUE(TKIsInPicture(pane_, At(401, 301)));
}

TEST_F(ImagePane, WithoutZoomTheLeftButtonPansWhereThereIsSomethingToMove)
{
    pane_.canZoom = false;
    EXPECT_FALSE(TKPanePress(&pane_, 200, 150, tkButtonLeft, 0).handled); // at the fit size nothing can move
    pane_.zoom = 0.25f;
    EXPECT_TRUE(TKPanePress(&pane_, 200, 150, tkButtonLeft, 0).handled);
    (void)TKPaneMove(&pane_, 190, 150, 0);
    EXPECT_DOUBLE_EQ(pane_.panX, 5);
}

TEST_F(ImagePane, ASecondButtonDoesNotDisturbAPan)
{
    ZoomTo(4, 200, 150);
    (void)TKPanePress(&pane_, 200, 150, tkButtonMiddle, 0);
    const float zoom = pane_.zoom;
    EXPECT_FALSE(TKPanePress(&pane_, 200, 150, tkButtonLeft, 0).handled);
    EXPECT_FALSE(TKPaneRelease(&pane_, 210, 150, tkButtonLeft, 0).handled);
    EXPECT_EQ(pane_.zoom, zoom);
    EXPECT_TRUE(pane_.panning);
    EXPECT_TRUE(TKPaneRelease(&pane_, 200, 150, tkButtonMiddle, 0).handled);
    EXPECT_FALSE(pane_.panning);
}

TEST_F(ImagePane, TheReleaseOfAnotherButtonEndsNoPick)
{
    pane_.pickTarget = sample_;
    (void)TKPanePress(&pane_, 102, 52, tkButtonLeft, 0);
    for (const TKPaneButton other : {tkButtonRight, tkButtonMiddle, tkButtonNone}) {
        (void)TKPanePress(&pane_, 110, 60, other, 0);
        const TKPaneEffect effect = TKPaneRelease(&pane_, 110, 60, other, 0);
        EXPECT_FALSE(effect.sampled || effect.pickEnded);
    }
    EXPECT_TRUE(IsSampleOf(sample_, 200, 100));
    EXPECT_TRUE(TKPaneRelease(&pane_, 102, 52, tkButtonLeft, 0).pickEnded);
}

TEST_F(ImagePane, ATurnOfNothingKeepsTheRestOfTheWheel)
{
    EXPECT_FALSE(TKPaneWheel(&pane_, 200, 150, 100).repaints);
    EXPECT_FALSE(TKPaneWheel(&pane_, 200, 150, 0).repaints);
    EXPECT_TRUE(TKPaneWheel(&pane_, 200, 150, 20).repaints);
}

TEST_F(ImagePane, AnotherSizeOfPaneKeepsTheZoomAndClampsThePan)
{
    ZoomTo(4, 401, 301);
    TKSetPaneFrame(&pane_, {.x = 0, .y = 0, .width = 804, .height = 604});
    EXPECT_EQ(pane_.zoom, 0.25f);
    EXPECT_TRUE(TKIsInPicture(pane_, At(801, 601)));
    TKSetPaneFrame(&pane_, {.x = 0, .y = 0, .width = 3, .height = 3}); // no picture area at all
    EXPECT_EQ(TKShownRect(pane_).width, 0);
}

TEST_F(ImagePane, ThePanWaitsForARoomOrAPictureThatIsMissingForAWhile)
{
    ZoomTo(4, 300, 200);
    const ImagePaneVars before = pane_;
    ASSERT_GT(before.panX, 0);
    ASSERT_GT(before.panY, 0);
    TKSetPaneFrame(&pane_, {.x = 0, .y = 0, .width = 3, .height = 3});
    TKSetPaneSurface(&pane_, nullptr, 1);
    EXPECT_FALSE(TKPanPane(&pane_, 50, 50).repaints);
    EXPECT_FALSE(TKZoomPane(&pane_, false, 1, 1).repaints);
    TKSetPaneSurface(&pane_, &picture_, 1);
    TKSetPaneFrame(&pane_, before.frame);
    EXPECT_EQ(pane_.zoom, before.zoom);
    EXPECT_EQ(pane_.panX, before.panX);
    EXPECT_EQ(pane_.panY, before.panY);
    const Surface small(80, 60); // a smaller picture instead: clamped to what there is of it
    TKSetPaneSurface(&pane_, nullptr, 1);
    TKSetPaneSurface(&pane_, &small, 1);
    EXPECT_LE(pane_.panX, 60);
    EXPECT_LE(pane_.panY, 45);
    EXPECT_TRUE(TKIsInPicture(pane_, At(401, 301)));
}

TEST_F(ImagePane, AKeysPanIsThatOfTheHandAndEndsAtTheEdge)
{
    ZoomTo(4, 200, 150);
    const double before = pane_.panX;
    EXPECT_TRUE(TKPanPane(&pane_, -40, 0).repaints);
    EXPECT_DOUBLE_EQ(pane_.panX, before + 20);
    EXPECT_TRUE(TKPanPane(&pane_, 100000, 100000).repaints);
    EXPECT_EQ(pane_.panX, 0);
    EXPECT_EQ(pane_.panY, 0);
    EXPECT_FALSE(TKPanPane(&pane_, 1, 1).repaints);
    EXPECT_FALSE(pane_.panning);
}

TEST_F(ImagePane, AViewIsTakenOverByAnotherPane)
{
    ZoomTo(3, 300, 200);
    ImagePaneVars other = {};
    TKCreateImagePane(&other);
    TKSetPaneFrame(&other, pane_.frame);
    TKSetPaneSurface(&other, &picture_, 1);
    TKCopyPaneView(&other, pane_);
    EXPECT_EQ(other.zoom, pane_.zoom);
    EXPECT_EQ(other.panX, pane_.panX);
    const TKPicturePoint expected = At(50, 60);
    EXPECT_TRUE(IsPoint(TKPicturePointQuietly(other, 50, 60), expected.x, expected.y));
}

// Pick -----------------------------------------------------------------------------------------------------------------

TEST_F(ImagePane, APickReadsThePixelWithPressMoveAndRelease)
{
    pane_.pickTarget = sample_;
    TKPaneEffect effect = TKPanePress(&pane_, 102, 52, tkButtonLeft, 0);
    EXPECT_TRUE(effect.sampled && !effect.pickEnded);
    EXPECT_TRUE(IsSampleOf(sample_, 200, 100));
    effect = TKPaneMove(&pane_, 103, 60, bpShiftKey);
    EXPECT_TRUE(effect.sampled && !effect.pickEnded);
    EXPECT_TRUE(IsSampleOf(sample_, 202, 116));
    effect =
        TKPaneRelease(&pane_, 104, 61, tkButtonLeft, bpShiftKey | bpControlKey); // a single pixel, whatever is held
    EXPECT_TRUE(effect.sampled && effect.pickEnded);
    EXPECT_TRUE(IsSampleOf(sample_, 204, 118));
    EXPECT_EQ(pane_.zoom, 1.0f);
    pane_.pickTarget = nullptr; // it has its colour
    EXPECT_FALSE(TKPaneMove(&pane_, 50, 50, 0).sampled);
}

TEST_F(ImagePane, WhileAPickWaitsForItsPressEveryMoveOverThePictureReads)
{
    pane_.pickTarget = sample_;
    const TKPaneEffect effect = TKPaneMove(&pane_, 102, 52, 0);
    EXPECT_TRUE(effect.sampled && !effect.pickEnded);
    EXPECT_TRUE(IsSampleOf(sample_, 200, 100));
    EXPECT_FALSE(TKPaneMove(&pane_, 1, 50, 0).sampled); // beside the picture
    EXPECT_TRUE(IsSampleOf(sample_, 200, 100));
    EXPECT_FALSE(TKPaneRelease(&pane_, 102, 52, tkButtonLeft, 0).pickEnded); // of a press elsewhere
    pane_.canSample = false;
    EXPECT_FALSE(TKPaneMove(&pane_, 110, 60, 0).sampled);
}

TEST_F(ImagePane, APickOutsideThePictureReadsZeros)
{
    ZoomTo(8, 100, 100); // here one step outside would truncate to row 0
    pane_.panX = pane_.panY = 0;
    pane_.pickTarget = sample_;
    for (const TKPicturePoint outside : {TKPicturePoint{1, 50}, {50, 1}, {-500, 50}, {402, 50}, {50, 302}}) {
        sample_[0] = sample_[1] = sample_[2] = 9;
        EXPECT_TRUE(TKPanePress(&pane_, outside.x, outside.y, tkButtonLeft, 0).sampled);
        for (const float component : sample_) EXPECT_EQ(component, 0) << outside.x << ", " << outside.y;
        (void)TKPaneRelease(&pane_, outside.x, outside.y, tkButtonLeft, 0);
    }
}

TEST_F(ImagePane, AFrameBufferIsSampledInsteadOfTheSurface)
{
    FBFrame* frame = nullptr;
    ASSERT_EQ(FBCreateRGBFrameBuffer(800, 600, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
    for (uint32_t plane = 0; plane < 3; ++plane) {
        float value = 1.25f - static_cast<float>(plane);
        std::memcpy(frame->baseAddr + size_t{plane} * frame->planeBytes + size_t{100} * frame->rowBytes +
                        200 * sizeof value,
                    &value, sizeof value);
    }
    pane_.frameBuffer = frame;
    pane_.pickTarget = sample_;
    (void)TKPanePress(&pane_, 102, 52, tkButtonLeft, 0);
    EXPECT_EQ(sample_[0], 1.25f); // above white and below black are told
    EXPECT_EQ(sample_[1], 0.25f);
    EXPECT_EQ(sample_[2], -0.75f);
    FBDisposeFrameBuffer(frame);
}

TEST_F(ImagePane, CursorsOfAPickTellTheHeldKeys)
{
    pane_.pickTarget = sample_;
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 100, 100, 0)), 500u);
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 100, 100, bpShiftKey)), 513u);
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 100, 100, bpControlKey)), 514u);
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 100, 100, bpShiftKey | bpControlKey)), 515u);
    pane_.canSample = false;
    EXPECT_EQ(TKCursorAt(pane_, 100, 100, 0), tkCursorZoomIn);
}

TEST_F(ImagePane, TheOwnerSeesEachPressFirst)
{
    struct Seen {
        int32_t x, y, count;
        float zoom;
        uint32_t modifiers;
        TKPaneButton button;
    } seen = {};
    pane_.owner = &seen;
    pane_.mouseProc = [](ImagePaneVars* pane, int32_t x, int32_t y, TKPaneButton button, uint32_t modifiers) {
        auto* out = static_cast<Seen*>(pane->owner);
        *out = {x, y, out->count + 1, pane->zoom, modifiers, button};
    };
    (void)TKPanePress(&pane_, 102, 52, tkButtonLeft, bpShiftKey);
    EXPECT_EQ(seen.x, 200);
    EXPECT_EQ(seen.y, 100);
    EXPECT_EQ(seen.zoom, 1.0f); // before the pane zoomed
    EXPECT_EQ(seen.modifiers, static_cast<uint32_t>(bpShiftKey));
    EXPECT_EQ(pane_.zoom, 0.6667f);
    (void)TKPanePress(&pane_, 102, 52, tkButtonRight, 0);
    EXPECT_EQ(seen.count, 2);
    EXPECT_EQ(seen.button, tkButtonRight);
}

// Split line -----------------------------------------------------------------------------------------------------------

TEST_F(ImagePane, APressWithinAFiftiethOfAnEndGrabsIt)
{
    pane_.canSplit = true;
    EXPECT_EQ(TKSplitEndAt(pane_, 202, 2), 1);     // the upper end
    EXPECT_EQ(TKSplitEndAt(pane_, 202 + 8, 2), 1); // 8 of 400 is 0.02
    EXPECT_EQ(TKSplitEndAt(pane_, 202 + 9, 2), 0);
    EXPECT_EQ(TKSplitEndAt(pane_, 202, 2 + 6), 1); // 6 of 300 is 0.02
    EXPECT_EQ(TKSplitEndAt(pane_, 202, 2 + 7), 0);
    EXPECT_EQ(TKSplitEndAt(pane_, 202, 301), 2);
    EXPECT_EQ(TKSplitEndAt(pane_, 202, 150), 0); // the line itself is no handle
    pane_.split = {0.5f, 0, 0.52f, 0};
    EXPECT_EQ(TKSplitEndAt(pane_, 205, 2), 1); // both are near: the nearer wins
    EXPECT_EQ(TKSplitEndAt(pane_, 208, 2), 2);
}

TEST_F(ImagePane, ADraggedEndRunsAlongTheBorderAndRoundTheCorner)
{
    pane_.canSplit = true;
    EXPECT_TRUE(TKPanePress(&pane_, 202, 2, tkButtonLeft, 0).handled);
    EXPECT_TRUE(TKPaneMove(&pane_, 302, 2, 0).splitChanged);
    EXPECT_FLOAT_EQ(pane_.split.x1, 0.75f);
    EXPECT_EQ(pane_.split.y1, 0);
    (void)TKPaneMove(&pane_, 302, 40, 0); // inside: stays on the border
    EXPECT_EQ(pane_.split.y1, 0);
    (void)TKPaneMove(&pane_, 900, -900, 0); // past the corner
    EXPECT_EQ(pane_.split.x1, 1);
    EXPECT_EQ(pane_.split.y1, 0);
    EXPECT_EQ(TKCursorAt(pane_, 900, -900, 0), tkCursorSplitCorner);
    (void)TKPaneMove(&pane_, 600, 152, 0);
    EXPECT_EQ(pane_.split.x1, 1);
    EXPECT_FLOAT_EQ(pane_.split.y1, 0.5f);
    EXPECT_EQ(TKCursorAt(pane_, 600, 152, 0), tkCursorSplitVertical);
    EXPECT_FALSE(TKPaneMove(&pane_, 600, 152, 0).splitChanged);
    (void)TKPaneRelease(&pane_, 600, 152, tkButtonLeft, 0);
    EXPECT_FALSE(TKPaneMove(&pane_, 100, 100, 0).handled);
    float x1, y1, x2, y2;
    GetSplitLine(pane_, &x1, &y1, &x2, &y2);
    EXPECT_EQ(x1, 1);
    EXPECT_FLOAT_EQ(y1, 0.5f);
    EXPECT_EQ(x2, 0.5f);
    EXPECT_EQ(y2, 1);
}

TEST_F(ImagePane, CursorsOfHandlesTellTheirEdge)
{
    pane_.canSplit = true;
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 202, 2, 0)), 506u);
    pane_.split = {0, 0.5f, 1, 1};
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 2, 152, 0)), 507u);
    EXPECT_EQ(static_cast<uint32_t>(TKCursorAt(pane_, 401, 301, 0)), 508u);
    EXPECT_EQ(TKCursorAt(pane_, 202, 152, 0), tkCursorZoomIn);
}

TEST_F(ImagePane, APickGoesBeforeAHandleAndAHandleBeforeTheZoom)
{
    pane_.canSplit = true;
    pane_.pickTarget = sample_;
    EXPECT_TRUE(TKPanePress(&pane_, 202, 2, tkButtonLeft, 0).sampled);
    (void)TKPaneRelease(&pane_, 202, 2, tkButtonLeft, 0);
    pane_.pickTarget = nullptr;
    (void)TKPanePress(&pane_, 202, 2, tkButtonLeft, 0);
    (void)TKPaneRelease(&pane_, 202, 2, tkButtonLeft, 0);
    EXPECT_EQ(pane_.zoom, 1.0f);
    EXPECT_TRUE(IsDefault(pane_.split));
}

TEST_F(ImagePane, HandlesStayOnTheirPlaceOfAZoomedPicture)
{
    pane_.canSplit = true;
    ZoomTo(4, 202, 2);
    double x, y;
    TKPanePointOf(pane_, pane_.split.x1, pane_.split.y1, &x, &y);
    EXPECT_NEAR(x, 202, 1);
    EXPECT_NEAR(y, 2, 1);
    EXPECT_EQ(TKSplitEndAt(pane_, static_cast<int32_t>(x), static_cast<int32_t>(y)), 1);
}

TEST_F(ImagePane, ALostGrabEndsADragAndLeavesWhatItDid)
{
    pane_.canSplit = true;
    (void)TKPanePress(&pane_, 202, 2, tkButtonLeft, 0);
    (void)TKPaneMove(&pane_, 302, 2, 0);
    TKPaneLoseGrab(&pane_);
    EXPECT_FALSE(TKPaneMove(&pane_, 100, 2, 0).handled);
    EXPECT_FLOAT_EQ(pane_.split.x1, 0.75f);
    pane_.pickTarget = sample_;
    (void)TKPanePress(&pane_, 102, 52, tkButtonLeft, 0);
    TKPaneLoseGrab(&pane_);
    EXPECT_FALSE(TKPaneRelease(&pane_, 102, 52, tkButtonLeft, 0).pickEnded); // the pick goes on with the next press
}
