// The engine beside what a user would grade with instead: OpenColorIO's processor and ffmpeg's filters, all in single
// floats, candidates taking turns in one run. Prints medians as rows of a Markdown table. An argument names the one size
// to measure.
//
// With one thread the time is the processor's, which other programs disturb little; with two it is that of the clock.
//
// OpenColorIO: ASC CDL, grading primary, grading tone and RGB curves, with every power computed (its default takes
// approximations, which makes no difference that can be measured in this chain); packed RGBA in and out, its lines split
// over the threads.
// ffmpeg: two graphs in gbrpf32 of the filters of this release that compute in floats without a change of format. The
// short one does the work of our primary grade: colorchannelmixer (hue and saturation), lut1d (contrast), exposure (gain
// and pedestal), lut1d (gamma), lut1d (curves). The long one has a filter or two for each tool of (b), and for those that
// work on tone ranges three branches that maskedmerge puts together; vibrance, recovery, the HSL curves and the limiter
// have no filter in floats and are left out.
#include "host/FrameRenderer.h"
#include "src/MPTasks.h"
#include "src/platform/BPLog.h"

#include <OpenColorIO/OpenColorIO.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace OCIO = OCIO_NAMESPACE;

namespace {

constexpr int kRounds = 7;
constexpr int kWarmUps = 1;

[[noreturn]] void Stop(const char* what)
{
    std::fprintf(stderr, "peers_bench: %s\n", what);
    std::exit(1);
}

// Pictures -------------------------------------------------------------------------------------------------------------

struct Size {
    uint32_t width, height;
    const char* name;
};
constexpr Size kSizes[] = {{1920, 1080, "1080p"}, {3840, 2160, "UHD"}};

/// Soft shapes, some noise, a bright part above white: what all candidates get.
float SignalAt(const Size& size, uint32_t channel, uint32_t row, uint32_t column)
{
    const float x = static_cast<float>(column) / static_cast<float>(size.width);
    const float y = static_cast<float>(row) / static_cast<float>(size.height);
    uint32_t noise = (row * size.width + column) * 3 + channel;
    noise = (noise ^ noise >> 15) * 0x2C1B3C6Du;
    noise = (noise ^ noise >> 12) * 0x297A2D39u;
    const float shape = 0.45f + 0.35f * std::sin(9 * x + static_cast<float>(channel)) * std::cos(7 * y);
    const bool isWindow = x > 0.8f && y < 0.2f;
    return shape + (isWindow ? 0.5f : 0.0f) + static_cast<float>(noise >> 16) / 65536.0f * 0.03f;
}

/// The same picture in planes, packed, and as a frame of ffmpeg's.
struct Picture {
    Size size;
    FBFrame* source = nullptr;
    FBFrame* result = nullptr;
    std::vector<float> packed{}, packedResult{};
    AVFrame* planes = nullptr; ///< G, B, R

