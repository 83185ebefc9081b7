// The named words of a grade. The catalogue of parameters comes first; what it leaves out (switches, samples, levels of
// the video system, source transfer) follows under names of the record's own fields.
#include "tools/ochrine-settings/SettingsTool.h"

#include "src/BPXML2Support.h"
#include "src/OCCatalogue.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <set>

const char* const kCurveNames[kCurveCount] = {"master", "red", "green", "blue", "hue", "saturation", "lightness"};

namespace {

#define AT(field) static_cast<uint32_t>(offsetof(OCSettings, field))

bool EndsWith(const std::string& text, const char* end)
{
    const size_t length = std::strlen(end);
    return text.size() >= length && text.compare(text.size() - length, length, end) == 0;
}

FieldKind KindOfKey(const std::string& key)
{
    if (EndsWith(key, "_preview") || EndsWith(key, "_invert") || EndsWith(key, "_enable")) return FieldKind::flag;
    if (EndsWith(key, "_huewheel") || key == "limiter_clip_method" || key == "limiter_system")
        return FieldKind::integer;
    return FieldKind::number;
}

/// Keys as the catalogue spells them, except that a key which has been there already gets a name of its own: the
/// catalogue gives the pedestals of the group triples the key of the gain.
void AddParameters(std::vector<Field>* fields)
{
    std::set<std::string> seen;
    for (const OCKeyRow& row : OCParameterKeys()) {
        std::string key = row.key;
        if (!seen.insert(key).second) {
            if (EndsWith(key, "_gain")) key.resize(key.size() - 4);
            key += "ped";
        }
        fields->push_back({.group = "", .name = key, .offset = row.offset, .kind = KindOfKey(row.key)});
    }
}

struct Named {
    const char* name;
    uint32_t offset;
};

void AddSwitches(std::vector<Field>* fields)
{
    constexpr Named heads[] = {
        {"primary", AT(primaryOn)},
        {"hsl", AT(hslOn)},
        {"rgb", AT(rgbOn)},
        {"ycbcr", AT(ycbcrOn)},
        {"cmy", AT(cmyOn)},
        {"hueoffset", AT(hueOffsetOn)},
        {"hueoffset_active", AT(hueOffset)},
        {"levels", AT(levelsOn)},
        {"curves", AT(curvesOn)},
        {"rgb_curves", AT(rgbCurvesOn)},
        {"hsl_curves", AT(hslCurvesOn)},
        {"lumarange", AT(lumaRangeOn)},
        {"secondary", AT(secondaryOn)},
        {"secondary_in_use", AT(secondaryInUse)},
        {"source_transfer", AT(transfer)},
    };
    const auto add = [fields](const std::string& name, uint32_t offset) {
        fields->push_back({.group = "switches", .name = name, .offset = offset, .kind = FieldKind::flag});
    };
    for (const Named& head : heads) add(head.name, head.offset);

    constexpr Named groups[] = {{"hsl", AT(hsl)}, {"rgb", AT(rgb)}, {"ycbcr", AT(ycbcr)}, {"cmy", AT(cmy)}};
    constexpr const char* ranges[] = {"master", "highlights", "midtones", "shadows"};
    for (const Named& group : groups) {
        const size_t stride = group.offset == AT(hsl) ? sizeof(OCHSLBlock) : sizeof(OCChannelBlock);
        for (uint32_t i = 0; i < 4; ++i)
            add(std::string(group.name) + "_" + ranges[i], group.offset + i * static_cast<uint32_t>(stride));
    }
    constexpr const char* channels[] = {"master", "red", "green", "blue", "luma"};
    for (uint32_t i = 0; i < 5; ++i)
        add(std::string("levels_") + channels[i], AT(levels) + i * static_cast<uint32_t>(sizeof(OCLevelsBlock)) +
                                                      static_cast<uint32_t>(offsetof(OCLevelsBlock, on)));
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
        add(std::string("secondary_") + static_cast<char>('a' + i),
            AT(secondary) + i * static_cast<uint32_t>(sizeof(OCSecondary)));
}

void AddSamples(std::vector<Field>* fields)
{
    constexpr const char* parts[] = {"on", "red", "green", "blue"};
    for (uint32_t i = 0; i < kOCSecondaryCount; ++i) {
        const uint32_t secondary = AT(secondary) + i * static_cast<uint32_t>(sizeof(OCSecondary));
        const std::string prefix = std::string("secondary_") + static_cast<char>('a' + i);
        fields->push_back({.group = "samples",
                           .name = prefix + "_preview_style",
                           .offset = secondary + static_cast<uint32_t>(offsetof(OCSecondary, previewStyle)),
                           .kind = FieldKind::integer});
        for (uint32_t sample = 0; sample < 4; ++sample)
            for (uint32_t part = 0; part < 4; ++part)
                fields->push_back({.group = "samples",
                                   .name = prefix + "_sample_" + std::to_string(sample + 1) + "_" + parts[part],
                                   .offset = secondary + static_cast<uint32_t>(offsetof(OCSecondary, sample)) +
                                             16 * sample + 4 * part,
                                   .kind = part == 0 ? FieldKind::flag : FieldKind::number});
    }
}

void AddVideo(std::vector<Field>* fields)
{
    constexpr Named integers[] = {
        {"videoBlackLevel", AT(videoLevels.videoBlackLevel)},
        {"videoWhiteLevel", AT(videoLevels.videoWhiteLevel)},
        {"videoMinLevel", AT(videoLevels.videoMinLevel)},
        {"videoMaxLevel", AT(videoLevels.videoMaxLevel)},
        {"videoSetupPresent", AT(videoLevels.videoSetupPresent)},
        {"videoSystem", AT(videoLevels.videoSystem)},
        {"transferVideoGamma", AT(transfer.transferVideoGamma)},
        {"transferLog", AT(transfer.transferLog)},
        {"transferOtherA", AT(transfer.transferOtherA)},
        {"transferOtherB", AT(transfer.transferOtherB)},
        {"transferRefBlack", AT(transfer.transferRefBlack)},
        {"transferRefWhite", AT(transfer.transferRefWhite)},
        {"transferMode", AT(transfer.transferMode)},
    };
    for (const Named& row : integers)
        fields->push_back({.group = "video", .name = row.name, .offset = row.offset, .kind = FieldKind::integer});
    fields->push_back(
        {.group = "video", .name = "transferGamma", .offset = AT(transfer.transferGamma), .kind = FieldKind::number});
}

} // namespace

