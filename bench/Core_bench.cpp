// Speed of the engine: pictures by instruction set with the readable kernel beside, workers, display pixels, a control
// that moves with the stage cache, and the parameter update.
//
// "Pure pass" reads three planes and writes four without computing anything but the fourth from the first: what memory
// alone allows. Compare identity with it, and the others with "readable". Take medians of repetitions:
//     core_bench --benchmark_repetitions=9 --benchmark_report_aggregates_only=true
#include "src/MPTasks.h"

#include "src/platform/BPLog.h"
#include "tests/LiteralCurve.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

struct FrameRelease {
    void operator()(FBFrame* frame) const { FBDisposeFrameBuffer(frame); }
};
using FramePtr = std::unique_ptr<FBFrame, FrameRelease>;

struct EngineRelease {
    void operator()(OCEngine* engine) const { OCDisposeEngine(engine); }
};
using EnginePtr = std::unique_ptr<OCEngine, EngineRelease>;

FramePtr MakeFrame(uint32_t width, uint32_t height)
{
    FBFrame* frame = nullptr;
    if (FBCreateRGBFrameBuffer(width, height, &frame, pixFormatRGBYPlanar_Float) != bpNoErr) std::abort();
    return FramePtr(frame);
}

EnginePtr MakeEngine()
{
    OCEngine* engine = nullptr;
    if (OCCreateEngine(&engine) != bpNoErr) std::abort();
    return EnginePtr(engine);
}

/// A picture with the statistics of one: soft shapes, some noise, a bright part above white.
FramePtr MakePicture(uint32_t width, uint32_t height)
{
    FramePtr frame = MakeFrame(width, height);
    uint32_t noise = 1;
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < height; ++row) {
            auto* out = reinterpret_cast<float*>(frame->baseAddr + size_t{plane} * frame->planeBytes +
                                                 size_t{row} * frame->rowBytes);
            for (uint32_t column = 0; column < width; ++column) {
                noise = noise * 1664525 + 1013904223;
                const float x = static_cast<float>(column) / static_cast<float>(width);
                const float y = static_cast<float>(row) / static_cast<float>(height);
                const float shape = 0.45f + 0.35f * std::sin(9 * x + static_cast<float>(plane)) * std::cos(7 * y);
                const bool window = x > 0.8f && y < 0.2f;
                out[column] = shape + (window ? 0.5f : 0.0f) + static_cast<float>(noise >> 16) / 65536.0f * 0.03f;
            }
        }
    return frame;
}

HCurve CurveOf(float middle)
{
    HCurve curve = {};
    curve.points.xy = {.pointCount = 4, .x = {0, 0.25f, 0.7f, 1}, .y = {0, 0.25f + middle, 0.7f - middle, 1}};
    return curve;
}

/// "Everything" has all tools with one secondary, "last" six secondaries of four samples each and the limiter too.
enum GradeName { gradeIdentity, gradePrimary, gradeEverything, gradeLast };

void FillChannels(OCChannelBlock* block, float by)
{
    block->on = 1;
    block->group = {1 + by, 1 + 2 * by, by / 4};
    for (OCTriple& channel : block->channel) channel = {1 - by / 2, 1 + by, -by / 8};
}

