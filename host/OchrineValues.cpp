// The C interface: single values by the catalogue, switches and curves.
#include "host/OchrineObjects.h"

#include "src/OCCatalogue.h"

#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

namespace {

#define AT(field) static_cast<uint32_t>(offsetof(OCSettings, field))

/// Switches above a part of the record, the innermost first; 0 ends the list.
struct SwitchRow {
    uint32_t first, end; ///< the part
    uint32_t offset[3];
};

#define BLOCK(group, range, block, inner, outer)                                                                       \
    {                                                                                                                  \
        AT(group.range), AT(group.range) + sizeof(block),                                                              \
        {                                                                                                              \
            AT(group.range.on), inner, outer                                                                           \
        }                                                                                                              \
    }
#define GROUP(group, block, inner, outer)                                                                              \
    BLOCK(group, master, block, inner, outer), BLOCK(group, highlights, block, inner, outer),                          \
        BLOCK(group, midtones, block, inner, outer), BLOCK(group, shadows, block, inner, outer)
#define LEVELS(index)                                                                                                  \
    {                                                                                                                  \
        AT(levels[index]), AT(levels[index]) + sizeof(OCLevelsBlock),                                                  \
        {                                                                                                              \
            AT(levels[index].on), AT(levelsOn), 0                                                                      \
        }                                                                                                              \
    }
#define SECONDARY(index)                                                                                               \
    {                                                                                                                  \
        AT(secondary[index]), AT(secondary[index]) + sizeof(OCSecondary),                                              \
        {                                                                                                              \
            AT(secondary[index].on), AT(secondaryInUse), AT(secondaryOn)                                               \
        }                                                                                                              \
    }

constexpr SwitchRow kSwitches[] = {
    GROUP(hsl, OCHSLBlock, AT(hslOn), AT(primaryOn)),
    GROUP(rgb, OCChannelBlock, AT(rgbOn), 0),
    GROUP(ycbcr, OCChannelBlock, AT(ycbcrOn), 0),
    GROUP(cmy, OCChannelBlock, AT(cmyOn), 0),
    {AT(hueOffset), AT(hueOffset) + sizeof(OCHueOffsetBlock), {AT(hueOffsetOn), AT(primaryOn), 0}},
    LEVELS(0),
    LEVELS(1),
    LEVELS(2),
    LEVELS(3),
    LEVELS(4),
    {AT(rgbCurve), AT(rgbCurve) + 4 * sizeof(HCurve), {AT(rgbCurvesOn), AT(curvesOn), 0}},
    {AT(hslCurve), AT(hslCurve) + 3 * sizeof(HCurve), {AT(hslCurvesOn), AT(curvesOn), 0}},
    {AT(lumaRange), AT(lumaRange) + sizeof(OCLumaRangeBlock), {AT(lumaRangeOn), 0, 0}},
    SECONDARY(0),
    SECONDARY(1),
    SECONDARY(2),
    SECONDARY(3),
    SECONDARY(4),
    SECONDARY(5),
    {AT(limiter_enable), AT(limiter) + sizeof(OCLimiterBlock), {AT(limiter_enable), 0, 0}},
    // Both recoveries live with the Levels master block.
    {AT(inputControls_highlight_recovery), AT(tail), {AT(levels[0].on), AT(levelsOn), 0}},
};
#undef BLOCK
#undef GROUP
#undef LEVELS
#undef SECONDARY

/// Keys that are not floats, by how they end.
struct TypeRow {
    std::string_view ending;
    uint32_t type;
};
constexpr TypeRow kTypes[] = {
    {"_huewheel", OCHRINE_INTEGER},    {"_preview", OCHRINE_SWITCH},
    {"_invert", OCHRINE_SWITCH},       {"_enable", OCHRINE_SWITCH}, // of the limiter and of its soft clip
    {"_clip_method", OCHRINE_INTEGER}, {"limiter_system", OCHRINE_INTEGER},
};

uint32_t TypeOf(std::string_view key)
{
    for (const TypeRow& row : kTypes)
        if (key.size() >= row.ending.size() && key.substr(key.size() - row.ending.size()) == row.ending)
            return row.type;
    return OCHRINE_FLOAT;
}

ochrine_value_info InfoOf(uint32_t index)
{
    const auto rows = OCParameterKeys();
    ochrine_value_info info = {
        .key = rows[index].key, .occurrence = 0, .offset = rows[index].offset, .type = TypeOf(rows[index].key)};
    for (uint32_t i = 0; i < index; ++i)
        if (std::strcmp(rows[i].key, rows[index].key) == 0) ++info.occurrence;
    return info;
}

const OCKeyRow* RowAt(uint32_t offset)
{
    for (const OCKeyRow& row : OCParameterKeys())
        if (row.offset == offset) return &row;
    return nullptr;
}

uint32_t Word(const OCSettings& settings, uint32_t offset)
{
    uint32_t word;
    std::memcpy(&word, reinterpret_cast<const uint8_t*>(&settings) + offset, sizeof word);
    return word;
}

void SetWord(OCSettings* settings, uint32_t offset, uint32_t word)
{
    std::memcpy(reinterpret_cast<uint8_t*>(settings) + offset, &word, sizeof word);
}

/// The word that a value becomes; false when it cannot be one.
bool Encode(double value, uint32_t type, uint32_t* word)
{
    if (!std::isfinite(value)) return false;
    if (type == OCHRINE_SWITCH) {
        *word = value != 0;
        return true;
    }
    if (type == OCHRINE_INTEGER) {
        if (value != std::floor(value) || value < -2147483648.0 || value > 2147483647.0) return false;
        *word = static_cast<uint32_t>(static_cast<int32_t>(value));
        return true;
    }
    if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max())) return false;
    const auto single = static_cast<float>(value);
    std::memcpy(word, &single, sizeof single);
    return true;
}