    explicit Picture(const Size& wanted) : size(wanted)
    {
        if (FBCreateRGBFrameBuffer(size.width, size.height, &source, pixFormatRGBYPlanar_Float) != bpNoErr ||
            FBCreateRGBFrameBuffer(size.width, size.height, &result, pixFormatRGBYPlanar_Float) != bpNoErr)
            Stop("there is not enough memory");
        packed.resize(size_t{size.width} * size.height * 4, 1.0f);
        packedResult.resize(packed.size());
        planes = av_frame_alloc();
        planes->format = AV_PIX_FMT_GBRPF32;
        planes->pts = 0;
        planes->width = static_cast<int>(size.width);
        planes->height = static_cast<int>(size.height);
        if (av_frame_get_buffer(planes, 0) < 0) Stop("there is not enough memory");
        constexpr size_t placeOf[3] = {2, 0, 1};
        for (uint32_t channel = 0; channel < 3; ++channel)
            for (uint32_t row = 0; row < size.height; ++row)
                for (uint32_t column = 0; column < size.width; ++column) {
                    const float value = SignalAt(size, channel, row, column);
                    uint8_t* plane = planes->data[placeOf[channel]] +
                                     static_cast<ptrdiff_t>(row) * planes->linesize[placeOf[channel]];
                    std::memcpy(plane + column * 4, &value, 4);
                    std::memcpy(source->baseAddr + size_t{channel} * source->planeBytes +
                                    size_t{row} * source->rowBytes + column * 4,
                                &value, 4);
                    packed[(size_t{row} * size.width + column) * 4 + channel] = value;
                }
    }
    ~Picture()
    {
        FBDisposeFrameBuffer(source);
        FBDisposeFrameBuffer(result);
        av_frame_free(&planes);
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
};

// Our grades -----------------------------------------------------------------------------------------------------------

constexpr float kCurveX[4] = {0, 0.25f, 0.7f, 1};

HCurve CurveOf(float lift)
{
    HCurve curve = {};
    curve.points.xy.pointCount = 4;
    for (uint32_t i = 0; i < 4; ++i) {
        curve.points.xy.x[i] = kCurveX[i];
        curve.points.xy.y[i] = kCurveX[i] + (i == 1 ? lift : i == 2 ? -lift : 0);
    }
    return curve;
}

void FillChannels(OCChannelBlock* block, float by)
{
    block->on = 1;
    block->group = {1 + by, 1 + 2 * by, by / 4};
    for (OCTriple& channel : block->channel) channel = {1 - by / 2, 1 + by, -by / 8};
}

enum GradeName { gradeIdentity, gradePrimary, gradeOneSecondary, gradeSixSecondaries };

void AddPrimary(OCSettings* g)
{
    g->primaryOn = g->hslOn = g->hsl.master.on = g->rgbOn = g->curvesOn = g->rgbCurvesOn = 1;
    g->hsl.master.hue = 5;
    g->hsl.master.saturation = 120;
    g->hsl.master.contrast = 15;
    FillChannels(&g->rgb.master, 0.1f);
    for (uint32_t i = 0; i < 4; ++i) g->rgbCurve[i] = CurveOf(0.02f * static_cast<float>(i + 1));
}

void AddEverything(OCSettings* g)
{
    g->hueOffsetOn = g->ycbcrOn = g->cmyOn = g->levelsOn = g->hslCurvesOn = g->lumaRangeOn = 1;
    g->hsl.master.vibrance = 20;
    float by = 0.02f;
    for (OCHSLBlock* block : {&g->hsl.highlights, &g->hsl.midtones, &g->hsl.shadows}) {
        *block = {1, 100 * by, 110, 10, 5, 5, 0.5f, 1.05f, 1.1f, by};
        by += 0.01f;
    }
    for (auto* ranges : {&g->rgb, &g->cmy, &g->ycbcr})
        for (OCChannelBlock* block : {&ranges->master, &ranges->highlights, &ranges->midtones, &ranges->shadows})
            FillChannels(block, by += 0.005f);
    for (OCHueOffsetTriple* triple :
         {&g->hueOffset.master, &g->hueOffset.highlights, &g->hueOffset.midtones, &g->hueOffset.shadows})
        *triple = {0, 1000 * by, 0.1f};
    for (OCLevelsBlock& block : g->levels) block = {0, 1, 0.02f, 0.45f, 0.97f, 0.01f, 0.5f, 0.98f};
    g->inputControls_highlight_recovery = 0.3f;
    for (HCurve& curve : g->hslCurve) {
        curve = CurveOf(0.02f);
        for (float& y : curve.points.xy.y) y = 0.5f + 0.1f * (y - 0.5f);
    }
}

void AddSecondaries(OCSettings* g, uint32_t count)
{
    g->secondaryOn = g->secondaryInUse = 1;
    for (uint32_t i = 0; i < count; ++i) {
        OCSecondary& s = g->secondary[i];
        const float by = static_cast<float>(i) * 0.07f;
        s.on = 1;
        s.hue = 10 + 100 * by;
        s.saturation = 130;
        s.hueoffset_tintangle = 400 * by;
        s.hueoffset_strength = 0.2f;
        s.gain = 1.1f;
        s.gamma = 1.2f;
        s.ped = 0.01f;
        for (uint32_t k = 0; k < 4; ++k) s.sample[k] = {1, 0.2f + by, 0.3f + 0.1f * static_cast<float>(k), 0.6f - by};
    }
}

OCSettings GradeOf(GradeName name)
{
    OCSettings g = {};
    OCResetSettings(&g, kOCResetAll, kOCResetAll, kOCResetDefaults);
    if (name == gradeIdentity) return g;
    AddPrimary(&g);
    if (name == gradePrimary) return g;
    AddEverything(&g);
    AddSecondaries(&g, name == gradeOneSecondary ? 1 : kOCSecondaryCount);
    g.limiter_enable = name == gradeSixSecondaries;
    g.limiter.limiter_softclip_enable = 1;
    return g;
}

/// The pool, and an engine for each grade.
struct Ours {
    MPTask* tasks = nullptr;
    uint32_t taskCount;
    OCEngine* engine[4] = {};
    OCSettings grade[4];
    FrameRenderer* renderer = nullptr;

