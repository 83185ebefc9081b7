// validate: damage of a settings file, and values that no control can give. Damage and values that are no numbers are
// errors; what the application takes all the same is a warning.
#include "tools/ochrine-settings/SettingsTool.h"

#include "src/TincturaFileIO.h"
#include "src/TincturaFileIOTables.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <set>

namespace {

/// Counts what it prints.
struct Findings {
    int errors = 0, warnings = 0;

    void Error(const std::string& text)
    {
        printf("error: %s\n", text.c_str());
        ++errors;
    }
    void Warning(const std::string& text)
    {
        printf("warning: %s\n", text.c_str());
        ++warnings;
    }
};

/// What a value that is typed in may be, by the end of its name.
struct EntryRange {
    const char* end;
    float low, high;
};

constexpr EntryRange kEntryRanges[] = {
    {"_hue", -3600, 3600},    {"_saturation", -1000, 1000},
    {"_vibrance", -100, 100}, {"_brightness", -100, 100},
    {"_contrast", -100, 100}, {"_contrastCenter", 0, 1},
    {"_gain", 0, 20},         {"_gamma", 0.1f, 10},
    {"_ped", -1, 1},          {"_pedestal", -1, 1},
    {"_lumatol", 0, 1},       {"_chromatol", 0, 1},
    {"_softness", 0, 1},      {"Controls_highlight_recovery", 0, 1},
};

bool EndsWith(const std::string& text, const char* end)
{
    const size_t length = std::strlen(end);
    return text.size() >= length && text.compare(text.size() - length, length, end) == 0;
}

std::string ChunkName(const OCSettingsChunk& chunk)
{
    return "chunk " + std::to_string(chunk.id) + " at " + std::to_string(chunk.position);
}

void ValidateChunks(const std::vector<uint8_t>& file, Findings* findings)
{
    size_t position = 8; // behind the header, also when there is no chunk
    OCSettingsChunk chunk;
    std::set<uint32_t> covered; // offsets of records
    int legacy = 0;
    while (OCNextSettingsChunk(file.data(), file.size(), &position, &chunk)) {
        const std::string name = ChunkName(chunk);
        if (chunk.presentBytes < chunk.recordBytes)
            findings->Error(name + " is cut: " + std::to_string(chunk.presentBytes) + " of " +
                            std::to_string(chunk.recordBytes) + " bytes are there");
        switch (chunk.kind) {
        case OCChunkKind::unknown: findings->Warning(name + " is not known and was skipped"); continue;
        case OCChunkKind::legacy:
            ++legacy;
            for (const OCLegacyChunkRow& row : OCLegacyChunks())
                if (row.id == chunk.id) covered.insert(row.offset);
            break;
        case OCChunkKind::current:
            for (const OCChunkRow& row : OCCurrentChunks())
                if (row.id == chunk.id) covered.insert(row.offset);
            break;
        }
        if (chunk.size != chunk.recordBytes)
            findings->Error(name + " tells " + std::to_string(chunk.size) + " bytes in place of " +
                            std::to_string(chunk.recordBytes));
    }
    if (position < file.size())
        findings->Error(std::to_string(file.size() - position) + " bytes behind the last chunk");
    if (legacy > 0) findings->Warning(std::to_string(legacy) + " chunks have an older shape; upgrade writes today's");
    for (const OCChunkRow& row : OCCurrentChunks())
        if (covered.count(row.offset) == 0)
            findings->Warning("chunk " + std::to_string(row.id) + " is not there; loading keeps what it stands for");
}

void ValidateValues(const OCSettings& settings, Findings* findings)
{
    for (const Field& field : Fields()) {
        if (field.kind != FieldKind::number) continue;
        const float value = std::bit_cast<float>(WordAt(settings, field.offset));
        if (!std::isfinite(value)) {
            findings->Error(field.name + " is " + FloatText(value));
            continue;
        }
        if (!field.group.empty()) continue;
        for (const EntryRange& range : kEntryRanges) {
            if (!EndsWith(field.name, range.end)) continue;
            if (value < range.low || value > range.high)
                findings->Warning(field.name + " is " + FloatText(value) + ", beyond " + FloatText(range.low) + " to " +
                                  FloatText(range.high));
            break;
        }
    }
}

void ValidateCurve(const HCurve& curve, const std::string& name, Findings* findings)
{
    if (curve.curveKind & 1) {
        for (const float sample : curve.points.samples)
            if (!std::isfinite(sample)) return findings->Error(name + " has a sample that is no number");
        return;
    }
    const HCurvePoints& points = curve.points.xy;
    if (points.pointCount < 1 || points.pointCount > static_cast<int32_t>(kOCCurvePointLimit))
        return findings->Error(name + " claims " + std::to_string(points.pointCount) + " points");
    for (int32_t i = 0; i < points.pointCount; ++i) {
        if (!std::isfinite(points.x[i]) || !std::isfinite(points.y[i]))
            return findings->Error(name + " has a point that is no number");
        if (points.x[i] < 0 || points.x[i] > 1 || points.y[i] < 0 || points.y[i] > 1)
            return findings->Warning(name + " has a point outside the plot");
        if (i > 0 && points.x[i] < points.x[i - 1])
            return findings->Warning(name + " has points that are out of order");
    }
}

} // namespace

ToolExit ValidateGrade(const ToolOptions& options)
{
    ToolGrade grade;
    if (!ReadGrade(options.files[0], options, &grade)) return ToolExit::input;
    Findings findings;
    if (grade.kind == OCGradeKind::settingsFile) ValidateChunks(grade.bytes, &findings);
    ValidateValues(grade.settings, &findings);
    for (int i = 0; i < kCurveCount; ++i)
        ValidateCurve(CurveOf(grade.settings, i), std::string("curve ") + kCurveNames[i], &findings);
    printf("%s: %s, %d errors, %d warnings\n", options.files[0].c_str(), KindName(grade.kind), findings.errors,
           findings.warnings);
    if (fflush(stdout) != 0) return ToolExit::output;
    const bool sound = findings.errors == 0 && (findings.warnings == 0 || !options.strict);
    return sound ? ToolExit::done : ToolExit::different;
}
