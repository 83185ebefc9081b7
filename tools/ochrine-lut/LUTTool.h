// ochrine-lut: what its files share. The program bakes a grade into a table and tells how well the table does.
#pragma once

#include "src/LUTs/TincturaLUTTargets.h"

#include <string>
#include <string_view>
#include <vector>

/// Exit codes; they stand in the manual.
enum class LUTExit : int {
    done = 0,
    inexact = 1, ///< an error above --max-error; the table was written
    usage = 2,
    input = 3,
    output = 4,
};

struct LUTOptions {
    const OCLUTTarget* target = nullptr;
    uint32_t points = 0; ///< 0: those of the target
    std::string grade{}, out{};
    double maxError = -1; ///< below 0: none
    bool json = false, quiet = false;
};

/// Taken from the command line. False, with a sentence, when it is wrong.
bool LUTParseOptions(int argc, char** argv, LUTOptions* options, std::string* error);

// The test picture -----------------------------------------------------------------------------------------------------

/// Planes of one picture.
struct LUTPicture {
    std::vector<float> plane[3]{};
};

/// The picture that errors are measured on: a gray ramp, ramps of each hue to black and to white, weak colours around
/// skin and foliage, and colours spread evenly over the cube. Always the same; all values lie between 0 and 1.
LUTPicture LUTTestPicture();

/// What the pipeline makes of a picture; empty without memory.
LUTPicture LUTThroughPipeline(OCEngine* engine, const OCSettings& grade, const LUTPicture& picture);

// The table as its target reads it -------------------------------------------------------------------------------------

struct LUTTable {
    uint32_t points = 0;
    OCLUTOrder order = lutBlueFastest;
    std::vector<float> rgb{}; ///< three a point, in the order of the rows, decoded to 0 to 1
};

/// Reads the rows back out of the text that was written. False when they are not all there.
bool LUTReadTable(const std::string& text, const OCLUTTarget& target, uint32_t points, LUTTable* table);

enum LUTInterpolation : uint32_t { lutTrilinear, lutTetrahedral };

/// What a system makes of a colour with the table; inputs outside 0 to 1 are held there.
void LUTLookup(const LUTTable& table, LUTInterpolation interpolation, const float in[3], float out[3]);

/// Differences between pipeline and table over all channels of a picture. They are infinite where one has a number and
/// the other none, and 0 where neither has one.
struct LUTError {
    double max = 0, mean = 0, p99 = 0;
    double outside = 0; ///< part of the pixels that the pipeline takes beyond what the table can hold
};
LUTError LUTMeasure(const LUTTable& table, LUTInterpolation interpolation, const OCLUTEncoding& encoding,
                    const LUTPicture& in, const LUTPicture& graded);

/// False when a value of the table, or one that the pipeline makes, is infinite or no number.
bool LUTIsFinite(const LUTTable& table, const LUTPicture& graded);

// The tools of a grade -------------------------------------------------------------------------------------------------

/// A tool that a grade uses.
struct LUTGradeTool {
    std::string name{};
    std::string remark{}; ///< what of it no table carries; empty when nothing
    OCSettings alone{};   ///< the grade with this tool only
};

/// The tools in force, in the order in which a pixel meets them.
std::vector<LUTGradeTool> LUTToolsOf(const OCSettings& grade);

/// Sentences about a grade as a whole: what is baked that was meant to be looked at, what lies outside every table.
std::vector<std::string> LUTWarnings(const OCSettings& grade);

// Report ---------------------------------------------------------------------------------------------------------------

struct LUTToolError {
    std::string name{}, remark{};
    LUTError error{};
};

struct LUTReport {
    const OCLUTTarget* target = nullptr;
    uint32_t points = 0;
    std::string out{};
    LUTError trilinear{}, tetrahedral{};
    std::vector<LUTToolError> tools{};
    std::vector<std::string> warnings{};
};

/// The report for people, or as one JSON object, in which what is not finite is null.
std::string LUTReportText(const LUTReport& report);
std::string LUTReportJson(const LUTReport& report);
