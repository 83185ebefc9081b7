// The fast trace of the vectorscope, the same bytes as the readable one.
//
// A pixel climbs one rung a hit, whatever hit it. So hits are counted, a byte a pixel, and each pixel climbs once in the
// end. Gamma, matrix, zoom and gain of a channel are one lookup; the places of some samples are computed together.
// Workers share the lines and have counts of their own.
#include "src/TincturaUIDispVectorscope.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/TincturaUIDispVectorscopeFast.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Turns rows and columns in 32.32 into row * width + column, every second of `places`; `outside` where either leaves
/// the clip. `count` pairs, a multiple of 4.
void FindPlaces(uint64_t* places, size_t count, uint32_t width, uint32_t height, uint64_t outside)
{
#if HWY_TARGET == HWY_SCALAR
    for (size_t i = 0; i < count; ++i) {
        const uint64_t row = places[2 * i] >> 32, column = places[2 * i + 1] >> 32; // below zero is far outside
        places[2 * i] = row < height && column < width ? row * width + column : outside;
    }
#else
    const hn::ScalableTag<uint64_t> d;
    const hn::RebindToSigned<decltype(d)> di;
    const hn::Repartition<uint32_t, decltype(d)> d32;
    const auto isRow = hn::Eq(hn::And(hn::Iota(d, 0), hn::Set(d, uint64_t{1})), hn::Zero(d));
    const auto limit =
        hn::BitCast(di, hn::IfThenElse(isRow, hn::Set(d, uint64_t{height}), hn::Set(d, uint64_t{width})));
    const auto factor = hn::IfThenElse(isRow, hn::Set(d, uint64_t{width}), hn::Set(d, uint64_t{1}));
    const auto beyond = hn::Set(d, outside);
    for (size_t i = 0; i < 2 * count; i += hn::Lanes(d)) {
        const auto whole = hn::ShiftRight<32>(hn::LoadU(d, places + i)); // below zero is far outside
        const auto isInside = hn::RebindMask(d, hn::Lt(hn::BitCast(di, whole), limit));
        const auto part = hn::MulEven(hn::BitCast(d32, whole), hn::BitCast(d32, factor));
        const auto checked = hn::IfThenElse(isInside, part, beyond);
        const auto sum = checked + hn::Shuffle01(checked);
        const auto isPlace = hn::RebindMask(d, hn::Lt(hn::BitCast(di, sum), hn::BitCast(di, beyond)));
        hn::StoreU(hn::IfThenElse(isPlace, sum, beyond), d, places + i);
    }
#endif
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstring>

namespace ochrine {
HWY_EXPORT(FindPlaces);
}

namespace {

constexpr int64_t kJitterPairs = 7;
constexpr int64_t kCacheLine = 64;
constexpr int64_t kRun = 28 * 8; // samples whose places are computed together
constexpr int32_t kClimbs = 8;   // after as many hits every pixel stands still

/// Row and column side by side: one load, one sum.
using Pair = int64_t __attribute__((vector_size(16)));

/// What every worker reads.
struct Work {
    const VectorscopeTrace& t;
    Pair channel[3][256];                      ///< of each level; 32.32 pixels
    Pair bias[kRun + kJitterPairs];            ///< of a run from each of the seven beginnings
    int32_t climb[kVectorscopeRungs][kClimbs]; ///< the rung after some more hits
    uint8_t firstRung[256];                    ///< by the blue byte
    uint32_t width, height;                    ///< of the clip
    uint8_t* counts;                           ///< a plane for each task
    size_t planeBytes;
    int64_t lineCount, samples; ///< of a line
    uint32_t taskCount;
};

/// Two roundings of 16 bits with the jitter between them are one floor of 32 bits over the sum of all that they add.
int64_t Bias(int64_t jitter, int64_t origin)
{
    return 0x8000 + ((jitter + 0x8000) << 16) + origin * (int64_t{1} << 32);
}

void FillPlaces(Work* work)
{
    const VectorscopeTrace& t = work->t;
    const int64_t down = -t.zoom * t.gainY, across = t.zoom * t.gainX;
    const int32_t* c = t.chroma;
    for (int i = 0; i < 256; ++i) {
        const size_t g = t.gamma[i];
        work->channel[0][i] = Pair{c[768 + g] * down, -c[g] * across};
        work->channel[1][i] = Pair{-c[1024 + g] * down, -c[256 + g] * across};
        work->channel[2][i] = Pair{-c[1280 + g] * down, c[512 + g] * across};
    }
    for (int64_t i = 0; i < kRun + kJitterPairs; ++i) {
        const int64_t* jitter = kVectorscopeJitter + i % kJitterPairs * 2;
        work->bias[i] = Pair{Bias(jitter[0], t.height / 2 + t.top - t.clip.top),
                             Bias(jitter[1], t.width / 2 + t.left - t.clip.left)};
    }
}

/// False when the rungs' colours make a pixel go round for ever.
bool FillClimbs(Work* work)
{
    const auto next = [&](int32_t rung) { return VectorscopeRung(static_cast<uint8_t>(work->t.rung[rung] >> 24)); };
    for (int blue = 0; blue < 256; ++blue)
        work->firstRung[blue] = static_cast<uint8_t>(VectorscopeRung(static_cast<uint8_t>(blue)));
    for (int32_t rung = 0; rung < kVectorscopeRungs; ++rung) {
        work->climb[rung][0] = rung;
        for (int32_t i = 1; i < kClimbs; ++i) work->climb[rung][i] = next(work->climb[rung][i - 1]);
        const int32_t last = work->climb[rung][kClimbs - 1];
        if (next(last) != last) return false;
    }
    return true;
}

/// Samples of a line, as sums of what their channels give. The bytes are known when compiled: variable shifts cost as
/// much as the rest.
template <bool kAlphaFirst>
void SumSamples(const Work& work, const uint8_t* pixel, int64_t count, const Pair* bias, uint64_t* out)
{
    constexpr int kRed = kAlphaFirst ? 1 : 2, kGreen = kAlphaFirst ? 2 : 1, kBlue = kAlphaFirst ? 3 : 0;
    const int64_t step = work.t.columnStep * 4;
    for (int64_t i = 0; i < count; ++i, pixel += step) {
        const Pair sum =
            work.channel[0][pixel[kRed]] + work.channel[1][pixel[kGreen]] + work.channel[2][pixel[kBlue]] + bias[i];
        std::memcpy(out + 2 * i, &sum, sizeof sum);
    }
}

/// Counts the hits of a task's lines.
void CountTask(void* context, uint32_t index)
{
    const Work& work = *static_cast<const Work*>(context);
    const VectorscopeTrace& t = work.t;
    const int64_t firstLine = work.lineCount * index / work.taskCount;
    const int64_t endLine = work.lineCount * (index + 1) / work.taskCount;
    const uint64_t outside = uint64_t{work.width} * work.height;
    const auto sum = t.alphaFirst ? SumSamples<true> : SumSamples<false>;
    uint8_t* const counts = work.counts + work.planeBytes * index;
    alignas(64) uint64_t places[2 * kRun];
    int64_t pair = firstLine * work.samples % kJitterPairs, inRun = 0;
    const auto hit = [&] {
        const int64_t rounded = (inRun + 3) / 4 * 4;
        std::memset(places + 2 * inRun, 0, static_cast<size_t>(rounded - inRun) * 2 * sizeof *places);
        HWY_DYNAMIC_DISPATCH(ochrine::FindPlaces)
        (places, static_cast<size_t>(rounded), work.width, work.height, outside);
        for (int64_t i = 0; i < inRun; ++i) {
            uint8_t& count = counts[places[2 * i]];
            count = std::max(static_cast<uint8_t>(count + 1), count);
        }
        pair = (pair + inRun) % kJitterPairs;
        inRun = 0;
    };
    for (int64_t line = firstLine; line < endLine; ++line) {
        const uint8_t* pixel = t.source + (t.lines.first + line * t.lines.step) * t.sourceRowBytes;
        for (int64_t sample = 0; sample < work.samples;) {
            const int64_t count = std::min(work.samples - sample, kRun - inRun);
            const uint8_t* const first = pixel + sample * t.columnStep * 4;
            // The next line comes into the cache meanwhile; steps from line to line are too wide for the hardware.
            for (int64_t byte = 0; byte < count * t.columnStep * 4 && line + 1 < endLine; byte += kCacheLine)
                __builtin_prefetch(first + t.lines.step * t.sourceRowBytes + byte);
            sum(work, first, count, work.bias + pair + inRun, places + 2 * inRun);
            sample += count;
            inRun += count;
            if (inRun == kRun) hit();
        }
    }
    if (inRun != 0) hit();
}

/// Lets the pixels of a task's rows climb.
void ClimbTask(void* context, uint32_t index)
{
    const Work& work = *static_cast<const Work*>(context);
    const VectorscopeTrace& t = work.t;
    const size_t end = size_t{work.height} * (index + 1) / work.taskCount;
    for (size_t row = size_t{work.height} * index / work.taskCount; row < end; ++row) {
        const uint8_t* counts = work.counts + row * work.width;
        uint8_t* pixels = t.target.pixels + (row + static_cast<size_t>(t.clip.top)) * t.target.rowBytes +
                          static_cast<size_t>(t.clip.left) * 4;
        const auto climb = [&](size_t column) {
            uint32_t hits = 0;
            for (uint32_t i = 0; i < work.taskCount; ++i) hits += counts[work.planeBytes * i + column];
            if (hits == 0) return;
            uint8_t* pixel = pixels + column * 4;
            const int32_t rung = work.climb[work.firstRung[pixel[3]]][std::min<uint32_t>(hits - 1, kClimbs - 1)];
            std::memcpy(pixel, &t.rung[rung], sizeof t.rung[rung]);
        };
        size_t column = 0;
        for (; column + 8 <= work.width; column += 8) {
            uint64_t any = 0;
            for (uint32_t i = 0; i < work.taskCount; ++i) {
                uint64_t eight;
                std::memcpy(&eight, counts + work.planeBytes * i + column, sizeof eight);
                any |= eight;
            }
            while (any != 0) {
                const auto byte = static_cast<size_t>(__builtin_ctzll(any) / 8);
                climb(column + byte);
                any &= ~(uint64_t{0xFF} << (byte * 8));
            }
        }
        for (; column < work.width; ++column) climb(column);
    }
}

} // namespace

void DrawVectorscopeTrace(const VectorscopeTrace& trace, uint32_t taskCount, MPTask* tasks, const MPErrand& first)
{
    const VectorscopeTrace t = trace; // a copy of our own: no store to the target changes it
    auto* work = static_cast<Work*>(BPAllocate(sizeof(Work)));
    uint8_t* counts = nullptr;
    const uint32_t count = tasks ? std::max(taskCount, 1u) : 1;
    const auto width = static_cast<size_t>(ScopeWidthOf(t.clip)), height = static_cast<size_t>(ScopeHeightOf(t.clip));
    const size_t planeBytes = (width * height + 1 + 63) / 64 * 64; // the last byte counts what is outside
    if (work) counts = static_cast<uint8_t*>(BPAllocate(planeBytes * count));
    if (counts) {
        new (work) Work{.t = t,
                        .channel = {},
                        .bias = {},
                        .climb = {},
                        .firstRung = {},
                        .width = static_cast<uint32_t>(width),
                        .height = static_cast<uint32_t>(height),
                        .counts = counts,
                        .planeBytes = planeBytes,
                        .lineCount = ScopeLineCount(t.lines),
                        .samples = (t.sourceWidth + t.columnStep - 1) / t.columnStep,
                        .taskCount = count};
        FillPlaces(work);
    }
    if (counts && FillClimbs(work)) {
        MPRunEach(CountTask, work, count, tasks, first); // hits are counted beside the target
        MPRunEach(ClimbTask, work, count, tasks);
    } else {
        if (first.run) first.run(first.context);
        DrawVectorscopeTraceScalar(t);
    }
    BPFree(counts);
    BPFree(work);
}
#endif
