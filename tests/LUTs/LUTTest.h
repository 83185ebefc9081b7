// What the tests of tables share: a job over a grade, texts as lines, rows as numbers.
#pragma once

#include "src/LUTs/TincturaLUTTargets.h"
#include "tests/CoreTest.h"

/// 02-Jan-2006 15:04:05 UTC; tests set the zone.
inline constexpr double kTestWallSeconds = 1136214245.0;

/// An engine and a grade, ready to be baked.
class Bake {
  public:
    explicit Bake(const OCSettings& grade, const char* fileName = "my grade.lut");
    OCLUTJob job{};
    std::string Write(const OCLUTTarget& target);
    std::string Write(const char* name); ///< of the target

    /// What the engine makes of one pixel.
    void Grade(const float in[3], float out[3]);

  private:
    EnginePtr engine_{};
    OCSettings grade_{};
    FramePtr source_{}, result_{};
};

std::vector<std::string> Lines(const std::string& text);

/// The numbers of the lines that hold exactly `columns` numbers and nothing else.
std::vector<std::vector<double>> Rows(const std::string& text, size_t columns);

/// A grade that moves every channel differently, within 0 to 1.
OCSettings WarmGrade();