    explicit Ours(uint32_t threads) : taskCount(MPStartTaskCount(&tasks, threads))
    {
        for (int i = 0; i < 4; ++i) {
            grade[i] = GradeOf(static_cast<GradeName>(i));
            if (OCCreateEngine(&engine[i]) != bpNoErr) Stop("there is not enough memory");
            OCUpdateParameters(engine[i], &grade[i]);
        }
        if (CreateFrameRenderer(threads, &renderer) != bpNoErr) Stop("there is not enough memory");
        if (SetRendererGrade(renderer, grade[gradePrimary]) != bpNoErr) std::abort();
    }
    ~Ours()
    {
        MPDisposeTasks(taskCount, &tasks);
        for (OCEngine* made : engine) OCDisposeEngine(made);
        DisposeFrameRenderer(renderer);
    }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;

    void Run(Picture* picture, GradeName name)
    {
        ProcessImage(engine[name], picture->source, picture->result, &grade[name], 0, taskCount, tasks);
    }
    /// The primary grade as a host renders it: packed RGBA in and out.
    void RunPacked(Picture* picture)
    {
        const auto step = static_cast<ptrdiff_t>(picture->size.width) * 16;
        const RenderImage in = {reinterpret_cast<uint8_t*>(picture->packed.data()), step, 0, pixFormatRGBA32_Float};
        const RenderImage out = {reinterpret_cast<uint8_t*>(picture->packedResult.data()), step, 0,
                                 pixFormatRGBA32_Float};
        if (RenderFrame(renderer, picture->size.width, picture->size.height, in, out, false) != bpNoErr)
            Stop("there is not enough memory");
    }
};

// OpenColorIO ----------------------------------------------------------------------------------------------------------

OCIO::ConstGradingBSplineCurveRcPtr SplineOf(float lift)
{
    return OCIO::GradingBSplineCurve::Create({{0.0f, 0.0f}, {0.25f, 0.25f + lift}, {0.7f, 0.7f - lift}, {1.0f, 1.0f}});
}

OCIO::ConstCPUProcessorRcPtr MakeProcessor()
{
    const auto cdl = OCIO::CDLTransform::Create();
    const double slope[3] = {1.05, 0.98, 1.02}, offset[3] = {0.01, -0.01, 0.005}, power[3] = {1.1, 0.95, 1.05};
    cdl->setSlope(slope);
    cdl->setOffset(offset);
    cdl->setPower(power);
    cdl->setSat(1.1);

    const auto primary = OCIO::GradingPrimaryTransform::Create(OCIO::GRADING_VIDEO);
    OCIO::GradingPrimary values(OCIO::GRADING_VIDEO);
    values.m_lift = {0.01, 0.0, -0.01, 0.005};
    values.m_gamma = {1.1, 0.95, 1.05, 1.1};
    values.m_gain = {1.05, 1.0, 0.95, 1.1};
    values.m_saturation = 1.2;
    primary->setValue(values);

    const auto tone = OCIO::GradingToneTransform::Create(OCIO::GRADING_VIDEO);
    OCIO::GradingTone ranges(OCIO::GRADING_VIDEO);
    ranges.m_shadows.m_master = 1.2;
    ranges.m_midtones.m_red = 0.9;
    ranges.m_midtones.m_master = 1.1;
    ranges.m_highlights.m_master = 0.85;
    ranges.m_scontrast = 1.15;
    tone->setValue(ranges);

    const auto curves = OCIO::GradingRGBCurveTransform::Create(OCIO::GRADING_VIDEO);
    curves->setValue(OCIO::GradingRGBCurve::Create(SplineOf(0.04f), SplineOf(0.06f), SplineOf(0.08f), SplineOf(0.02f)));

    const auto group = OCIO::GroupTransform::Create();
    group->appendTransform(cdl);
    group->appendTransform(primary);
    group->appendTransform(tone);
    group->appendTransform(curves);
    return OCIO::Config::CreateRaw()->getProcessor(group)->getOptimizedCPUProcessor(
        OCIO::BIT_DEPTH_F32, OCIO::BIT_DEPTH_F32, OCIO::OPTIMIZATION_LOSSLESS);
}

void RunOpenColorIO(const OCIO::ConstCPUProcessorRcPtr& processor, Picture* picture, uint32_t threads)
{
    const auto part = [&](uint32_t index) {
        const uint32_t first = picture->size.height * index / threads;
        const uint32_t rows = picture->size.height * (index + 1) / threads - first;
        const size_t start = size_t{first} * picture->size.width * 4;
        const OCIO::PackedImageDesc in(picture->packed.data() + start, static_cast<long>(picture->size.width),
                                       static_cast<long>(rows), 4);
        OCIO::PackedImageDesc out(picture->packedResult.data() + start, static_cast<long>(picture->size.width),
                                  static_cast<long>(rows), 4);
        processor->apply(in, out);
    };
    std::vector<std::thread> others;
    for (uint32_t i = 1; i < threads; ++i) others.emplace_back(part, i);
    part(0);
    for (std::thread& other : others) other.join();
}

// ffmpeg ---------------------------------------------------------------------------------------------------------------

/// A table for lut1d: 16,385 lines of a power with a bend.
std::string WriteTable()
{
    const char* folder = std::getenv("TMPDIR");
    const std::string path = std::string(folder ? folder : "/tmp") + "/ochrine_peers.cube";
    std::ofstream file(path);
    file << "LUT_1D_SIZE 16385\n";
    char line[80];
    for (int i = 0; i <= 16384; ++i) {
        const double x = i / 16384.0, y = std::pow(x, 0.95) + 0.02 * std::sin(6.283185307179586 * x);
        const double v = std::clamp(y, 0.0, 1.0);
        std::snprintf(line, sizeof line, "%.7f %.7f %.7f\n", v, v * 0.98, v);
        file << line;
    }
    if (!file.flush()) Stop("a table for ffmpeg cannot be written");
    return path;
}

/// The body of a graph, from the label "src" to the sink. `table` is a filter with a table of its own.
std::string ShortChain(const std::string& mix, const std::string& table)
{
    return "[src]" + mix + "," + table + ",exposure=exposure=0.14:black=0.01," + table + "," + table + ",";
}

/// Three branches, put together by the masks of shadows and highlights with this number.
std::string Ranges(const std::string& number, const std::string& work)
{
    const auto label = [&](const char* name) { return std::string("[").append(name).append(number).append("]"); };
    return "split=3" + label("a") + label("b") + label("c") + ";" + label("a") + work + label("d") + ";" + label("b") +
           work + label("e") + ";" + label("c") + work + label("f") + ";" + label("e") + label("d") + label("s") +
           "maskedmerge" + label("g") + ";" + label("g") + label("f") + label("h") + "maskedmerge,";
}

std::string LongChain(const std::string& mix, const std::string& table)
{
    const std::string tool = mix + "," + table;
    return "[src]split[picture][weights];"
           "[weights]colorchannelmixer=.3:.59:.11:0:.3:.59:.11:0:.3:.59:.11,split[w1][w2];"
           "[w1]" +
           table + ",split=3[s1][s2][s3];[w2]" + table +
           ",split=3[h1][h2][h3];"
           "[picture]" +
           tool + "," +                                      // levels, input side
           Ranges("1", tool) + tool + "," + mix + "," +      // HSL ranges and master, hue offset
           Ranges("2", tool) +                               // RGB and CMY
           mix + "," + Ranges("3", tool) + mix + "," +       // YCbCr, there and back
           tool + "," + mix + "," + tool + "," + mix + "," + // RGB master, YCbCr master
           table + ",exposure=exposure=0.05," +              // RGB curves, levels, output side
           "split=3[kept][key][corrected];[key]" + tool + "[mask];[corrected]" + tool + "[done];" +
           "[kept][done][mask]maskedmerge,"; // one secondary
}

struct Filters {
    AVFilterGraph* graph = avfilter_graph_alloc();
    AVFilterContext *source = nullptr, *sink = nullptr;
    AVFrame* out = av_frame_alloc();

