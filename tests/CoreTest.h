// What the tests of the core share: frames and engines with an owner, a catcher of log lines and reports, grades, hard
// pixel values, and comparisons that say where two pictures differ.
#pragma once

#include "src/OCEngine.h"
#include "src/TincturaFrameBuffer.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

struct FrameRelease {
    void operator()(FBFrame* frame) const { FBDisposeFrameBuffer(frame); }
};
using FramePtr = std::unique_ptr<FBFrame, FrameRelease>;
FramePtr MakeFrame(uint32_t width, uint32_t height, FBPixelFormat format = pixFormatRGBYPlanar_Float);

struct EngineRelease {
    void operator()(OCEngine* engine) const { OCDisposeEngine(engine); }
};
using EnginePtr = std::unique_ptr<OCEngine, EngineRelease>;
EnginePtr MakeEngine();

/// Catches the log, assertions and fatal errors from its making to its end.
class LogCatch {
  public:
    LogCatch();
    ~LogCatch();
    LogCatch(const LogCatch&) = delete;
    LogCatch& operator=(const LogCatch&) = delete;

    std::string Text();                 ///< all lines so far
    std::vector<std::string> reports{}; ///< "title: text" of each report

  private:
    std::mutex mutex_{};
    std::string text_{};
};

/// A float of the plane at row and column, for reading and writing.
float& At(const FBFrame& frame, uint32_t plane, uint32_t row, uint32_t column);

using Random = std::mt19937;

/// Uniform in [low, high).
float Between(Random& random, float low, float high);

/// Any 32 bits as a float.
float RandomBits(Random& random);

/// A pixel value: nominal, beyond the scale, on a step of the tables, or one of the hard ones.
float RandomSignal(Random& random);

/// All values that have ever been worth a look: zeros, ends, infinities, NaN, denormals.
std::vector<float> HardValues();

// Grades ---------------------------------------------------------------------------------------------------------------

/// A record as a reset of everything leaves it.
OCSettings NeutralGrade();

/// The tools that a random grade may use, one bit each.
enum GradeTool : uint32_t {
    toolHSLMaster,
    toolHSLRanges,
    toolHueOffset,
    toolRGBMaster,
    toolRGBRanges,
    toolYCCMaster,
    toolYCCRanges,
    toolCMYMaster,
    toolCMYRanges,
    toolLevels,
    toolRecovery,
    toolRGBCurves,
    toolHSLCurves,
    toolLumaRange,
    toolSecondaries,
    toolLimiter,
    toolCount
};

enum GradeReach { reachKnob, reachEntry, reachExtremes, reachBits };

/// Switches the tools of `mask` on and gives them random values: within the knobs, within what may be typed, at the ends
/// of that, or any bits at all.
OCSettings RandomGrade(Random& random, uint32_t mask, GradeReach reach);

/// A point curve.
HCurve CurveOf(std::initializer_list<std::pair<float, float>> points);

// Comparison -----------------------------------------------------------------------------------------------------------

/// Same bits, or both NaN.
bool SameFloat(float a, float b);

/// A planar picture of exact size with rows of any length, between guard bytes: before the first plane, between the
/// planes, after the last. `shift` bytes past a 64-byte boundary.
class GuardedPlanes {
  public:
    GuardedPlanes(uint32_t width, uint32_t height, uint32_t rowBytes, uint32_t shift);
    FBFrame frame{};

    /// Fills every float of the rows, padding included; rows and columns count in floats.
    template <class Value> void Fill(Value fill)
    {
        for (uint32_t plane = 0; plane < 4; ++plane)
            for (uint32_t row = 0; row < frame.height; ++row)
                for (uint32_t column = 0; column < frame.rowBytes / 4; ++column)
                    At(frame, plane, row, column) = fill(plane, row, column);
    }
    /// What touched a guard byte.
    [[nodiscard]] testing::AssertionResult GuardsAreWhole() const;

  private:
    std::vector<uint8_t> memory_{};
    size_t first_ = 0;
};

/// Compares all floats of `rows` rows, padding included: same bits or both NaN.
[[nodiscard]] testing::AssertionResult SamePlanes(const FBFrame& expected, const FBFrame& seen, uint32_t rows);

/// Runs a kernel over frames of one shape and compares with the readable kernel, guards and the untouched rest included.
struct KernelCase {
    uint32_t width, sourceHeight, destinationHeight;
    uint32_t rowBytes;    ///< of both; at least four times the width
    uint32_t sourceShift; ///< bytes off a 64-byte boundary
    uint32_t destinationShift;
    bool inPlace;
};
[[nodiscard]] testing::AssertionResult KernelAgrees(const OCKernel& kernel, const OCProcessParams& params,
                                                    const KernelCase& shape, Random& random);
