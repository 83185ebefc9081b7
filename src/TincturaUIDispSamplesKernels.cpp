// The traces that go sample by sample, fast: luma in the picture's colours, and the Y/C display, where the chroma
// envelope makes the order of the samples matter.
//
// Luma and chroma of a line's samples are computed together. Light in the picture's colours gathers by code and column.
// For the envelope a tile of columns is turned, so that the two pixels of a hit lie side by side: eight bytes, one load,
// one saturating sum, one store. What an envelope would paint is kept as bits: a pixel is dirty until paint leaves it as
// it is, because it has the envelope's colour or belongs to the trace. So a sample paints only what is dirty in its
// reach, mostly nothing.
#include "src/TincturaUIDispSamples.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/TincturaUIDispSamplesKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef OC_WAVEFORM_LIGHT_PIXEL
#define OC_WAVEFORM_LIGHT_PIXEL

#include <algorithm>
#include <cstring>

/// One pixel lit by a word; one without alpha leaves it as it is.
static inline void LightPixel(uint8_t* pixel, uint32_t light)
{
    if (light == 0) return;
    pixel[0] = 0xFF;
    for (int channel = 1; channel < 4; ++channel) {
        const uint32_t sum = pixel[channel] + (light >> (channel * 8) & 255);
        pixel[channel] = static_cast<uint8_t>(std::min(sum, kWaveformPictureCeiling));
    }
}

#endif

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE void LumaLine(const uint8_t* pixels, size_t count, const uint32_t factor[3], uint16_t* luma)
{
    const hn::ScalableTag<uint32_t> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Rebind<uint16_t, decltype(d)> d16;
    const auto low = hn::Set(d, 255u), half = hn::Set(d, 1u << (kWaveformLumaBits - 1));
    const auto red = hn::Set(d, factor[0]), green = hn::Set(d, factor[1]), blue = hn::Set(d, factor[2]);
    for (size_t i = 0; i < count; i += hn::Lanes(d)) {
        const auto word = hn::LoadU(d, reinterpret_cast<const uint32_t*>(pixels) + i);
        const auto r = hn::And(hn::ShiftRight<8>(word), low) * red + half;
        const auto g = hn::And(hn::ShiftRight<16>(word), low) * green + half;
        const auto b = hn::ShiftRight<24>(word) * blue + half;
        const auto sum = hn::ShiftRight<kWaveformLumaBits>(r) + hn::ShiftRight<kWaveformLumaBits>(g) +
                         hn::ShiftRight<kWaveformLumaBits>(b);
        hn::StoreU(hn::DemoteTo(d16, hn::BitCast(di, sum)), d16, luma + i);
    }
}

void LumaOfPixels(const uint8_t* pixels, size_t count, const uint32_t factor[3], uint16_t* luma)
{
    LumaLine(pixels, count, factor, luma);
}

#if HWY_TARGET == HWY_SCALAR

/// Registers hold no four pixels here.
template <bool kOut> int64_t MoveFours(uint8_t*, int64_t, uint32_t*, int64_t, int64_t)
{
    return 0;
}

struct Pair {
    uint8_t byte[8];
};

Pair LoadPair(const uint32_t* upper)
{
    Pair pair;
    std::memcpy(&pair, upper, sizeof pair);
    return pair;
}

void StorePair(Pair pair, uint32_t* upper)
{
    std::memcpy(upper, &pair, sizeof pair);
}

template <bool kPicture> Pair LightOf(const WaveformCodeLight& code, uint32_t word)
{
    Pair light;
    for (int i = 0; i < 8; ++i) {
        const uint32_t half = i % 4 == 0 ? 0 : word >> (i % 4 * 8 + 1) & 0x7F;
        const uint32_t part = kPicture ? (half * code.weight[i] >> 16) + (half & code.whole[i]) : 0;
        light.byte[i] = static_cast<uint8_t>(code.light[i] + part);
    }
    return light;
}

Pair Sum(Pair a, Pair b)
{
    for (int i = 0; i < 8; ++i)
        a.byte[i] = static_cast<uint8_t>(std::min<uint32_t>(uint32_t{a.byte[i]} + b.byte[i], 255));
    return a;
}