void SetSwitches(OCSettings* settings, const SwitchRow& row, bool on)
{
    for (uint32_t offset : row.offset) {
        if (offset == 0) return;
        SetWord(settings, offset, on);
        if (!on) return;
    }
}

const SwitchRow* SwitchesAt(uint32_t offset)
{
    for (const SwitchRow& row : kSwitches)
        if (offset >= row.first && offset < row.end) return &row;
    return nullptr;
}

constexpr uint32_t kCurves = 7;

uint32_t CurveOffset(uint32_t curve)
{
    return static_cast<uint32_t>(curve < 4 ? AT(rgbCurve) + curve * sizeof(HCurve)
                                           : AT(hslCurve) + (curve - 4) * sizeof(HCurve));
}

bool IsUnit(float value)
{
    return value >= 0 && value <= 1; // a NaN is neither
}

} // namespace

uint32_t ochrine_value_count(void)
{
    return static_cast<uint32_t>(OCParameterKeys().size());
}

ochrine_result ochrine_value_at(uint32_t index, ochrine_value_info* info)
{
    if (!info || index >= ochrine_value_count()) return OCHRINE_ARGUMENT;
    *info = InfoOf(index);
    return OCHRINE_OK;
}

ochrine_result ochrine_value_find(const char* key, uint32_t occurrence, ochrine_value_info* info)
{
    if (!key || !info) return OCHRINE_ARGUMENT;
    const auto rows = OCParameterKeys();
    uint32_t seen = 0;
    for (uint32_t i = 0; i < rows.size(); ++i) {
        if (std::strcmp(rows[i].key, key) != 0 || seen++ != occurrence) continue;
        *info = InfoOf(i);
        return OCHRINE_OK;
    }
    return OCHRINE_NO_VALUE;
}

