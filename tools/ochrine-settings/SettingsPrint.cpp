// print: a grade as one JSON object.
#include "tools/ochrine-settings/SettingsTool.h"

#include <bit>
#include <cmath>
#include <cstdio>

namespace {

std::string NumberText(float value)
{
    return std::isfinite(value) ? FloatText(value) : Quoted(FloatText(value));
}

/// {"points": [[x, y], ...]}, {"samples": [...]}, or the bare count when it is none.
std::string CurveText(const HCurve& curve)
{
    std::string text;
    if (curve.curveKind & 1) {
        text = "{\"samples\": [";
        for (uint32_t i = 0; i < kOCCurveSampleCount; ++i) {
            if (i > 0) text += ", ";
            text += NumberText(curve.points.samples[i]);
        }
        return text + "]}";
    }
    const HCurvePoints& points = curve.points.xy;
    if (points.pointCount < 0 || points.pointCount > static_cast<int32_t>(kOCCurvePointLimit))
        return "{\"pointCount\": " + std::to_string(points.pointCount) + "}";
    text = "{\"points\": [";
    for (int32_t i = 0; i < points.pointCount; ++i) {
        if (i > 0) text += ", ";
        text += "[" + NumberText(points.x[i]) + ", " + NumberText(points.y[i]) + "]";
    }
    return text + "]}";
}

const char* KindWord(OCGradeKind kind)
{
    switch (kind) {
    case OCGradeKind::settingsFile: return "ocpreset";
    case OCGradeKind::decisionList: return "cdl";
    case OCGradeKind::record: return "record";
    }
    return "";
}

} // namespace

ToolExit PrintGrade(const ToolOptions& options)
{
    ToolGrade grade;
    if (!ReadGrade(options.files[0], options, &grade)) return ToolExit::input;

    std::string text = "{\n  \"file\": " + Quoted(options.files[0]) + ",\n  \"kind\": \"" + KindWord(grade.kind) + "\"";
    std::string group = "?";
    for (const Field& field : Fields()) {
        if (field.group != group) {
            if (group != "?") text += "\n  }";
            text += ",\n  \"" + (field.group.empty() ? std::string("parameters") : field.group) + "\": {";
            group = field.group;
        } else {
            text += ",";
        }
        text += "\n    " + Quoted(field.name) + ": " + ValueText(grade.settings, field);
    }
    text += "\n  },\n  \"curveShapes\": {";
    for (int i = 0; i < kCurveCount; ++i) {
        text += i > 0 ? ",\n    " : "\n    ";
        text += Quoted(kCurveNames[i]) + ": " + CurveText(CurveOf(grade.settings, i));
    }
    text += "\n  }\n}\n";
    if (fwrite(text.data(), 1, text.size(), stdout) == text.size() && fflush(stdout) == 0) return ToolExit::done;
    Say("", "standard output cannot be written");
    return ToolExit::output;
}