Pair UpTo(Pair pair, const uint8_t ceiling[8])
{
    for (int i = 0; i < 8; ++i) pair.byte[i] = std::min(pair.byte[i], ceiling[i]);
    return pair;
}

template <bool kSecond> void LightRow(uint8_t* pixels, const uint32_t* light, int64_t count)
{
    for (int64_t c = 0; c < count; ++c) LightPixel(pixels + c * 4, light[2 * c + (kSecond ? 1 : 0)]);
}

Pair Behind(Pair pair, uint32_t envelope)
{
    for (int i = 0; i < 8; i += 4)
        if (pair.byte[i + 1] < kWaveformEnvelopeBelow) std::memcpy(pair.byte + i, &envelope, sizeof envelope);
    return pair;
}

void Magnitudes(const WaveformTrace& t, uint64_t* packed, size_t count)
{
    const auto side = [](uint64_t part) {
        const int64_t value = static_cast<int64_t>(part & 0xFFFFFFFFu) - kWaveformChromaBias;
        return std::min<int64_t>(((value < 0 ? -value : value) + 0x8000) >> 16, kChromaMagnitudeSide - 1);
    };
    for (size_t i = 0; i < count; ++i)
        packed[i] = t.magnitude[side(packed[i]) * kChromaMagnitudeSide + side(packed[i] >> 32)];
}

#else

/// Turns four rows of four pixels at a time, in or out; returns how many of the columns it moved.
template <bool kOut>
HWY_INLINE int64_t MoveFours(uint8_t* pixels, int64_t rowBytes, uint32_t* words, int64_t stride, int64_t count)
{
    const hn::FixedTag<uint32_t, 4> d;
    const hn::Repartition<uint64_t, decltype(d)> d64;
    int64_t c = 0;
    for (; c + 4 <= count; c += 4) {
        uint32_t* const column = words + c * stride;
        const auto rowAt = [&](int64_t row)
                               HWY_ATTR { return reinterpret_cast<uint32_t*>(pixels + row * rowBytes) + c; };
        const auto from = [&](int64_t i) HWY_ATTR { return hn::LoadU(d, kOut ? column + i * stride : rowAt(i)); };
        const auto to = [&](int64_t i, hn::Vec<decltype(d64)> four)
                            HWY_ATTR { hn::StoreU(hn::BitCast(d, four), d, kOut ? rowAt(i) : column + i * stride); };
        const auto a = from(0), b = from(1), e = from(2), f = from(3);
        const auto ab = hn::BitCast(d64, hn::InterleaveLower(d, a, b)),
                   ef = hn::BitCast(d64, hn::InterleaveLower(d, e, f));
        const auto AB = hn::BitCast(d64, hn::InterleaveUpper(d, a, b)),
                   EF = hn::BitCast(d64, hn::InterleaveUpper(d, e, f));
        to(0, hn::InterleaveLower(d64, ab, ef));
        to(1, hn::InterleaveUpper(d64, ab, ef));
        to(2, hn::InterleaveLower(d64, AB, EF));
        to(3, hn::InterleaveUpper(d64, AB, EF));
    }
    return c;
}

using DPair = hn::FixedTag<uint8_t, 8>;
using Pair = hn::Vec<DPair>;

HWY_INLINE Pair LoadPair(const uint32_t* upper)
{
    return hn::LoadU(DPair(), reinterpret_cast<const uint8_t*>(upper));
}

HWY_INLINE void StorePair(Pair pair, uint32_t* upper)
{
    hn::StoreU(pair, DPair(), reinterpret_cast<uint8_t*>(upper));
}

/// What a sample adds to its two pixels.
template <bool kPicture> HWY_INLINE Pair LightOf(const WaveformCodeLight& code, uint32_t word)
{
    const DPair d;
    const auto light = hn::LoadU(d, code.light);
    if (!kPicture) return light;
    const hn::FixedTag<uint16_t, 8> d16;
    const hn::RebindToSigned<decltype(d16)> di16;
    const uint64_t half = uint64_t{word >> 1 & 0x7F7F7F00} * 0x100000001;
    const auto wide = hn::PromoteTo(d16, hn::BitCast(d, hn::Set(hn::FixedTag<uint64_t, 1>(), half)));
    const auto parts = hn::MulHigh(wide, hn::Load(d16, code.weight)) + hn::And(wide, hn::Load(d16, code.whole));
    return hn::Or(light, hn::DemoteTo(d, hn::BitCast(di16, parts)));
}