OCSettings GradeOf(GradeName name)
{
    OCSettings g = {};
    OCResetSettings(&g, kOCResetAll, kOCResetAll, kOCResetDefaults);
    if (name == gradeIdentity) return g;
    g.primaryOn = g.hslOn = g.hsl.master.on = g.rgbOn = g.curvesOn = g.rgbCurvesOn = 1;
    g.hsl.master.saturation = 120;
    g.hsl.master.contrast = 15;
    g.hsl.master.hue = 5;
    FillChannels(&g.rgb.master, 0.1f);
    for (uint32_t i = 0; i < 4; ++i) g.rgbCurve[i] = CurveOf(0.02f * static_cast<float>(i + 1));
    if (name == gradePrimary) return g;
    g.hueOffsetOn = g.ycbcrOn = g.cmyOn = g.levelsOn = g.hslCurvesOn = g.lumaRangeOn = 1;
    g.hsl.master.vibrance = 20;
    float by = 0.02f;
    for (OCHSLBlock* block : {&g.hsl.highlights, &g.hsl.midtones, &g.hsl.shadows}) {
        *block = {1, 100 * by, 110, 10, 5, 5, 0.5f, 1.05f, 1.1f, by};
        by += 0.01f;
    }
    for (auto* ranges : {&g.rgb, &g.cmy, &g.ycbcr})
        for (OCChannelBlock* block : {&ranges->master, &ranges->highlights, &ranges->midtones, &ranges->shadows})
            FillChannels(block, by += 0.005f);
    for (OCHueOffsetTriple* triple :
         {&g.hueOffset.master, &g.hueOffset.highlights, &g.hueOffset.midtones, &g.hueOffset.shadows})
        *triple = {0, 1000 * by, 0.1f};
    for (uint32_t i = 0; i < 5; ++i) g.levels[i] = {0, 1, 0.02f, 0.45f, 0.97f, 0.01f, 0.5f, 0.98f};
    g.inputControls_highlight_recovery = 0.3f;
    for (uint32_t i = 0; i < 3; ++i) {
        g.hslCurve[i] = CurveOf(0.02f);
        for (float& y : g.hslCurve[i].points.xy.y) y = 0.5f + 0.1f * (y - 0.5f);
    }
    g.secondaryOn = 1;
    for (uint32_t i = 0; i < (name == gradeLast ? kOCSecondaryCount : 1u); ++i) {
        OCSecondary& s = g.secondary[i];
        const float step = 0.1f * static_cast<float>(i);
        s.on = 1;
        s.softness = 0.2f;
        s.hue = 10;
        s.saturation = 120;
        s.gain = 1.05f;
        s.gamma = 1.1f;
        s.hueoffset_tintangle = 300 * step;
        s.hueoffset_strength = 0.1f;
        for (uint32_t k = 0; k < 4; ++k)
            s.sample[k] = {1, 0.2f + step, 0.3f + 0.1f * static_cast<float>(k), 0.6f - step};
    }
    if (name == gradeEverything) return g;
    g.limiter_enable = 1;
    g.limiter.limiter_softclip_enable = 1;
    g.limiter.limiter_chroma_max = 105;
    g.limiter.limiter_chroma_min = -20;
    g.limiter.limiter_luma_max = 105;
    return g;
}

struct Case {
    uint32_t width, height;
    FramePtr source, result;
};

const Case& CaseOf(uint32_t height)
{
    static Case cases[2] = {};
    Case& c = cases[height == 2160];
    if (!c.source) {
        c.height = height;
        c.width = height * 16 / 9;
        c.source = MakePicture(c.width, height);
        c.result = MakeFrame(c.width, height);
    }
    return c;
}

void CountPixels(benchmark::State& state, const Case& c)
{
    state.SetItemsProcessed(state.iterations() * int64_t{c.width} * c.height);
}

/// Four floats, wherever they lie. Every processor that we know of moves them in one go.
typedef float Quad __attribute__((vector_size(16), aligned(4)));

/// Reads R, G and B, writes four planes; the fourth is their sum, which costs nothing beside the memory.
void PurePass(benchmark::State& state, uint32_t height)
{
    const Case& c = CaseOf(height);
    const size_t count = size_t{c.source->rowBytes} * height / sizeof(Quad);
    const size_t plane = c.source->planeBytes / sizeof(Quad);
    const auto* in = reinterpret_cast<const Quad*>(c.source->baseAddr);
    auto* out = reinterpret_cast<Quad*>(c.result->baseAddr);
    for (auto _ : state) {
        for (size_t i = 0; i < count; ++i) {
            const Quad r = in[i], g = in[plane + i], b = in[2 * plane + i];
            out[i] = r;
            out[plane + i] = g;
            out[2 * plane + i] = b;
            out[3 * plane + i] = r + g + b;
        }
        benchmark::ClobberMemory();
    }
    CountPixels(state, c);
}

