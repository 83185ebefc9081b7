// An editor of the red curve on a session, with a plot of 251 pixels a side: a pixel is 1/250.
#pragma once

#include "src/support/TKCurveEditor.h"
#include "tests/support/TKTestSession.h"

#include <cmath>
#include <limits>

class TKCurveTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        Edit(tkSectionCurveRed);
        windows_.calls.clear();
        renders_ = session_->renderCount;
        gBPFake.mouseButtonDown = true;
    }

    void Edit(TKSectionID section)
    {
        TKCreateCurve(session_, &curve_, "Red", "red", section);
        curve_.control = this;
        curve_.redraw = [](void* self) { ++static_cast<TKCurveTest*>(self)->redraws_; };
        TKPlaceCurve(&curve_, ScopeRectOf(0, 0, 320, 260), ScopeRectOf(20, 5, 271, 256));
    }
    OCSettings& Live() { return session_->liveSettings; }
    HCurvePoints& Points() { return curve_.curve->points.xy; }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }
    /// Points at (0, 0), (1/n, 1/n) and so on.
    void Spread(int count)
    {
        Points().pointCount = count;
        for (int i = 0; i < count; ++i)
            Points().x[i] = Points().y[i] = static_cast<float>(i) / static_cast<float>(count - 1);
    }
    double PixelX(double x) const { return TKCurvePixelX(curve_, x); }
    double PixelY(double y) const { return TKCurvePixelY(curve_, y); }
    TKEffect Press(double x, double y) { return TKCurvePress(session_, &curve_, PixelX(x), PixelY(y)); }
    TKEffect Move(double x, double y) { return TKCurveMove(session_, &curve_, PixelX(x), PixelY(y)); }
    void Hover(double x, double y) { TKCurveHover(&curve_, PixelX(x), PixelY(y)); }
    TKEffect Release()
    {
        gBPFake.mouseButtonDown = false;
        const TKEffect effect = TKCurveRelease(session_, &curve_);
        gBPFake.mouseButtonDown = true;
        return effect;
    }
    void Tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) TKCurveTick(session_, &curve_);
    }
    bool Key(uint32_t key, uint32_t modifiers = 0) { return TKCurveKey(session_, &curve_, key, modifiers); }
    void ExpectPoint(int index, double x, double y)
    {
        EXPECT_NEAR(static_cast<double>(Points().x[index]), x, 1e-6) << index;
        EXPECT_NEAR(static_cast<double>(Points().y[index]), y, 1e-6) << index;
    }

    CurveVars curve_ = {};
    uint32_t renders_ = 0;
    int redraws_ = 0;
};
