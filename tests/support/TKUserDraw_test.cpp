// User-drawn areas, and the tone strip.
#include "src/support/TKUserDraw.h"

#include "src/support/TKToneStrip.h"
#include "tests/support/TKControlsTest.h"

#include <limits>

namespace {

class TKUserDrawTest : public TKControlsTest {
  protected:
    void SetUp() override
    {
        TKControlsTest::SetUp();
        ASSERT_EQ(ScopeSurfaceCreate(4, 3, &surface_), bpNoErr);
    }
    void TearDown() override
    {
        ScopeSurfaceDispose(&surface_);
        TKControlsTest::TearDown();
    }

    ScopeSurface surface_ = {};
};

TEST_F(TKUserDrawTest, TheProcedureDrawsOnThePanelsColourWithItsReference)
{
    uint32_t calls = 0;
    TKUserDraw control;
    TKCreateUserDraw(
        &control,
        [](TKSession*, const TKUserDraw* self, ScopeSurface* surface) {
            ++*static_cast<uint32_t*>(self->reference);
            surface->pixels[1] = 9; // red of the first pixel
        },
        &calls, "Area", "area");
    TKPaintUserDraw(session_, control, 0x102030, &surface_);
    EXPECT_EQ(calls, 1u);
    EXPECT_EQ(TKPixelAt(surface_, 0, 0), 0xFF092030u);
    EXPECT_EQ(TKPixelAt(surface_, 3, 2), 0xFF102030u);
}

TEST_F(TKUserDrawTest, OneThatPaintsItsBackgroundFindsThePixelsAsTheyWere)
{
    TKUserDraw control;
    TKCreateUserDraw(&control, nullptr, nullptr, "Area", "area");
    EXPECT_FALSE(control.paintsBackground);
    TKPaintUserDraw(session_, control, 0x102030, &surface_); // without a procedure it is empty
    control.paintsBackground = true;
    TKPaintUserDraw(session_, control, 0xFFFFFF, &surface_);
    EXPECT_EQ(TKPixelAt(surface_, 1, 1), 0xFF102030u);
}

TEST_F(TKUserDrawTest, WithoutASurfaceNothingIsDrawn)
{
    TKUserDraw control;
    TKCreateUserDraw(
        &control, [](TKSession*, const TKUserDraw*, ScopeSurface*) { ADD_FAILURE() << "drawn"; }, nullptr, "A", "a");
    ScopeSurface none = {};
    TKPaintUserDraw(session_, control, 0, &none);
}

TEST_F(TKUserDrawTest, EveryRenderRedrawsTheAreasAndTheTableHasAnEnd)
{
    uint32_t redraws = 0;
    TKUserDraw controls[kTKUserDrawLimit + 1];
    const uint32_t before = session_->controls.userDrawCount;
    for (TKUserDraw& control : controls) TKCreateUserDraw(&control, nullptr, nullptr, "A", "a");
    controls[0].redraw = [](void* window) { ++*static_cast<uint32_t*>(window); };
    controls[0].window = &redraws;
    for (uint32_t i = before; i < kTKUserDrawLimit; ++i)
        ASSERT_EQ(TKRegisterUserDraw(session_, &controls[i - before]), bpNoErr);
    EXPECT_EQ(TKRegisterUserDraw(session_, &controls[kTKUserDrawLimit]), bpMemFullErr);
    (void)TKSliderDrag(session_, &gain_, 70000);
    EXPECT_EQ(redraws, 1u);
    for (TKUserDraw& control : controls) TKForgetUserDraw(session_, &control);
    EXPECT_EQ(session_->controls.userDrawCount, before);
    (void)TKSliderDrag(session_, &gain_, 60000);
    EXPECT_EQ(redraws, 1u);
}

// --- The tone strip ---------------------------------------------------------------------------------------------------

TEST_F(TKUserDrawTest, TheStripShowsEveryGreyBesideWhatTheGradeMakesOfIt)
{
    TKUserDraw strip;
    TKCreateToneStrip(&strip, "tone_strip");
    TKPaintUserDraw(session_, strip, 0, &surface_);
    EXPECT_EQ(TKPixelAt(surface_, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(TKPixelAt(surface_, 1, 1), 0xFF7F7F7Fu);
    EXPECT_EQ(TKPixelAt(surface_, 0, 2), 0xFF000000u);
    for (uint32_t row = 0; row < 3; ++row) EXPECT_EQ(TKPixelAt(surface_, 2, row), TKPixelAt(surface_, 1, row)) << row;

    (void)TKSliderDrag(session_, &gain_, 32768);
    TKPaintUserDraw(session_, strip, 0, &surface_);
    EXPECT_EQ(TKPixelAt(surface_, 1, 0), 0xFFFFFFFFu); // the source stays
    EXPECT_EQ(TKPixelAt(surface_, 2, 0), 0xFF7F7F7Fu);
    EXPECT_EQ(TKPixelAt(surface_, 3, 1), 0xFF404040u);
    EXPECT_EQ(TKPixelAt(surface_, 3, 2), 0xFF000000u);
}

TEST_F(TKUserDrawTest, TheStripTellsItsTonesInWords)
{
    TKUserDraw strip;
    TKCreateToneStrip(&strip, "tone_strip");
    char text[128];
    TKUserDrawText(session_, strip, text, sizeof text);
    EXPECT_STREQ(text, "black 0 0 0, gray 127 127 127, white 255 255 255");
    (void)TKSliderDrag(session_, &gain_, 32768);
    TKUserDrawText(session_, strip, text, sizeof text);
    EXPECT_STREQ(text, "black 0 0 0, gray 64 64 64, white 127 127 127");
    TKUserDrawText(session_, strip, text, 6);
    EXPECT_STREQ(text, "black");
    strip.textProc = nullptr;
    TKUserDrawText(session_, strip, text, sizeof text);
    EXPECT_STREQ(text, "");
}

TEST_F(TKUserDrawTest, TonesAreNotClampedAndNoNumberIsBlack)
{
    (void)SetSliderValue(session_, &gain_, 4, true);
    float grey, result[3];
    TKToneAt(session_, 0, 5, &grey, result);
    EXPECT_EQ(grey, 1.0f);
    EXPECT_NEAR(result[0], 4.0f, 1e-3f);
    TKToneAt(session_, 4, 5, &grey, result);
    EXPECT_EQ(grey, 0.0f);
    TKToneAt(session_, 99, 5, &grey, result);
    EXPECT_EQ(grey, 0.0f); // beyond the last row
    TKToneAt(session_, 0, 1, &grey, result);
    EXPECT_EQ(grey, 1.0f); // a strip of one row
    Live().hsl.master.gain = std::numeric_limits<float>::quiet_NaN();
    RecomputeAndRefresh(session_, true);
    TKToneAt(session_, 0, 5, &grey, result);
    EXPECT_EQ(result[0], 0.0f);
}

} // namespace