    Filters(const Size& size, uint32_t threads, std::string (*chain)(const std::string&, const std::string&))
    {
        graph->nb_threads = static_cast<int>(threads);
        const std::string path = WriteTable();
        const std::string text =
            "buffer=video_size=" + std::to_string(size.width) + "x" + std::to_string(size.height) +
            ":pix_fmt=gbrpf32le:time_base=1/25:pixel_aspect=1/1[src];" +
            chain("colorchannelmixer=rr=1.14:rg=-0.11:rb=-0.03:gr=-0.05:gg=1.08:gb=-0.03:br=-0.02:bg=-0.1:bb=1.12",
                  "lut1d=file=" + path + ":interp=linear") +
            "buffersink";
        AVFilterInOut *inputs = nullptr, *outputs = nullptr;
        if (avfilter_graph_parse2(graph, text.c_str(), &inputs, &outputs) < 0 || inputs || outputs ||
            avfilter_graph_config(graph, nullptr) < 0)
            Stop("ffmpeg does not take the graph of filters");
        std::remove(path.c_str());
        for (unsigned i = 0; i < graph->nb_filters; ++i) {
            const std::string kind = graph->filters[i]->filter->name;
            if (kind == "buffer") source = graph->filters[i];
            if (kind == "buffersink") sink = graph->filters[i];
            if (kind == "scale" || kind == "format") Stop("ffmpeg put a change of format into the graph");
        }
        if (av_buffersink_get_format(sink) != AV_PIX_FMT_GBRPF32) Stop("ffmpeg left the floats");
    }
    ~Filters()
    {
        avfilter_graph_free(&graph);
        av_frame_free(&out);
    }
    Filters(const Filters&) = delete;
    Filters& operator=(const Filters&) = delete;