HWY_INLINE Pair Sum(Pair a, Pair b)
{
    return hn::SaturatedAdd(a, b);
}

HWY_INLINE Pair UpTo(Pair pair, const uint8_t ceiling[8])
{
    return hn::Min(pair, hn::LoadU(DPair(), ceiling));
}

/// Lights pixels of one row with every second word of `light`, from the first or the second on; what has no alpha was
/// not hit.
template <bool kSecond> HWY_INLINE void LightRow(uint8_t* pixels, const uint32_t* light, int64_t count)
{
    const hn::FixedTag<uint32_t, 4> d;
    const hn::Repartition<uint8_t, decltype(d)> d8;
    const auto stop = hn::BitCast(d8, hn::Set(d, kWaveformPictureStop));
    int64_t c = 0;
    for (; c + 4 <= count; c += 4) {
        const auto a = hn::LoadU(d, light + 2 * c), b = hn::LoadU(d, light + 2 * c + 4);
        const auto add = kSecond ? hn::ConcatOdd(d, b, a) : hn::ConcatEven(d, b, a);
        const auto have = hn::LoadU(d8, pixels + c * 4);
        const auto sum = hn::BitCast(d, hn::Min(hn::SaturatedAdd(have, hn::BitCast(d8, add)), stop));
        const auto lit = hn::IfThenElse(hn::Eq(add, hn::Zero(d)), hn::BitCast(d, have), sum);
        hn::StoreU(hn::BitCast(d8, lit), d8, pixels + c * 4);
    }
    for (; c < count; ++c) LightPixel(pixels + c * 4, light[2 * c + (kSecond ? 1 : 0)]);
}

/// The envelope painted over what is no trace.
HWY_INLINE Pair Behind(Pair pair, uint32_t envelope)
{
    const hn::FixedTag<uint32_t, 2> d;
    const hn::RebindToSigned<decltype(d)> di;
    const auto words = hn::BitCast(d, pair);
    const auto red = hn::BitCast(di, hn::And(words, hn::Set(d, 0xFF00u)));
    const auto isBehind = hn::Lt(red, hn::Set(di, kWaveformEnvelopeBelow << 8));
    return hn::BitCast(DPair(), hn::IfThenElse(hn::RebindMask(d, isBehind), hn::Set(d, envelope), words));
}

/// B-Y and R-Y become their length. A root is never near a half, so the nearest whole number is the table's.
void Magnitudes(const WaveformTrace&, uint64_t* packed, size_t count)
{
    const hn::ScalableTag<uint32_t> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::RebindToFloat<decltype(d)> df;
    const hn::RepartitionToWide<decltype(d)> d64;
    auto* const halves = reinterpret_cast<uint32_t*>(packed);
    const auto bias = hn::Set(di, static_cast<int32_t>(kWaveformChromaBias)), round = hn::Set(di, 0x8000);
    const auto most = hn::Set(di, kChromaMagnitudeSide - 1);
    const auto low = hn::Set(d64, uint64_t{0xFFFFFFFF});
    for (size_t i = 0; i < 2 * count; i += hn::Lanes(d)) {
        const auto value = hn::BitCast(di, hn::LoadU(d, halves + i)) - bias;
        const auto side = hn::Min(hn::ShiftRight<16>(hn::Abs(value) + round), most);
        const auto squares = hn::BitCast(d64, side * side);
        const auto sum = hn::BitCast(di, squares + hn::ShiftRight<32>(squares));
        const auto length = hn::NearestInt(hn::Sqrt(hn::ConvertTo(df, sum)));
        hn::StoreU(hn::BitCast(d, hn::And(hn::BitCast(d64, length), low)), d, halves + i);
    }
}

#endif

/// Rows of a column become dirty.
HWY_INLINE void Soil(WaveformTileColumn* column, int32_t upper)
{
    for (int32_t row = upper; row <= upper + 1; ++row) {
        column->dirty[row >> 6] |= uint64_t{1} << (row & 63);
        if (row < column->cleanTop || row > column->cleanBottom) continue;
        if (row - column->cleanTop > column->cleanBottom - row)
            column->cleanBottom = row - 1;
        else
            column->cleanTop = row + 1;
    }
}

