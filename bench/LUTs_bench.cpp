// Speed of baking: a grade that is new to the engine into the text of each target, without the file.
//
// "sampled" is the cube alone: parameters, grid and pipeline. Take medians of repetitions:
//     luts_bench --benchmark_repetitions=9 --benchmark_report_aggregates_only=true
#include "src/LUTs/TincturaLUTTargets.h"
#include "src/platform/BPLog.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

namespace {

struct EngineRelease {
    void operator()(OCEngine* engine) const { OCDisposeEngine(engine); }
};

/// Primary tools and curves: what a grade usually has.
OCSettings PrimaryGrade()
{
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, {});
    grade.primaryOn = grade.hslOn = grade.hsl.master.on = 1;
    grade.hsl.master.saturation = 120;
    grade.hsl.master.contrast = 15;
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.group.gamma = 1.1f;
    grade.rgb.master.channel[0].gain = 1.05f;
    grade.curvesOn = grade.rgbCurvesOn = 1;
    grade.rgbCurve[0].points.xy.pointCount = 3;
    grade.rgbCurve[0].points.xy.x[1] = 0.4f;
    grade.rgbCurve[0].points.xy.y[1] = 0.45f;
    grade.rgbCurve[0].points.xy.x[2] = grade.rgbCurve[0].points.xy.y[2] = 1;
    return grade;
}

/// Everything of the grade is new in each round: its tables are built again.
void Vary(OCSettings* grade, bool odd)
{
    grade->hsl.master.contrast = odd ? 15 : 16;
    grade->rgb.master.group.gamma = odd ? 1.1f : 1.2f;
    grade->rgbCurve[0].points.xy.y[1] = odd ? 0.45f : 0.46f;
}

struct Baker {
    OCSettings grade = PrimaryGrade();
    std::unique_ptr<OCEngine, EngineRelease> engine{};
    OCLUTJob job{};
    Baker()
    {
        BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
        OCEngine* made = nullptr;
        if (OCCreateEngine(&made) != bpNoErr) std::abort();
        engine.reset(made);
        job = {.engine = made,
               .settings = &grade,
               .taskCount = 1,
               .tasks = nullptr,
               .fileName = "bench.lut",
               .wallSeconds = 0};
    }
};

void Sampled(benchmark::State& state, uint32_t points)
{
    Baker baker;
    for (bool odd = false; auto _ : state) {
        Vary(&baker.grade, odd = !odd);
        OCLUTCube cube;
        if (OCSampleLUTCube(baker.job, {points - 1, lutBlueFastest, lutRunningSum, "Bench", "bench"}, &cube) != bpNoErr)
            std::abort();
        benchmark::DoNotOptimize(cube.plane[0][0]);
        OCDisposeLUTCube(&cube);
    }
}

void Baked(benchmark::State& state, const OCLUTTarget* target, uint32_t points)
{
    Baker baker;
    OCLUTParameters parameters = target->parameters;
    if (points) parameters.cubeIntervals = points - 1;
    std::string text;
    for (bool odd = false; auto _ : state) {
        Vary(&baker.grade, odd = !odd);
        if (target->write(baker.job, parameters, &text) != bpNoErr) std::abort();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

} // namespace

int main(int argc, char** argv)
{
    for (const uint32_t points : {17u, 33u, 65u})
        benchmark::RegisterBenchmark(("sampled/" + std::to_string(points)).c_str(), Sampled, points)
            ->Unit(benchmark::kMillisecond);
    for (const OCLUTTarget& target : OCLUTTargets())
        benchmark::RegisterBenchmark((std::string("text/") + target.name).c_str(), Baked, &target, 0u)
            ->Unit(benchmark::kMillisecond);
    for (const char* name : {"generic", "cinetal", "truelight", "cube", "clf"})
        benchmark::RegisterBenchmark((std::string("text/") + name + "/65").c_str(), Baked, OCLUTTargetOfName(name), 65u)
            ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