    void Run(Picture* picture)
    {
        ++picture->planes->pts; // branches meet again by their time
        if (av_buffersrc_write_frame(source, picture->planes) < 0 || av_buffersink_get_frame(sink, out) < 0)
            Stop("ffmpeg refuses a frame");
        av_frame_unref(out);
    }
};

// The table ------------------------------------------------------------------------------------------------------------

using Work = std::function<void()>;

double Now(bool isProcessorTime)
{
    timespec now;
    clock_gettime(isProcessorTime ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

std::vector<double> Medians(const std::vector<Work>& candidates, bool isProcessorTime)
{
    std::vector<std::vector<double>> times(candidates.size());
    for (int round = -kWarmUps; round < kRounds; ++round)
        for (size_t i = 0; i < candidates.size(); ++i) {
            const double start = Now(isProcessorTime);
            candidates[i]();
            if (round >= 0) times[i].push_back(Now(isProcessorTime) - start);
        }
    std::vector<double> medians;
    for (std::vector<double>& list : times) {
        std::sort(list.begin(), list.end());
        medians.push_back(list[list.size() / 2]);
    }
    return medians;
}

void MeasureSize(const Size& size)
{
    Picture picture(size);
    const OCIO::ConstCPUProcessorRcPtr processor = MakeProcessor();
    for (uint32_t threads : {1u, 2u}) {
        Ours ours(threads);
        Filters primary(size, threads, ShortChain), everything(size, threads, LongChain);
        const std::vector<Work> candidates = {
            [&] { ours.Run(&picture, gradeIdentity); },
            [&] { ours.Run(&picture, gradePrimary); },
            [&] { ours.Run(&picture, gradeOneSecondary); },
            [&] { ours.Run(&picture, gradeSixSecondaries); },
            [&] { ours.RunPacked(&picture); },
            [&] { RunOpenColorIO(processor, &picture, threads); },
            [&] { primary.Run(&picture); },
            [&] { everything.Run(&picture); },
        };
        const std::vector<double> ms = Medians(candidates, threads == 1);
        constexpr const char* names[] = {"nothing on", "(a) primary", "(b) everything, one secondary",
                                         "(c) everything, six secondaries, limiter", "(a) packed RGBA, as a host"};
        for (size_t i = 0; i < std::size(names); ++i) {
            std::printf("| %s | %u | %s | %.1f |", size.name, threads, names[i], ms[i]);
            for (size_t peer = std::size(names); peer < ms.size(); ++peer) std::printf(" %.1f |", ms[peer] / ms[i]);
            std::printf("\n");
        }
        std::printf("| %s | %u | *OpenColorIO %.1f ms, ffmpeg %.1f and %.1f ms* | | | | |\n", size.name, threads, ms[5],
                    ms[6], ms[7]);
        std::fflush(stdout);
    }
}

} // namespace

int main(int count, char** arguments)
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    std::printf(
        "| size | threads | our grade | ms | OpenColorIO / ours | ffmpeg, short / ours | ffmpeg, long / ours |\n"
        "|---|---:|---|---:|---:|---:|---:|\n");
    for (const Size& size : kSizes)
        if (count < 2 || std::strcmp(arguments[1], size.name) == 0) MeasureSize(size);
    return 0;
}
