// The tools that a grade uses, and what no table carries of them.
//
// Every tool works on a pixel by itself, so that a table can hold all of them: secondaries, ranges, limiter. What it
// cannot hold is what lies outside its cube, and what is finer than its grid; the second is measured, not told here.
#include "tools/ochrine-lut/LUTTool.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

struct ToolRow {
    const char* name;
    bool (*inForce)(const OCSettings& grade);
    void (*switchOff)(OCSettings* grade);
};

bool HSLOn(const OCSettings& grade)
{
    return grade.primaryOn && grade.hslOn;
}

bool CurvesOn(const OCSettings& grade, bool hsl)
{
    return grade.curvesOn && (hsl ? grade.hslCurvesOn : grade.rgbCurvesOn);
}

template <class Block> bool RangesOn(uint32_t paneOn, const OCRanges<Block>& ranges)
{
    return paneOn && (ranges.highlights.on || ranges.midtones.on || ranges.shadows.on);
}

template <class Block> void RangesOff(OCRanges<Block>* ranges)
{
    ranges->highlights.on = ranges->midtones.on = ranges->shadows.on = 0;
}

template <uint32_t index> bool SecondaryOn(const OCSettings& grade)
{
    return grade.secondaryOn && grade.secondaryInUse && grade.secondary[index].on;
}

template <uint32_t index> void SecondaryOff(OCSettings* grade)
{
    grade->secondary[index].on = 0;
}

bool RecoveryOn(const OCSettings& grade)
{
    return grade.levelsOn && grade.inputControls_highlight_recovery != 0;
}

bool LevelsOn(const OCSettings& grade)
{
    const auto isOn = [](const OCLevelsBlock& block) { return block.on != 0; };
    return grade.levelsOn && std::any_of(std::begin(grade.levels), std::end(grade.levels), isOn);
}

// In the order in which a pixel meets them.
constexpr ToolRow kTools[] = {
    {"Input highlight recovery", RecoveryOn, [](OCSettings* grade) { grade->inputControls_highlight_recovery = 0; }},
    {"Levels", LevelsOn,
     [](OCSettings* grade) {
         for (OCLevelsBlock& block : grade->levels) block.on = 0; // recovery needs the pane itself
     }},
    {"HSL ranges", [](const OCSettings& grade) { return RangesOn(HSLOn(grade), grade.hsl); },
     [](OCSettings* grade) { RangesOff(&grade->hsl); }},
    {"HSL master", [](const OCSettings& grade) { return HSLOn(grade) && grade.hsl.master.on; },
     [](OCSettings* grade) { grade->hsl.master.on = 0; }},
    {"Hue offset", [](const OCSettings& grade) { return grade.primaryOn && grade.hueOffsetOn; },
     [](OCSettings* grade) { grade->hueOffsetOn = 0; }},
    {"RGB ranges", [](const OCSettings& grade) { return RangesOn(grade.rgbOn, grade.rgb); },
     [](OCSettings* grade) { RangesOff(&grade->rgb); }},
    {"CMY ranges", [](const OCSettings& grade) { return RangesOn(grade.cmyOn, grade.cmy); },
     [](OCSettings* grade) { RangesOff(&grade->cmy); }},
    {"YCbCr ranges", [](const OCSettings& grade) { return RangesOn(grade.ycbcrOn, grade.ycbcr); },
     [](OCSettings* grade) { RangesOff(&grade->ycbcr); }},
    {"RGB master", [](const OCSettings& grade) { return grade.rgbOn && grade.rgb.master.on; },
     [](OCSettings* grade) { grade->rgb.master.on = 0; }},
    {"CMY master", [](const OCSettings& grade) { return grade.cmyOn && grade.cmy.master.on; },
     [](OCSettings* grade) { grade->cmy.master.on = 0; }},
    {"YCbCr master", [](const OCSettings& grade) { return grade.ycbcrOn && grade.ycbcr.master.on; },
     [](OCSettings* grade) { grade->ycbcr.master.on = 0; }},
    {"RGB curves", [](const OCSettings& grade) { return CurvesOn(grade, false); },
     [](OCSettings* grade) { grade->rgbCurvesOn = 0; }},
    {"HSL curves", [](const OCSettings& grade) { return CurvesOn(grade, true); },
     [](OCSettings* grade) { grade->hslCurvesOn = 0; }},
    {"Secondary A", SecondaryOn<0>, SecondaryOff<0>},
    {"Secondary B", SecondaryOn<1>, SecondaryOff<1>},
    {"Secondary C", SecondaryOn<2>, SecondaryOff<2>},
    {"Secondary D", SecondaryOn<3>, SecondaryOff<3>},
    {"Secondary E", SecondaryOn<4>, SecondaryOff<4>},
    {"Secondary F", SecondaryOn<5>, SecondaryOff<5>},
    {"Limiter", [](const OCSettings& grade) { return grade.limiter_enable != 0; },
     [](OCSettings* grade) { grade->limiter_enable = 0; }},
};

std::string RemarkOn(const ToolRow& row, const OCSettings& grade)
{
    if (row.inForce != RecoveryOn) return {};
    // The stage compares with a threshold that only the master block of Levels moves below white.
    if (!grade.levels[0].on) return "cannot be carried: it only changes what is brighter than white";
    return "above white it cannot be carried";
}

} // namespace

std::vector<LUTGradeTool> LUTToolsOf(const OCSettings& grade)
{
    std::vector<LUTGradeTool> tools;
    for (const ToolRow& row : kTools) {
        if (!row.inForce(grade)) continue;
        LUTGradeTool tool = {.name = row.name, .remark = RemarkOn(row, grade), .alone = grade};
        for (const ToolRow& other : kTools)
            if (&other != &row) other.switchOff(&tool.alone);
        // With its threshold below white, recovery is a tool of the master block and needs it, at neutral values.
        if (row.inForce == RecoveryOn && grade.levels[0].on)
            tool.alone.levels[0] = {.controlState = 0,
                                    .on = 1,
                                    .inblackpt = 0,
                                    .ingraypt = 0.5f,
                                    .inwhitept = 1,
                                    .outblackpt = 0,
                                    .outgraypt = 0.5f,
                                    .outwhitept = 1};
        tools.push_back(std::move(tool));
    }
    return tools;
}

std::vector<std::string> LUTWarnings(const OCSettings& grade)
{
    std::vector<std::string> warnings;
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
        if (grade.secondaryOn && grade.secondaryInUse && grade.secondary[i].on && grade.secondary[i].preview)
            warnings.push_back(std::string("Secondary ") + static_cast<char>('A' + i) +
                               " shows its preview; the table holds the preview");
    if (grade.limiter_enable && grade.limiter_preview)
        warnings.push_back("the limiter shows its preview; the table holds black in its place");
    warnings.push_back("inputs below 0 and above 1 lie outside the table; systems hold them at its ends");
    return warnings;
}
