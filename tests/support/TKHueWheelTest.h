// A wheel of the shadows on a session, 162 pixels a side: its radius is 74.
#pragma once

#include "src/support/TKHueWheel.h"
#include "tests/support/TKTestSession.h"

#include <cmath>
#include <limits>

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr uint32_t kAngle = offsetof(OCSettings, hueOffset.shadows.tintangle);
inline constexpr uint32_t kStrength = offsetof(OCSettings, hueOffset.shadows.strength);
inline constexpr int kCentre = 81; // of a wheel of 162 pixels

class TKHueWheelTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        ASSERT_EQ(TKCreateHueOffset(session_, &wheel_, "Shadows", "shadows", kAngle, kStrength, tkSectionHueOffsets),
                  bpNoErr);
        wheel_.control = this;
        wheel_.redraw = [](void* self) { ++static_cast<TKHueWheelTest*>(self)->redraws_; };
        TKPlaceHueOffset(&wheel_, ScopeRectOf(0, 0, 162, 162));
        windows_.calls.clear();
        renders_ = session_->renderCount;
        gBPFake.mouseButtonDown = true;
    }

    OCSettings& Live() { return session_->liveSettings; }
    float Angle() { return Live().hueOffset.shadows.tintangle; }
    float Strength() { return Live().hueOffset.shadows.strength; }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    void Set(float angle, float strength)
    {
        Live().hueOffset.shadows.tintangle = angle;
        Live().hueOffset.shadows.strength = strength;
        (void)UpdateAllControls(session_, &Live(), kOCResetAll, kOCResetAll, nullptr, true);
        (void)TKUpdateHueOffset(&wheel_, &Live(), nullptr, true);
    }
    TKEffect Press(double x, double y, uint32_t modifiers = 0)
    {
        return TKHueOffsetPress(session_, &wheel_, kCentre + x, kCentre + y, modifiers);
    }
    TKEffect Move(double x, double y, uint32_t modifiers = 0)
    {
        return TKHueOffsetMove(session_, &wheel_, kCentre + x, kCentre + y, modifiers);
    }
    TKEffect Release()
    {
        gBPFake.mouseButtonDown = false;
        return TKHueOffsetRelease(session_, &wheel_);
    }
    void Tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) TKHueOffsetTick(session_, &wheel_);
    }
    bool Key(uint32_t key, uint32_t modifiers = 0) { return TKHueOffsetKey(session_, &wheel_, key, modifiers); }

    HueOffsetVars wheel_ = {};
    uint32_t renders_ = 0;
    int redraws_ = 0;
};

/// The tint's angle at a place about the centre.
inline float AngleAt(double x, double y)
{
    double degrees = std::atan2(y, x) * 180 / kPi + 103;
    if (degrees < 0) degrees += 360;
    return static_cast<float>(degrees);
}