/// Paints what is dirty in rows [top, bottom].
HWY_NOINLINE void Paint(WaveformTileColumn* column, int32_t top, int32_t bottom, uint32_t envelope)
{
    for (int32_t group = top >> 6; group <= bottom >> 6; ++group) {
        uint64_t range = ~uint64_t{0};
        if (group == top >> 6) range &= ~uint64_t{0} << (top & 63);
        if (group == bottom >> 6) range &= ~uint64_t{0} >> (63 - (bottom & 63));
        uint64_t bits = column->dirty[group] & range;
        column->dirty[group] &= ~range;
        for (; bits != 0; bits &= bits - 1) {
            uint32_t& word = column->rows[group * 64 + __builtin_ctzll(bits)];
            if ((word >> 8 & 255) < kWaveformEnvelopeBelow) word = envelope;
        }
    }
    const bool meets = bottom >= column->cleanTop - 1 && top <= column->cleanBottom + 1;
    if (meets && column->cleanTop <= column->cleanBottom) {
        column->cleanTop = std::min(top, column->cleanTop);
        column->cleanBottom = std::max(bottom, column->cleanBottom);
    } else {
        column->cleanTop = top;
        column->cleanBottom = bottom;
    }
}

template <bool kPicture>
HWY_INLINE void PlotBehind(const WaveformTrace& t, const WaveformSamples& s, WaveformTileColumn* column, uint32_t word,
                           uint32_t luma, uint32_t magnitude)
{
    const WaveformCodeLight& code = s.code[luma];
    uint32_t* const at = column->rows + code.upper;
    const Pair lit = UpTo(Sum(LoadPair(at), LightOf<kPicture>(code, word)), code.ceiling);
    if (magnitude == 0) {
        StorePair(lit, at);
        Soil(column, code.upper);
        return;
    }
    const int32_t top = s.highRow[luma + magnitude], bottom = s.lowRow[luma + kWaveformMagnitudes - 1 - magnitude];
    if (top <= code.upper && code.upper < bottom) {
        StorePair(Behind(lit, t.envelopeWord), at);
    } else {
        StorePair(lit, at);
        Soil(column, code.upper);
        if (top > bottom) return;
    }
    if (top < column->cleanTop || bottom > column->cleanBottom) Paint(column, top, bottom, t.envelopeWord);
}

/// Runs `use(words, luma codes)` over the lines of a tile.
template <class Use>
HWY_INLINE void ForLines(const WaveformTrace& t, const WaveformSamples& s, const WaveformTilePlace& place, Use use)
{
    constexpr int64_t kAhead = 4, kCacheLine = 64;
    const int64_t firstByte = place.offset[0], lastByte = place.offset[place.count - 1];
    HWY_ALIGN uint32_t words[kWaveformTile] = {};
    HWY_ALIGN uint16_t luma[kWaveformTile] = {};
    for (int64_t line = t.lines.first; line < t.lines.end; line += t.lines.step) {
        const uint8_t* pixels = t.source + line * t.sourceRowBytes;
        if (const int64_t next = line + kAhead * t.lines.step; next < t.lines.end) {
            const uint8_t* ahead = t.source + next * t.sourceRowBytes;
            for (int64_t byte = firstByte; byte <= lastByte; byte += kCacheLine) __builtin_prefetch(ahead + byte);
        }
        for (int64_t c = 0; c < place.count; ++c) {
            uint32_t word;
            std::memcpy(&word, pixels + place.offset[c], sizeof word);
            words[c] = t.alphaFirst ? word : __builtin_bswap32(word);
        }
        LumaLine(reinterpret_cast<const uint8_t*>(words), kWaveformTile, s.factors.factor, luma);
        use(words, luma);
    }
}

