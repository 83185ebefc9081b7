// The rows of the chunks of settings files.
#include "src/TincturaFileIOTables.h"

#include <bit>
#include <iterator>

namespace {

#define AT(field) static_cast<uint32_t>(offsetof(OCSettings, field))

constexpr OCChunkRow kCurrent[] = {
    {.id = 29, .records = 4, .recordBytes = 40, .offset = AT(hsl)},
    {.id = 30, .records = 4, .recordBytes = 52, .offset = AT(rgb)},
    {.id = 31, .records = 4, .recordBytes = 52, .offset = AT(ycbcr)},
    {.id = 32, .records = 4, .recordBytes = 52, .offset = AT(cmy)},
    {.id = 33, .records = 1, .recordBytes = 52, .offset = AT(hueOffset)},
    {.id = 6, .records = 5, .recordBytes = 32, .offset = AT(levels)},
    {.id = 27, .records = 4, .recordBytes = 4108, .offset = AT(rgbCurve)},
    {.id = 8, .records = 3, .recordBytes = 12, .offset = AT(curveSelection)},
    {.id = 9, .records = 1, .recordBytes = 24, .offset = AT(lumaRange)},
    {.id = 35, .records = 6, .recordBytes = 124, .offset = AT(secondary)},
    {.id = 37, .records = 6, .recordBytes = 460, .offset = AT(secondaryExtension), .wholeOnly = true},
    {.id = 39, .records = 1, .recordBytes = 40, .offset = AT(limiter)},
    {.id = 13, .records = 1, .recordBytes = 28, .offset = AT(limiterPaneState)},
    {.id = 14, .records = 1, .recordBytes = 4, .offset = AT(primaryOn)},
    {.id = 15, .records = 1, .recordBytes = 4, .offset = AT(hslOn)},
    {.id = 16, .records = 1, .recordBytes = 4, .offset = AT(rgbOn)},
    {.id = 17, .records = 1, .recordBytes = 4, .offset = AT(ycbcrOn)},
    {.id = 18, .records = 1, .recordBytes = 4, .offset = AT(cmyOn)},
    {.id = 19, .records = 1, .recordBytes = 4, .offset = AT(hueOffsetOn)},
    {.id = 20, .records = 1, .recordBytes = 4, .offset = AT(levelsOn)},
    {.id = 21, .records = 1, .recordBytes = 4, .offset = AT(secondaryOn)},
    {.id = 28, .records = 1, .recordBytes = 4, .offset = AT(secondaryInUse)},
    {.id = 36, .records = 1, .recordBytes = 4, .offset = AT(secondaryTail)},
    {.id = 22, .records = 1, .recordBytes = 4, .offset = AT(curvesOn)},
    {.id = 23, .records = 1, .recordBytes = 4, .offset = AT(lumaRangeOn)},
    {.id = 24, .records = 1, .recordBytes = 4, .offset = AT(limiter_enable)},
    {.id = 25, .records = 1, .recordBytes = 4, .offset = AT(limiter_preview)},
    {.id = 40, .records = 3, .recordBytes = 4108, .offset = AT(hslCurve)},
    {.id = 41, .records = 1, .recordBytes = 4, .offset = AT(rgbCurvesOn)},
    {.id = 42, .records = 1, .recordBytes = 4, .offset = AT(hslCurvesOn)},
    {.id = 43, .records = 1, .recordBytes = 16, .offset = AT(inputControls_highlight_recovery)},
};

constexpr OCLegacyWord Word(uint8_t to, uint8_t from)
{
    return {.to = to, .from = from, .move = OCLegacyMove::word, .constant = 0};
}

constexpr OCLegacyWord Fixed(uint8_t to, uint8_t from)
{
    return {.to = to, .from = from, .move = OCLegacyMove::fixed, .constant = 0};
}

constexpr OCLegacyWord Flag(uint8_t to, uint8_t from)
{
    return {.to = to, .from = from, .move = OCLegacyMove::flag, .constant = 0};
}

constexpr OCLegacyWord Set(uint8_t to, uint32_t constant)
{
    return {.to = to, .from = 0, .move = OCLegacyMove::set, .constant = constant};
}

constexpr OCLegacyWord Set(uint8_t to, float constant)
{
    return Set(to, std::bit_cast<uint32_t>(constant));
}

// Vibrance, word 3 of today, came later.
constexpr OCLegacyWord kHSL[] = {Word(0, 0),  Fixed(1, 1), Fixed(2, 2), Fixed(4, 3), Fixed(5, 4),
                                 Fixed(6, 5), Fixed(7, 6), Fixed(8, 7), Fixed(9, 8)};

constexpr OCLegacyWord kChannels[] = {Word(0, 0),    Fixed(1, 1),   Fixed(2, 2),  Fixed(3, 3), Fixed(4, 4),
                                      Fixed(5, 5),   Fixed(6, 6),   Fixed(7, 7),  Fixed(8, 8), Fixed(9, 9),
                                      Fixed(10, 10), Fixed(11, 11), Fixed(12, 12)};

constexpr OCLegacyWord kHueOffset[] = {Word(0, 0),   Word(1, 1),    Fixed(2, 2),  Fixed(3, 3), Word(4, 4),
                                       Fixed(5, 5),  Fixed(6, 6),   Word(7, 7),   Fixed(8, 8), Fixed(9, 9),
                                       Word(10, 10), Fixed(11, 11), Fixed(12, 12)};

// A curve of points: today's record is the shared head and then as long as a sampled curve. The points are floats.
struct CurveWords {
    OCLegacyWord row[35];
};

constexpr CurveWords MakeCurveWords()
{
    CurveWords words = {.row = {Word(1, 1), Set(2, 0u), Word(3, 2)}};
    for (uint8_t i = 0; i < 2 * kOCCurvePointLimit; ++i)
        words.row[3 + i] = Word(static_cast<uint8_t>(4 + i), static_cast<uint8_t>(3 + i));
    return words;
}
constexpr CurveWords kCurve = MakeCurveWords();

// Deliberate: the green of each sample (words 14, 18, 22, 26 of today) keeps what the record holds.
#define SECONDARY_COMMON                                                                                               \
    Word(0, 0), Fixed(1, 1), Fixed(2, 2), Fixed(3, 3), Flag(4, 4), Word(6, 5), Fixed(7, 6), Fixed(8, 7), Word(9, 8),   \
        Fixed(10, 9), Fixed(11, 10), Word(12, 11), Word(13, 12), Word(15, 14), Word(16, 15), Word(17, 16),             \
        Word(19, 18), Word(20, 19), Word(21, 20), Word(23, 22), Word(24, 23), Word(25, 24), Word(27, 26)

constexpr OCLegacyWord kSecondary10[] = {SECONDARY_COMMON, Set(5, 1u), Set(28, 1.0f), Set(29, 1.0f), Set(30, 0.0f)};
constexpr OCLegacyWord kSecondary26[] = {SECONDARY_COMMON, Fixed(28, 27), Fixed(29, 28), Fixed(30, 29)};

constexpr OCLegacyWord kLimiter[] = {Fixed(0, 0), Fixed(1, 1), Fixed(2, 2), Word(3, 3), Fixed(4, 4),
                                     Fixed(5, 5), Fixed(6, 6), Word(7, 7),  Word(8, 8)};

constexpr OCLegacyChunkRow Legacy(uint32_t id, uint32_t records, uint32_t recordBytes, uint32_t offset, uint32_t stride,
                                  std::span<const OCLegacyWord> words, bool secondaries = false)
{
    return {.id = id,
            .records = records,
            .recordBytes = recordBytes,
            .offset = offset,
            .stride = stride,
            .words = words,
            .marksSecondaryInUse = secondaries};
}

constexpr OCLegacyChunkRow kLegacy[] = {
    Legacy(1, 4, 36, AT(hsl), sizeof(OCHSLBlock), kHSL),
    Legacy(2, 4, 52, AT(rgb), sizeof(OCChannelBlock), kChannels),
    Legacy(3, 4, 52, AT(ycbcr), sizeof(OCChannelBlock), kChannels),
    Legacy(4, 4, 52, AT(cmy), sizeof(OCChannelBlock), kChannels),
    Legacy(5, 1, 52, AT(hueOffset), sizeof(OCHueOffsetBlock), kHueOffset),
    Legacy(7, 4, 140, AT(rgbCurve), sizeof(HCurve), kCurve.row),
    Legacy(10, 6, 108, AT(secondary), sizeof(OCSecondary), kSecondary10, true),
    Legacy(12, 1, 36, AT(limiter), sizeof(OCLimiterBlock), kLimiter),
    Legacy(26, 6, 120, AT(secondary), sizeof(OCSecondary), kSecondary26, true),
};

/// Whole words, inside the record, each id once.
constexpr bool CurrentIsSound()
{
    for (size_t i = 0; i < std::size(kCurrent); ++i) {
        const OCChunkRow& row = kCurrent[i];
        if (row.recordBytes % 4 != 0 || row.offset + row.records * row.recordBytes > sizeof(OCSettings)) return false;
        for (size_t other = 0; other < i; ++other)
            if (kCurrent[other].id == row.id) return false;
    }
    return true;
}

/// No move leaves the older record or today's, no word is written twice, no id is one of today's.
constexpr bool LegacyIsSound()
{
    for (const OCLegacyChunkRow& row : kLegacy) {
        if (row.offset + row.records * row.stride > sizeof(OCSettings)) return false;
        uint64_t written = 0;
        for (const OCLegacyWord& word : row.words) {
            if (word.to * 4u >= row.stride || word.from * 4u >= row.recordBytes) return false;
            if (written & (uint64_t{1} << word.to)) return false;
            written |= uint64_t{1} << word.to;
        }
        for (const OCChunkRow& current : kCurrent)
            if (current.id == row.id) return false;
    }
    return true;
}

static_assert(CurrentIsSound() && LegacyIsSound());
static_assert(std::size(kCurrent) == 31 && std::size(kLegacy) == 9);
static_assert(std::size(kSecondary10) == 27 && std::size(kSecondary26) == 26);

} // namespace

std::span<const OCChunkRow> OCCurrentChunks()
{
    return kCurrent;
}

std::span<const OCLegacyChunkRow> OCLegacyChunks()
{
    return kLegacy;
}