void Kernel(benchmark::State& state, const OCKernel* kernel, GradeName name, uint32_t height)
{
    const Case& c = CaseOf(height);
    EnginePtr engine = MakeEngine();
    const OCSettings grade = GradeOf(name);
    OCUpdateParameters(engine.get(), &grade);
    for (auto _ : state) {
        if (kernel)
            kernel->run(*OCParametersOf(engine.get()), c.source.get(), c.result.get());
        else
            OCProcessImageBandScalar(*OCParametersOf(engine.get()), c.source.get(), c.result.get());
        benchmark::ClobberMemory();
    }
    CountPixels(state, c);
}

/// From the planes that stand before a step to the result: two neighbours differ by what the step costs.
void FromStep(benchmark::State& state, const OCKernel* kernel, uint32_t step)
{
    const Case& c = CaseOf(1080);
    EnginePtr engine = MakeEngine();
    const OCSettings grade = GradeOf(gradeLast);
    OCUpdateParameters(engine.get(), &grade);
    FramePtr planes = MakeFrame(c.width, c.height);
    OCBandRun run = OCPlainRun(c.source.get(), c.result.get());
    run.keep = planes.get();
    run.keepBefore = step;
    kernel->runFrom(*OCParametersOf(engine.get()), run);
    run.keep = nullptr;
    run.start = planes.get();
    run.firstStep = step;
    for (auto _ : state) kernel->runFrom(*OCParametersOf(engine.get()), run);
    CountPixels(state, c);
}

void Workers(benchmark::State& state, uint32_t workers, GradeName name, uint32_t height)
{
    const Case& c = CaseOf(height);
    EnginePtr engine = MakeEngine();
    const OCSettings grade = GradeOf(name);
    OCUpdateParameters(engine.get(), &grade);
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTaskCount(&tasks, workers);
    for (auto _ : state) ProcessImage(engine.get(), c.source.get(), c.result.get(), &grade, 0, count, tasks);
    MPDisposeTasks(count, &tasks);
    CountPixels(state, c);
}

/// With display pixels: made in the pass, or by a transfer after it.
void Shown(benchmark::State& state, uint32_t workers, GradeName name, uint32_t height, bool fused)
{
    const Case& c = CaseOf(height);
    EnginePtr engine = MakeEngine();
    const OCSettings grade = GradeOf(name);
    OCUpdateParameters(engine.get(), &grade);
    std::vector<uint8_t> pixels(size_t{c.width} * c.height * 4);
    const OCDisplay display = {pixels.data(), c.width * 4, pixFormatBGRA8};
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTaskCount(&tasks, workers);
    for (auto _ : state) {
        ProcessImageCached(engine.get(), nullptr, c.source.get(), c.result.get(), fused ? display : OCDisplay{}, &grade,
                           0, count, tasks);
        if (!fused)
            FBTransferFBFrameToPix(c.result.get(), nullptr, pixels.data(), c.width * 4, pixFormatBGRA8, count, tasks);
    }
    MPDisposeTasks(count, &tasks);
    CountPixels(state, c);
}

/// One move of a slider, from the record to the display pixels, with and without the stage cache.
void Moved(benchmark::State& state, uint32_t workers, GradeName name, float* (*slider)(OCSettings& grade), bool cached)
{
    const Case& c = CaseOf(1080);
    EnginePtr engine = MakeEngine();
    OCSettings grade = GradeOf(name);
    std::vector<uint8_t> pixels(size_t{c.width} * c.height * 4);
    const OCDisplay display = {pixels.data(), c.width * 4, pixFormatBGRA8};
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTaskCount(&tasks, workers);
    OCStageCache cache = {};
    float* const value = slider(grade);
    const float first = *value;
    uint32_t turn = 0;
    const auto move = [&] {
        *value = first * (1 + 0.001f * static_cast<float>(++turn % 100));
        OCUpdateParameters(engine.get(), &grade);
        ProcessImageCached(engine.get(), cached ? &cache : nullptr, c.source.get(), c.result.get(), display, &grade, 0,
                           count, tasks);
    };
    for (int i = 0; i < 3; ++i) move(); // the first run, the first move, and one that begins at the kept planes
    for (auto _ : state) move();
    OCDisposeStageCache(&cache);
    MPDisposeTasks(count, &tasks);
}

