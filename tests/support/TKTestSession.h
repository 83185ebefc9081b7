// A session on the fake platform, a host that a test plays, and a window side that only writes down what it is asked.
#pragma once

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"
#include "src/platform/fake/BPFake.h"
#include "src/support/TKCommands.h"
#include "src/support/TKRecovery.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

inline constexpr uint32_t kHostProcess = 500;

/// What the window side was asked, one word a call.
struct TKTestWindows {
    std::vector<std::string> calls;
    std::string positionText;
    std::vector<std::string> splash;
    float aspect = 0;
    bool menus = false;
    bool loopEnded = false;
    uint32_t timerMs = 0;
    uint32_t switches = 0; // calls of switchesChanged
    BPStatus buildResult = bpNoErr;
    std::vector<std::string> clips;     // label and path of those for the gallery
    std::vector<std::string> questions; // texts of askRecovery
    std::string questionDetail;
    std::vector<bool> answers; // of the next questions, given at once; without one the question stays open
    TKSession* session = nullptr;
    std::function<void(TKSession*)> onBuild;

    uint32_t Count(const std::string& name) const
    {
        return static_cast<uint32_t>(std::count(calls.begin(), calls.end(), name));
    }
};

TKUserInterface TKTestInterface(TKTestWindows* windows);

/// What a host puts into its block. Pixel (column, row) of frame n has red 10 n + column, green row, blue 200.
struct TKTestHost {
    uint32_t width = 8, height = 6;
    uint32_t rowBytes = 8 * 4 + 4;
    FBPixelFormat format = pixFormatARGB8;
    uint32_t processID = kHostProcess;
    uint32_t flags = kTKUIFlagPixelsInline;
    uint32_t chunkRows = 2;
    uint32_t nextRow = 0;                   // of the chunks that are still to be sent
    std::function<void(TKTestHost*)> serve; // runs in each sleep of the application
    std::vector<uint32_t> statusSeen;       // at each sleep

    TKUIComm* Block() const;
    uint8_t* Pixels() const { return Block()->pixels; }
    uint64_t FrameBytes() const { return uint64_t{rowBytes} * height; }
    /// Makes the block, with frame 1 and neutral settings, status 1.
    void Make();
    void PaintRows(uint8_t* rows, uint32_t firstRow, uint32_t rowCount, uint32_t frame) const;
    std::vector<uint8_t> Frame(uint32_t frame) const;
    /// Answers status 5 with the next chunk.
    void SendChunks();
    /// Answers status 9 with the frame at frameTime.
    void SendFrames();
};

class TKSessionTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// Attaches and loads, as the start-up does, without windows of its own.
    void Attach();
    /// The whole start-up.
    TKStartResult StartUp();
    void MakeSliders();

    BPPlatform platform_ = {};
    TKTestWindows windows_;
    TKTestHost host_;
    TKSession* session_ = nullptr;
    SliderVars gain_ = {}, saturation_ = {}, redGain_ = {};
};

/// Settings as a reset leaves them.
OCSettings TKNeutralSettings();

/// The pixel of a surface as 0xAARRGGBB.
uint32_t TKPixelAt(const ScopeSurface& surface, uint32_t column, uint32_t row);

/// How often a text stands in the log.
uint32_t TKLogCount(const std::string& text);

/// True when the texts stand in the log in this order.
[[nodiscard]] bool TKLogHas(const std::vector<std::string>& texts);