std::vector<Field> Fields()
{
    std::vector<Field> fields;
    AddParameters(&fields);
    AddSwitches(&fields);
    AddSamples(&fields);
    AddVideo(&fields);
    return fields;
}

const HCurve& CurveOf(const OCSettings& settings, int index)
{
    return index < 4 ? settings.rgbCurve[index] : settings.hslCurve[index - 4];
}

uint32_t WordAt(const OCSettings& settings, uint32_t offset)
{
    uint32_t word;
    std::memcpy(&word, reinterpret_cast<const uint8_t*>(&settings) + offset, sizeof word);
    return word;
}

std::string FloatText(float value)
{
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    if (value == 0 && std::signbit(value)) return "-0.0"; // many readers of JSON lose the sign of "-0"
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
    return {text, end.ptr};
}

std::string ValueText(const OCSettings& settings, const Field& field)
{
    const uint32_t word = WordAt(settings, field.offset);
    switch (field.kind) {
    case FieldKind::flag: return word == 0 ? "false" : word == 1 ? "true" : std::to_string(word);
    case FieldKind::integer: return std::to_string(std::bit_cast<int32_t>(word));
    case FieldKind::number: break;
    }
    const float value = std::bit_cast<float>(word);
    return std::isfinite(value) ? FloatText(value) : Quoted(FloatText(value));
}

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : BPXML2_ValidUtf8(text)) {
        if (character == '"' || character == '\\') {
            quoted += '\\';
            quoted += character;
        } else if (static_cast<unsigned char>(character) < 0x20) {
            char code[8];
            snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(character)));
            quoted += code;
        } else {
            quoted += character;
        }
    }
    return quoted + "\"";
}