HCurve CurveOfPoints(int32_t count)
{
    HCurve curve = {};
    curve.points.xy.pointCount = count;
    for (int32_t i = 0; i < count; ++i) {
        const float x = static_cast<float>(i) / static_cast<float>(count - 1);
        curve.points.xy.x[i] = x;
        curve.points.xy.y[i] = x + (i % 2 ? 0.05f : -0.05f) * x * (1 - x);
    }
    return curve;
}

void CurveTable(benchmark::State& state, int32_t points, bool literal)
{
    const HCurve curve = CurveOfPoints(points);
    std::vector<float> table(kOCToneEntries);
    for (auto _ : state) {
        if (literal)
            table = LiteralCurveTable(curve);
        else if (OCBuildCurveTable(&curve, table.data()) != bpNoErr)
            std::abort();
        benchmark::DoNotOptimize(table.data());
        benchmark::ClobberMemory();
    }
}

void ColdUpdate(benchmark::State& state, GradeName name)
{
    const OCSettings grade = GradeOf(name);
    for (auto _ : state) {
        state.PauseTiming();
        EnginePtr engine = MakeEngine();
        state.ResumeTiming();
        OCUpdateParameters(engine.get(), &grade);
        state.PauseTiming();
        engine.reset();
        state.ResumeTiming();
    }
}

void MovedSlider(benchmark::State& state, float* (*slider)(OCSettings& grade))
{
    EnginePtr engine = MakeEngine();
    OCSettings grade = GradeOf(gradeEverything);
    OCUpdateParameters(engine.get(), &grade);
    float* const value = slider(grade);
    const float first = *value;
    uint32_t turn = 0;
    for (auto _ : state) {
        *value = first * (1 + 0.001f * static_cast<float>(++turn % 100));
        OCUpdateParameters(engine.get(), &grade);
    }
    state.SetLabel(std::to_string(OCTablesBuilt(engine.get())) + " tables");
}

struct Slider {
    const char* name;
    float* (*at)(OCSettings& grade);
};

constexpr Slider kSliders[] = {
    {"HSL master saturation", [](OCSettings& g) { return &g.hsl.master.saturation; }},
    {"HSL master gamma", [](OCSettings& g) { return &g.hsl.master.gamma; }},
    {"HSL master contrast", [](OCSettings& g) { return &g.hsl.master.contrast; }},
    {"RGB master gamma", [](OCSettings& g) { return &g.rgb.master.group.gamma; }},
    {"RGB shadows red gamma", [](OCSettings& g) { return &g.rgb.shadows.channel[0].gamma; }},
    {"CMY midtones gamma", [](OCSettings& g) { return &g.cmy.midtones.group.gamma; }},
    {"YCbCr master Y gamma", [](OCSettings& g) { return &g.ycbcr.master.channel[0].gamma; }},
    {"Levels master gray", [](OCSettings& g) { return &g.levels[0].ingraypt; }},
    {"Hue offset angle", [](OCSettings& g) { return &g.hueOffset.master.tintangle; }},
    {"Master curve point", [](OCSettings& g) { return &g.rgbCurve[0].points.xy.y[1]; }},
    {"Hue curve point", [](OCSettings& g) { return &g.hslCurve[0].points.xy.y[1]; }},
    {"Luma range shadow x", [](OCSettings& g) { return &g.lumaRange.lumarange_shadowx; }},
};

