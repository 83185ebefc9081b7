// The traces that go sample by sample, fast: what their kernels read, and the walk over the tiles.
#include "src/TincturaUIDispSamples.h"

#include <algorithm>
#include <cstring>

namespace {

/// Odd, so that columns do not fall on the same places of a cache.
int64_t StrideOf(const WaveformTrace& t)
{
    return (ScopeHeightOf(t.clip) + kWaveformGuards) | 1;
}

size_t TileWordBytes(int64_t stride)
{
    return (static_cast<size_t>(stride * kWaveformTile) * sizeof(uint32_t) + 63) / 64 * 64;
}

void FillCode(const WaveformTrace& t, const WaveformSamples& s, int64_t luma, WaveformCodeLight* code)
{
    const int64_t fixed = (luma + t.codeOffset) * t.pixelsPerCode;
    const int64_t lower = t.bottomRow - (fixed >> 16) - t.clip.top + 1;
    const auto fraction = static_cast<uint32_t>(fixed & 0xFFFF);
    const bool isSeen = lower >= 1 && lower <= s.height + 1;
    code->upper = static_cast<int32_t>(isSeen ? lower - 1 : s.height + 2);
    for (int i = 0; i < 8; ++i) {
        const bool isUpper = i < 4, isAlpha = i % 4 == 0;
        // A hit without a fraction leaves the upper pixel as it is.
        const bool isLit = !isUpper || fraction != 0;
        const uint32_t weight = isUpper ? fraction : 0x10000 - fraction;
        code->weight[i] = static_cast<uint16_t>(weight & 0xFFFF);
        code->whole[i] = weight == 0x10000 ? uint16_t{0xFFFF} : uint16_t{0};
        code->light[i] = isAlpha && isLit ? uint8_t{0xFF} : uint8_t{0};
        code->ceiling[i] = 0xFF;
        if (isAlpha || !isLit) continue;
        const int channel = i % 4 - 1;
        code->ceiling[i] = s.picture ? uint8_t{kWaveformPictureCeiling} : t.panelInk[0].ceiling[channel];
        if (!s.picture) code->light[i] = static_cast<uint8_t>(weight * t.panelInk[0].increment[channel] >> 16);
    }
}

void FillEnvelope(const WaveformTrace& t, WaveformSamples* s)
{
    const auto rowOf = [&](int64_t level) { return t.bottomRow - (level * t.pixelsPerCode >> 16) - t.clip.top + 1; };
    for (int64_t i = 0; i < 256 + kWaveformMagnitudes; ++i) {
        const int64_t high = std::min(i + t.codeOffset, t.maxCode);
        const int64_t low = std::max<int64_t>(i - (kWaveformMagnitudes - 1) + t.codeOffset, 0);
        s->highRow[i] = static_cast<int32_t>(std::clamp<int64_t>(rowOf(high), 1, s->height + 1));
        s->lowRow[i] = static_cast<int32_t>(std::clamp<int64_t>(rowOf(low), 0, s->height));
    }
    const int32_t* c = t.chroma;
    const auto packed = [](int64_t by, int64_t ry) {
        return (static_cast<uint64_t>(ry) << 32) + static_cast<uint64_t>(by);
    };
    for (int i = 0; i < 256; ++i) {
        s->chroma[0][i] = packed(int64_t{kWaveformChromaBias} - c[i], int64_t{kWaveformChromaBias} + c[768 + i]);
        s->chroma[1][i] = packed(-int64_t{c[256 + i]}, -int64_t{c[1024 + i]});
        s->chroma[2][i] = packed(c[512 + i], -int64_t{c[1280 + i]});
    }
}

} // namespace

bool WaveformLumaFactorsOf(const uint8_t* table, WaveformLumaFactors* factors)
{
    constexpr int64_t one = int64_t{1} << kWaveformLumaBits, half = one / 2;
    for (int channel = 0; channel < 3; ++channel) {
        int64_t least = 0, end = one + 1; // each entry leaves some factors
        for (int64_t i = 0; i < 256; ++i) {
            const int64_t entry = table[channel * 256 + i];
            if (i == 0 && entry != 0) return false;
            if (i == 0) continue;
            least = std::max(least, (entry * one - half + i - 1) / i);
            end = std::min(end, ((entry + 1) * one - half + i - 1) / i);
        }
        if (least >= end) return false;
        factors->factor[channel] = static_cast<uint32_t>(least);
    }
    return true;
}

size_t WaveformSamplesBytes()
{
    return (sizeof(WaveformSamples) + 63) / 64 * 64;
}

size_t WaveformTileBytes(const WaveformTrace& trace)
{
    if (!trace.envelope) return kWaveformLightBytes;
    return TileWordBytes(StrideOf(trace)) + (sizeof(WaveformTileColumn) * kWaveformTile + 63) / 64 * 64;
}

bool WaveformSamplesOf(const WaveformTrace& trace, WaveformSamples* samples)
{
    WaveformSamples& s = *samples;
    s.envelope = trace.envelope && trace.mode == waveformSingle;
    s.picture = trace.pictureColor && (trace.mode == waveformSingle || trace.mode == waveformYCbCr);
    s.height = ScopeHeightOf(trace.clip);
    s.stride = StrideOf(trace);
    if (!s.envelope && !s.picture) return false;
    if (s.height + kWaveformGuards > kWaveformTileRows || !WaveformLumaFactorsOf(trace.luma, &s.factors)) return false;
    for (int64_t luma = 0; luma < 256; ++luma) FillCode(trace, s, luma, &s.code[luma]);
    if (s.envelope) FillEnvelope(trace, &s);
    return true;
}

void WaveformPlotSamples(const WaveformTrace& trace, const WaveformSamples& samples, int64_t first, int64_t end,
                         void* work)
{
    auto* words = static_cast<uint32_t*>(work);
    // Light by codes has no columns of pixels.
    WaveformTileColumn none[kWaveformTile];
    auto* columns =
        samples.envelope
            ? reinterpret_cast<WaveformTileColumn*>(static_cast<uint8_t*>(work) + TileWordBytes(samples.stride))
            : none;
    for (; first < end; first += kWaveformTile) {
        const int64_t left = trace.panelColumn[0] + first;
        WaveformTilePlace place = {};
        place.x = std::max<int64_t>(left, trace.clip.left);
        place.count = std::min<int64_t>(left + std::min(kWaveformTile, end - first), trace.clip.right) - place.x;
        if (place.count <= 0) continue;
        for (int64_t c = 0; c < place.count; ++c) {
            const int64_t column = place.x - trace.panelColumn[0] + c;
            place.offset[c] = static_cast<int32_t>((column * trace.xStep >> 16) * 4);
            columns[c].rows = words + c * samples.stride;
            columns[c].cleanTop = 1;
            columns[c].cleanBottom = 0;
            if (samples.envelope) std::memset(columns[c].dirty, 0xFF, sizeof columns[c].dirty);
        }
        WaveformPlotTile(trace, samples, place, columns);
    }
}
