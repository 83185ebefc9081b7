// The report, for people and for programs.
#include "src/BPNumbers.h"
#include "src/BPXML2Support.h"
#include "tools/ochrine-lut/LUTTool.h"

#include <cmath>

namespace {

void AppendCell(std::string* text, const std::string& cell, size_t width)
{
    *text += cell;
    if (cell.size() < width) text->append(width - cell.size(), ' ');
}

std::string Fixed(double value, int decimals)
{
    std::string text;
    BPAppendFixed(&text, value, decimals);
    return text;
}

void AppendErrors(std::string* text, const std::string& name, const LUTError& error)
{
    AppendCell(text, "  " + name, 28);
    AppendCell(text, "max " + Fixed(error.max, 5), 14);
    AppendCell(text, "p99 " + Fixed(error.p99, 5), 14);
    *text += "mean " + Fixed(error.mean, 6);
}

void AppendJsonText(std::string* text, const std::string& value)
{
    *text += '"';
    for (const char character : BPXML2_ValidUtf8(value)) {
        if (character == '"' || character == '\\') *text += '\\';
        if (static_cast<unsigned char>(character) < 0x20) {
            *text += "\\u00";
            *text += "0123456789abcdef"[character >> 4 & 15];
            *text += "0123456789abcdef"[character & 15];
        } else {
            *text += character;
        }
    }
    *text += '"';
}

/// JSON has no word for what is not finite.
std::string JsonNumber(double value)
{
    return std::isfinite(value) ? Fixed(value, 9) : "null";
}

void AppendJsonErrors(std::string* text, const LUTError& error)
{
    *text += "{\"max\": " + JsonNumber(error.max) + ", \"p99\": " + JsonNumber(error.p99) +
             ", \"mean\": " + JsonNumber(error.mean) + ", \"outside\": " + JsonNumber(error.outside) + "}";
}

} // namespace

std::string LUTReportText(const LUTReport& report)
{
    const std::string points = std::to_string(report.points);
    std::string text = std::string(report.target->name) + ", " + points + " points an axis";
    text += report.out.empty() ? ", not written\n" : ", written to " + report.out + "\n";
    text += "Difference between pipeline and table on the test picture (1 is the way from black to white):\n";
    AppendErrors(&text, "trilinear", report.trilinear);
    text += '\n';
    AppendErrors(&text, "tetrahedral", report.tetrahedral);
    text += '\n';
    if (report.trilinear.outside > 0)
        text += "  " + Fixed(report.trilinear.outside * 100, 2) +
                " % of the picture leaves the range that the target can hold and is cut\n";
    text += report.tools.empty() ? "No tool is in force.\n" : "Tools, each alone (trilinear):\n";
    for (const LUTToolError& tool : report.tools) {
        AppendErrors(&text, tool.name, tool.error);
        if (!tool.remark.empty()) text += "   " + tool.remark;
        text += '\n';
    }
    for (const std::string& warning : report.warnings) text += "Note: " + warning + "\n";
    return text;
}

std::string LUTReportJson(const LUTReport& report)
{
    std::string text = "{\n  \"target\": ";
    AppendJsonText(&text, report.target->name);
    text += ",\n  \"points\": " + std::to_string(report.points) + ",\n  \"out\": ";
    if (report.out.empty()) {
        text += "null";
    } else {
        AppendJsonText(&text, report.out);
    }
    text += ",\n  \"trilinear\": ";
    AppendJsonErrors(&text, report.trilinear);
    text += ",\n  \"tetrahedral\": ";
    AppendJsonErrors(&text, report.tetrahedral);
    text += ",\n  \"tools\": [";
    const char* between = "\n    ";
    for (const LUTToolError& tool : report.tools) {
        text += between;
        between = ",\n    ";
        text += "{\"name\": ";
        AppendJsonText(&text, tool.name);
        text += ", \"error\": ";
        AppendJsonErrors(&text, tool.error);
        text += ", \"remark\": ";
        AppendJsonText(&text, tool.remark);
        text += "}";
    }
    text += report.tools.empty() ? "],\n  \"notes\": [" : "\n  ],\n  \"notes\": [";
    between = "\n    ";
    for (const std::string& warning : report.warnings) {
        text += between;
        between = ",\n    ";
        AppendJsonText(&text, warning);
    }
    text += report.warnings.empty() ? "]\n}\n" : "\n  ]\n}\n";
    return text;
}