/// A control of each step from the hue offset on, in the order of the steps.
constexpr Slider kMoves[] = {
    {"5 hue offset strength", [](OCSettings& g) { return &g.hueOffset.master.strength; }},
    {"8 RGB master gain", [](OCSettings& g) { return &g.rgb.master.group.gain; }},
    {"9 YCbCr master gain", [](OCSettings& g) { return &g.ycbcr.master.channel[1].gain; }},
    {"10 RGB curve point", [](OCSettings& g) { return &g.rgbCurve[1].points.xy.y[1]; }},
    {"11 hue curve point", [](OCSettings& g) { return &g.hslCurve[0].points.xy.y[1]; }},
    {"12 levels out white", [](OCSettings& g) { return &g.levels[0].outwhitept; }},
    {"13 secondary A gain", [](OCSettings& g) { return &g.secondary[0].gain; }},
    {"13 secondary F gain", [](OCSettings& g) { return &g.secondary[5].gain; }},
    {"14 limiter chroma", [](OCSettings& g) { return &g.limiter.limiter_chroma_max; }},
};

void RegisterAll()
{
    constexpr const char* gradeNames[] = {"identity", "primary", "everything", "last"};
    for (uint32_t height : {1080u, 2160u}) {
        const std::string size = "/" + std::to_string(height);
        benchmark::RegisterBenchmark(("Picture/pure pass" + size).c_str(), PurePass, height);
        for (GradeName name : {gradeIdentity, gradePrimary, gradeEverything, gradeLast}) {
            const std::string grade = std::string("/") + gradeNames[name] + size;
            benchmark::RegisterBenchmark(("Picture/readable" + grade).c_str(), Kernel, nullptr, name, height);
            for (const OCKernel& kernel : OCFastKernels())
                benchmark::RegisterBenchmark(("Picture/" + std::string(kernel.name) + grade).c_str(), Kernel, &kernel,
                                             name, height);
            for (uint32_t workers : {1u, 2u})
                benchmark::RegisterBenchmark(("Workers/" + std::to_string(workers) + grade).c_str(), Workers, workers,
                                             name, height)
                    ->MeasureProcessCPUTime();
            for (bool fused : {true, false})
                benchmark::RegisterBenchmark(
                    ((fused ? "Shown/fused/" : "Shown/after/") + std::string("2") + grade).c_str(), Shown, 2u, name,
                    height, fused)
                    ->MeasureProcessCPUTime();
        }
    }
    for (const OCKernel& kernel : OCFastKernels())
        for (uint32_t step = kOCFirstStep + 1; step < kOCStepEnd; ++step)
            benchmark::RegisterBenchmark(("From step/" + std::string(kernel.name) + "/" + std::to_string(step)).c_str(),
                                         FromStep, &kernel, step)
                ->Unit(benchmark::kMillisecond);
    for (GradeName name : {gradeEverything, gradeLast})
        for (const Slider& slider : kMoves)
            for (bool cached : {true, false})
                benchmark::RegisterBenchmark(
                    (std::string("Moved/") + (cached ? "cached/" : "whole/") + gradeNames[name] + "/" + slider.name)
                        .c_str(),
                    Moved, 2u, name, slider.at, cached)
                    ->MeasureProcessCPUTime()
                    ->Unit(benchmark::kMillisecond);
    for (int32_t points : {3, 4, 8, 16})
        for (bool literal : {false, true})
            benchmark::RegisterBenchmark(
                ((literal ? "Curve/literal/" : "Curve/fast/") + std::to_string(points)).c_str(), CurveTable, points,
                literal)
                ->Unit(benchmark::kMicrosecond);
    for (GradeName name : {gradePrimary, gradeEverything})
        benchmark::RegisterBenchmark((std::string("Update/cold/") + gradeNames[name]).c_str(), ColdUpdate, name)
            ->Unit(benchmark::kMicrosecond);
    for (const Slider& slider : kSliders)
        benchmark::RegisterBenchmark((std::string("Update/moved/") + slider.name).c_str(), MovedSlider, slider.at)
            ->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char** argv)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    RegisterAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