ochrine_result ochrine_grade_get(const ochrine_grade* grade, uint32_t offset, double* value)
{
    if (!grade || !value) return OCHRINE_ARGUMENT;
    const OCKeyRow* row = RowAt(offset);
    if (!row) return OCHRINE_NO_VALUE;
    const uint32_t word = Word(grade->settings, offset);
    switch (TypeOf(row->key)) {
    case OCHRINE_SWITCH: *value = word != 0; break;
    case OCHRINE_INTEGER: *value = static_cast<int32_t>(word); break;
    default: {
        float single;
        std::memcpy(&single, &word, sizeof single);
        *value = static_cast<double>(single);
    }
    }
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_set(ochrine_grade* grade, uint32_t offset, double value)
{
    if (!grade) return OCHRINE_ARGUMENT;
    const OCKeyRow* row = RowAt(offset);
    if (!row) return OCHRINE_NO_VALUE;
    uint32_t word = 0;
    if (!Encode(value, TypeOf(row->key), &word)) return OCHRINE_ARGUMENT;
    SetWord(&grade->settings, offset, word);
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_get_key(const ochrine_grade* grade, const char* key, double* value)
{
    ochrine_value_info info;
    if (!grade || !value) return OCHRINE_ARGUMENT;
    if (ochrine_result err = ochrine_value_find(key, 0, &info); err != OCHRINE_OK) return err;
    return ochrine_grade_get(grade, info.offset, value);
}

ochrine_result ochrine_grade_set_key(ochrine_grade* grade, const char* key, double value)
{
    ochrine_value_info info;
    if (!grade) return OCHRINE_ARGUMENT;
    if (ochrine_result err = ochrine_value_find(key, 0, &info); err != OCHRINE_OK) return err;
    return ochrine_grade_set(grade, info.offset, value);
}

ochrine_result ochrine_grade_switch(ochrine_grade* grade, uint32_t offset, int on)
{
    if (!grade) return OCHRINE_ARGUMENT;
    const SwitchRow* row = RowAt(offset) ? SwitchesAt(offset) : nullptr;
    if (!row) return OCHRINE_NO_VALUE;
    SetSwitches(&grade->settings, *row, on != 0);
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_get_word(const ochrine_grade* grade, uint32_t offset, uint32_t* word)
{
    if (!grade || !word || offset % 4 != 0) return OCHRINE_ARGUMENT;
    if (offset >= sizeof(OCSettings)) return OCHRINE_NO_VALUE;
    *word = Word(grade->settings, offset);
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_set_word(ochrine_grade* grade, uint32_t offset, uint32_t word)
{
    if (!grade || offset % 4 != 0) return OCHRINE_ARGUMENT;
    if (offset == AT(signature) && word != kOCSettingsSignature) return OCHRINE_ARGUMENT; // it would be no grade
    if (offset >= sizeof(OCSettings)) return OCHRINE_NO_VALUE;
    SetWord(&grade->settings, offset, word);
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_set_curve(ochrine_grade* grade, uint32_t curve, uint32_t count, const float* x,
                                       const float* y)
{
    if (!grade || !x || !y || curve >= kCurves || count < 1 || count > kOCCurvePointLimit) return OCHRINE_ARGUMENT;
    for (uint32_t i = 0; i < count; ++i)
        if (!IsUnit(x[i]) || !IsUnit(y[i]) || (i > 0 && x[i] < x[i - 1])) return OCHRINE_ARGUMENT;
    HCurve* record = curve < 4 ? &grade->settings.rgbCurve[curve] : &grade->settings.hslCurve[curve - 4];
    record->curveKind = 0;
    record->points.xy = {}; // slots behind the points take part in a curve: they are always the same here
    record->points.xy.pointCount = static_cast<int32_t>(count);
    std::memcpy(record->points.xy.x, x, count * sizeof(float));
    std::memcpy(record->points.xy.y, y, count * sizeof(float));
    return OCHRINE_OK;
}

ochrine_result ochrine_grade_switch_curve(ochrine_grade* grade, uint32_t curve, int on)
{
    if (!grade || curve >= kCurves) return OCHRINE_ARGUMENT;
    SetSwitches(&grade->settings, *SwitchesAt(CurveOffset(curve)), on != 0);
    return OCHRINE_OK;
}
