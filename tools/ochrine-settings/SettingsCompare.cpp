// compare: which named values of two grades differ.
#include "tools/ochrine-settings/SettingsTool.h"

#include <cstdio>
#include <cstring>
#include <set>

namespace {

/// Whether two curves have the same shape; what lies behind their points is no part of it.
bool SameShape(const HCurve& first, const HCurve& second)
{
    if ((first.curveKind & 1) != (second.curveKind & 1)) return false;
    if (first.curveKind & 1) return std::memcmp(&first.points, &second.points, sizeof first.points) == 0;
    const HCurvePoints &a = first.points.xy, &b = second.points.xy;
    if (a.pointCount != b.pointCount) return false;
    if (a.pointCount < 0 || a.pointCount > static_cast<int32_t>(kOCCurvePointLimit)) return true;
    const size_t bytes = static_cast<size_t>(a.pointCount) * sizeof(float);
    return std::memcmp(a.x, b.x, bytes) == 0 && std::memcmp(a.y, b.y, bytes) == 0;
}

/// The words that have no name: state of controls, and what lies behind the points of curves.
int CompareWords(const OCSettings& first, const OCSettings& second, const std::vector<Field>& fields)
{
    std::set<uint32_t> named;
    for (const Field& field : fields) named.insert(field.offset);
    int count = 0;
    for (uint32_t offset = 0; offset < sizeof(OCSettings); offset += 4) {
        if (named.count(offset) != 0 || WordAt(first, offset) == WordAt(second, offset)) continue;
        printf("word %u: 0x%08x -> 0x%08x\n", offset, WordAt(first, offset), WordAt(second, offset));
        ++count;
    }
    return count;
}

} // namespace

ToolExit CompareGrades(const ToolOptions& options)
{
    ToolGrade first, second;
    if (!ReadGrade(options.files[0], options, &first)) return ToolExit::input;
    if (!ReadGrade(options.files[1], options, &second)) return ToolExit::input;

    int count = 0;
    const std::vector<Field> fields = Fields();
    for (const Field& field : fields) {
        if (WordAt(first.settings, field.offset) == WordAt(second.settings, field.offset)) continue;
        const std::string name = field.group.empty() ? field.name : field.group + "." + field.name;
        printf("%s: %s -> %s\n", name.c_str(), ValueText(first.settings, field).c_str(),
               ValueText(second.settings, field).c_str());
        ++count;
    }
    for (int i = 0; i < kCurveCount; ++i) {
        if (SameShape(CurveOf(first.settings, i), CurveOf(second.settings, i))) continue;
        printf("curveShapes.%s: another shape\n", kCurveNames[i]);
        ++count;
    }
    if (options.words) count += CompareWords(first.settings, second.settings, fields);
    if (fflush(stdout) != 0) return ToolExit::output;
    return count == 0 ? ToolExit::done : ToolExit::different;
}
