// The levels control's record on a session, with presses, drags and ticks in one line each.
#pragma once

#include "src/UI/TKLevels.h"

#include "tests/support/TKTestSession.h"

class LevelsTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        Attach();
        Bind(1);
        gBPFake.mouseButtonDown = true;
    }
    void TearDown() override
    {
        gBPFake.mouseButtonDown = false;
        TKSessionTest::TearDown();
    }

    void Bind(uint32_t channel)
    {
        const auto section = static_cast<TKSectionID>(tkSectionLevelsMaster + channel - 1);
        InitLevels(&levels_, &session_->liveSettings,
                   static_cast<uint32_t>(offsetof(OCSettings, levels) + (channel - 1) * sizeof(OCLevelsBlock)), channel,
                   section, "levels");
        LayOutLevels(&levels_, 552, 200);
        windows_.calls.clear();
        renders_ = session_->renderCount;
    }
    OCLevelsBlock& Block() { return session_->liveSettings.levels[levels_.channel - 1]; }
    float* Field(uint32_t handle) { return &Block().inblackpt + handle; }
    void Set(float black, float gray, float white)
    {
        Block().inblackpt = black;
        Block().ingraypt = gray;
        Block().inwhitept = white;
        UpdateLevels(&levels_, &session_->liveSettings);
    }
    uint32_t Steps() const { return session_->undoRing->undoHead; }
    uint32_t Renders() const { return session_->renderCount - renders_; }

    double X(uint32_t handle) const { return LevelsHandleX(levels_, handle); }
    double Y(uint32_t handle) const { return LevelsHandleRect(levels_, handle).top + 5; }
    uint32_t Press(uint32_t handle) { return PressLevels(session_, &levels_, X(handle), Y(handle)); }
    TKEffect DragBy(double pixels, uint32_t modifiers = 0)
    {
        return TrackLevelsHandle(session_, &levels_, levels_.mouseX + pixels, modifiers);
    }
    void Release() { (void)ReleaseLevels(session_, &levels_); }
    void Ticks(int count)
    {
        for (int i = 0; i < count; ++i) (void)LevelsTick(session_, &levels_);
    }

    LevelsVars levels_ = {};
    uint32_t renders_ = 0;
};
