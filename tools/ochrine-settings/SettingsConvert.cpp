// convert and upgrade: a grade from one kind of file into another, with a word on what stays behind.
#include "tools/ochrine-settings/SettingsTool.h"

#include "src/ASCCDL.h"
#include "src/OCVersion.h"
#include "src/TincturaFileIO.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <iterator>

namespace {

/// Lower case, without the folder and up to the last point.
std::string ExtensionOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    const size_t point = path.rfind('.');
    if (point == std::string::npos || (slash != std::string::npos && point < slash)) return {};
    std::string extension = path.substr(point + 1);
    for (char& character : extension)
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
    return extension;
}

std::string FileNameOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

template <class Block> bool AnyRangeOn(const OCRanges<Block>& ranges)
{
    return ranges.highlights.on || ranges.midtones.on || ranges.shadows.on;
}

/// Whether the HSL master does more than a list can tell.
bool HSLMasterIsMore(const OCHSLBlock& m)
{
    return m.hue != 0 || m.vibrance != 0 || m.brightness != 0 || m.contrast != 0 || m.contrastCenter != 0.5f;
}

template <class Blocks> bool AnyOn(const Blocks& blocks)
{
    return std::any_of(std::begin(blocks), std::end(blocks), [](const auto& block) { return block.on != 0; });
}

/// Says which tools of a grade act on its picture but have no place in a list.
void TellWhatAListLeavesOut(const OCSettings& s)
{
    struct {
        bool acts;
        const char* tool;
    } const tools[] = {
        {s.primaryOn && s.hslOn && s.hsl.master.on && HSLMasterIsMore(s.hsl.master),
         "hue, vibrance, brightness and contrast of the HSL master"},
        {s.primaryOn && s.hslOn && AnyRangeOn(s.hsl), "the HSL ranges"},
        {s.primaryOn && s.hueOffsetOn, "the hue offsets"},
        {s.rgbOn && AnyRangeOn(s.rgb), "the RGB ranges"},
        {s.cmyOn && (s.cmy.master.on || AnyRangeOn(s.cmy)), "CMY"},
        {s.ycbcrOn && (s.ycbcr.master.on || AnyRangeOn(s.ycbcr)), "YCbCr"},
        {s.levelsOn && (AnyOn(s.levels) || s.inputControls_highlight_recovery != 0), "the levels"},
        {s.curvesOn && s.rgbCurvesOn, "the RGB curves"},
        {s.curvesOn && s.hslCurvesOn, "the HSL curves"},
        {s.secondaryOn && s.secondaryInUse && AnyOn(s.secondary), "the secondaries"},
        {s.limiter_enable != 0, "the limiter"},
    };
    for (const auto& row : tools)
        if (row.acts) Say("warning", std::string("the list leaves out ") + row.tool);

    const ASCCDLValues values = ASCCDL_ValuesOf(s);
    OCSettings off = s;
    if (!s.rgbOn || !s.rgb.master.on) OCResetSettings(&off, kOCResetRGB, 0, kOCResetDefaults);
    if (!s.primaryOn || !s.hslOn || !s.hsl.master.on) OCResetSettings(&off, kOCResetHSL, 0, kOCResetDefaults);
    const ASCCDLValues effective = ASCCDL_ValuesOf(off);
    if (std::memcmp(&values, &effective, sizeof values) != 0)
        Say("warning", "the list holds values of a master tool that is switched off");
}

ToolExit WriteList(const std::string& path, const ToolGrade& grade, const ToolOptions& options)
{
    // From list to list only the entity goes; everything else of the text stays.
    if (grade.kind == OCGradeKind::decisionList && options.clean) {
        std::string text(grade.bytes.begin(), grade.bytes.end());
        CleanTildes(&text);
        return WriteBytes(path, text.data(), text.size());
    }
    TellWhatAListLeavesOut(grade.settings);
    const std::string name = FileNameOf(path);
    std::string text = ASCCDL_CDLText(grade.settings, {.date = OCFileDate(static_cast<double>(time(nullptr))),
                                                       .clipPath = nullptr,
                                                       .description = name.c_str(),
                                                       .number = 0});
    if (name.find('~') != std::string::npos) {
        if (options.clean) {
            CleanTildes(&text);
        } else {
            Say("warning", "the description holds &tilde;, which strict XML readers refuse; --clean writes ~");
        }
    }
    return WriteBytes(path, text.data(), text.size());
}

ToolExit WriteSettings(const std::string& path, const OCSettings& settings)
{
    const std::vector<uint8_t> bytes = SaveSettingsBytes(settings);
    return WriteBytes(path, bytes.data(), bytes.size());
}

} // namespace

ToolExit UpgradeGrade(const ToolOptions& options)
{
    ToolGrade grade;
    if (!ReadGrade(options.files[0], options, &grade)) return ToolExit::input;
    if (grade.kind != OCGradeKind::settingsFile) {
        Say("", options.files[0] + " is a " + KindName(grade.kind) + "; convert makes a settings file of it");
        return ToolExit::input;
    }
    return WriteSettings(options.files[1], grade.settings);
}

ToolExit ConvertGrade(const ToolOptions& options)
{
    const std::string& path = options.files[1];
    const std::string extension = ExtensionOf(path);
    const bool toList = extension == "cdl" || extension == "xml";
    const bool toRecord = extension == "ocgrade";
    if (!toList && !toRecord && extension != "ocpreset") {
        Say("", path + ": the name must end in .ocpreset, .cdl, .xml or .ocgrade");
        return ToolExit::usage;
    }
    ToolGrade grade;
    if (!ReadGrade(options.files[0], options, &grade)) return ToolExit::input;
    if (toList) return WriteList(path, grade, options);
    if (toRecord) return WriteBytes(path, &grade.settings, sizeof grade.settings);
    return WriteSettings(path, grade.settings);
}
