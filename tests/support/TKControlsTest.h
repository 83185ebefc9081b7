// An attached session with three sliders, and what a test of its controls asks again and again.
#pragma once

#include "tests/support/TKTestSession.h"

class TKControlsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        MakeSliders();
        windows_.calls.clear();
        NowIsBefore();
    }

    OCSettings& Live() { return session_->liveSettings; }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    /// Since the start of the test, or NowIsBefore.
    uint32_t Renders() const { return session_->renderCount - renders_; }
    bool IsUntouched() { return std::memcmp(&before_, &Live(), sizeof before_) == 0; }
    void NowIsBefore()
    {
        before_ = Live();
        renders_ = session_->renderCount;
    }
    /// The newest state that the ring holds.
    const OCSettings& NewestState() const
    {
        const TKUndoRing* ring = session_->undoRing;
        return ring->undoRecords[ring->undoHead % ring->undoSlotCount];
    }
    void SetTriple(uint32_t offset, float r, float g, float b)
    {
        const float rgb[3] = {r, g, b};
        std::memcpy(reinterpret_cast<uint8_t*>(&Live()) + offset, rgb, sizeof rgb);
    }
    /// A slider over a word from -10 to 10, typed -20 to 20.
    static SliderVars WholeNumberSlider(int32_t* field)
    {
        SliderVars slider;
        TKCreateSlider(&slider,
                       {.label = "Count",
                        .objectName = "count",
                        .offset = 0,
                        .low = -10,
                        .high = 10,
                        .entryLow = -20,
                        .entryHigh = 20,
                        .neutral = 0,
                        .flags = 0},
                       field, 0, nullptr, tkSectionNone);
        return slider;
    }
    TKEffect Type(SliderVars* slider, const char* text)
    {
        OpenEdit(session_, slider);
        TKSetEditText(slider, text);
        return TKEditKey(session_, slider, kTKKeyReturn, 0);
    }

    OCSettings before_ = {};
    uint32_t renders_ = 0;
};