/// The Y/C display.
template <bool kPicture>
void PlotEnvelope(const WaveformTrace& t, const WaveformSamples& s, const WaveformTilePlace& place,
                  WaveformTileColumn* columns)
{
    HWY_ALIGN uint64_t lengths[kWaveformTile] = {};
    ForLines(t, s, place, [&](const uint32_t* words, const uint16_t* luma) HWY_ATTR {
        for (int64_t c = 0; c < place.count; ++c)
            lengths[c] =
                s.chroma[0][words[c] >> 8 & 255] + s.chroma[1][words[c] >> 16 & 255] + s.chroma[2][words[c] >> 24];
        Magnitudes(t, lengths, kWaveformTile);
        for (int64_t c = 0; c < place.count; ++c)
            PlotBehind<kPicture>(t, s, &columns[c], words[c], luma[c], static_cast<uint32_t>(lengths[c]));
    });
}

/// Luma in the picture's colours. One ceiling for all makes the order of the hits indifferent: light gathers by code
/// and column, both pixels of a hit side by side, and falls on the target in the end.
void PlotPicture(const WaveformTrace& t, const WaveformSamples& s, const WaveformTilePlace& place, uint32_t* light)
{
    ForLines(t, s, place, [&](const uint32_t* words, const uint16_t* luma) HWY_ATTR {
        for (int64_t c = 0; c < place.count; ++c) {
            uint32_t* const at = light + (luma[c] * kWaveformTile + c) * 2;
            StorePair(Sum(LoadPair(at), LightOf<true>(s.code[luma[c]], words[c])), at);
        }
    });
    for (int64_t luma = 0; luma < 256; ++luma) {
        const int64_t lower = s.code[luma].upper; // rows of a tile begin above the clip
        uint32_t* const lights = light + luma * kWaveformTile * 2;
        uint8_t* const pixels = t.target.pixels + (t.clip.top + lower) * int64_t{t.target.rowBytes} + place.x * 4;
        if (lower < s.height) LightRow<true>(pixels, lights, place.count);
        if (lower >= 1 && lower <= s.height) LightRow<false>(pixels - t.target.rowBytes, lights, place.count);
    }
    std::memset(light, 0, kWaveformLightBytes);
}

/// Copies the target's part of a tile in or out.
template <bool kOut>
void Move(const WaveformTrace& t, const WaveformSamples& s, const WaveformTilePlace& place, uint32_t* words)
{
    uint8_t* pixels = t.target.pixels + int64_t{t.clip.top} * t.target.rowBytes + place.x * 4;
    const int64_t rowBytes = t.target.rowBytes;
    ++words; // the guard
    for (int64_t row = 0; row < s.height;) {
        const int64_t rows = row + 4 <= s.height ? 4 : 1;
        const int64_t done = rows == 4 ? MoveFours<kOut>(pixels, rowBytes, words, s.stride, place.count) : 0;
        for (int64_t i = 0; i < rows; ++i)
            for (int64_t c = done; c < place.count; ++c) {
                uint8_t* const pixel = pixels + i * rowBytes + c * 4;
                uint32_t* const word = words + i + c * s.stride;
                if (kOut)
                    std::memcpy(pixel, word, sizeof *word);
                else
                    std::memcpy(word, pixel, sizeof *word);
            }
        row += rows;
        pixels += rows * rowBytes;
        words += rows;
    }
}

void PlotTile(const WaveformTrace& t, const WaveformSamples& s, const WaveformTilePlace& place,
              WaveformTileColumn* columns)
{
    uint32_t* const words = columns[0].rows;
    if (!s.envelope) {
        PlotPicture(t, s, place, words);
        return;
    }
    Move<false>(t, s, place, words);
    if (s.picture)
        PlotEnvelope<true>(t, s, place, columns);
    else
        PlotEnvelope<false>(t, s, place, columns);
    Move<true>(t, s, place, words);
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(LumaOfPixels);
HWY_EXPORT(PlotTile);
} // namespace ochrine

void WaveformLumaOfPixels(const uint8_t* pixels, size_t count, const WaveformLumaFactors& factors, uint16_t* luma)
{
    HWY_DYNAMIC_DISPATCH(ochrine::LumaOfPixels)(pixels, count, factors.factor, luma);
}

void WaveformPlotTile(const WaveformTrace& trace, const WaveformSamples& samples, const WaveformTilePlace& place,
                      WaveformTileColumn* columns)
{
    HWY_DYNAMIC_DISPATCH(ochrine::PlotTile)(trace, samples, place, columns);
}
#endif
