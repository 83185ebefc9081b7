// The displays beside ffmpeg's filters, which are what a user would watch instead: waveform, vectorscope and histogram
// of the same picture. Candidates take turns; the figures are their shortest times by the clock in milliseconds, as rows
// of a Markdown table.
//
// Arguments are names of displays; without any, all take part.
//
// A filter makes a picture of its own size; ours draws background, graticule, texts as boxes and trace. "filter" is fed
// with its own pixel format, so that nothing is converted; "from ARGB" begins with the pixels that ours begins with, as
// somebody must who wants to see the picture of an application. Of each row the last three figures are the filter's time
// over ours: one thread and one task, two and two, one and one from the same pixels.
#include "src/TincturaUIDispCombo.h"
#include "src/platform/BPLog.h"
#include "tests/ScopeBoxes.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#ifdef OC_HAVE_AVFILTER
extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}
#endif

namespace {

constexpr int kRounds = 15;
constexpr int kTwo = 2; // tasks of the second column

struct Size {
    uint32_t width, height;
    const char* name;
};
constexpr Size kPictures[] = {{1920, 1080, "1080p"}, {3840, 2160, "UHD"}};
constexpr Size kPanes[] = {{640, 480, "640 x 480"}, {1280, 960, "1280 x 960"}};

using Work = std::function<void()>;

/// Workers for the column of two tasks.
struct Pool {
    MPTask* tasks = nullptr;
    uint32_t count = MPStartTaskCount(&tasks, kTwo);
    Pool() = default;
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    ~Pool() { MPDisposeTasks(count, &tasks); }
};

/// The shortest time of each candidate.
std::vector<double> Shortest(const std::vector<Work>& candidates)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> shortest(candidates.size(), 1e9);
    for (int round = -2; round < kRounds; ++round)
        for (size_t i = 0; i < candidates.size(); ++i) {
            const Clock::time_point start = Clock::now();
            candidates[i]();
            const std::chrono::duration<double, std::milli> time = Clock::now() - start;
            if (round >= 0) shortest[i] = std::min(shortest[i], time.count());
        }
    return shortest;
}

/// Ramps, patches and noise, as a graded frame has them.
void FillScene(const ScopeSurface& surface)
{
    uint32_t state = 12345;
    for (uint32_t y = 0; y < surface.height; ++y)
        for (uint32_t x = 0; x < surface.width; ++x) {
            state = state * 1664525 + 1013904223;
            const uint32_t noise = state >> 27, ramp = x * 220 / surface.width, patch = x * 8 / surface.width;
            uint8_t* pixel = surface.pixels + size_t{y} * surface.rowBytes + size_t{x} * 4;
            const uint32_t band = y * 4 / surface.height;
            pixel[0] = 0xFF;
            pixel[1] = static_cast<uint8_t>(band == 0 ? ramp + noise : (patch & 2 ? 30 : 190) + noise);
            pixel[2] = static_cast<uint8_t>(band == 1 ? 220 - ramp + noise : (patch & 4 ? 30 : 170) + noise);
            pixel[3] = static_cast<uint8_t>(band == 2 ? 60 + ramp / 2 + noise : (patch & 1 ? 30 : 180) + noise);
        }
}

#ifdef OC_HAVE_AVFILTER

/// One filter between a source and a sink, fed with one frame again and again: in the filter's own format, or in the
/// picture's with a conversion between.
class Filter {
  public:
    Filter(const char* name, const char* options, AVPixelFormat own, bool converts, int threads,
           const ScopeSurface& surface)
    {
        const AVPixelFormat format = converts ? AV_PIX_FMT_ARGB : own;
        graph_ = avfilter_graph_alloc();
        avfilter_graph_set_auto_convert(graph_, AVFILTER_AUTO_CONVERT_ALL);
        graph_->nb_threads = threads;
        char arguments[160];
        std::snprintf(arguments, sizeof arguments, "video_size=%ux%u:pix_fmt=%d:time_base=1/25", surface.width,
                      surface.height, static_cast<int>(format));
        AVFilterContext* filter = nullptr;
        Check(avfilter_graph_create_filter(&source_, avfilter_get_by_name("buffer"), "in", arguments, nullptr, graph_));
        Check(avfilter_graph_create_filter(&filter, avfilter_get_by_name(name), name, options, nullptr, graph_));
        Check(
            avfilter_graph_create_filter(&sink_, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, graph_));
        AVFilterContext* convert = nullptr;
        const char* const ownName = av_get_pix_fmt_name(own);
        Check(avfilter_graph_create_filter(&convert, avfilter_get_by_name("format"), "own", ownName, nullptr, graph_));
        Check(avfilter_link(source_, 0, convert, 0));
        Check(avfilter_link(convert, 0, filter, 0));
        Check(avfilter_link(filter, 0, sink_, 0));
        Check(avfilter_graph_config(graph_, nullptr));
        frame_ = av_frame_alloc();
        out_ = av_frame_alloc();
        frame_->format = format;
        frame_->width = static_cast<int>(surface.width);
        frame_->height = static_cast<int>(surface.height);
        Check(av_frame_get_buffer(frame_, 64));
        Fill(surface, format);
    }
    ~Filter()
    {
        av_frame_free(&frame_);
        av_frame_free(&out_);
        avfilter_graph_free(&graph_);
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    void Run()
    {
        frame_->pts = ++pts_;
        Check(av_buffersrc_add_frame_flags(source_, frame_, AV_BUFFERSRC_FLAG_KEEP_REF));
        Check(av_buffersink_get_frame(sink_, out_));
        av_frame_unref(out_);
    }

  private:
    static void Check(int status)
    {
        if (status >= 0) return;
        std::fprintf(stderr, "scopes_bench: a filter failed with %d\n", status);
        std::exit(1);
    }
    /// The surface's pixels, or planes of 8 bits: green, blue, red, or luma and two chromas of 709.
    void Fill(const ScopeSurface& surface, AVPixelFormat format)
    {
        for (uint32_t y = 0; y < surface.height && format == AV_PIX_FMT_ARGB; ++y)
            std::memcpy(frame_->data[0] + static_cast<ptrdiff_t>(y) * frame_->linesize[0],
                        surface.pixels + size_t{y} * surface.rowBytes, size_t{surface.width} * 4);
        if (format == AV_PIX_FMT_ARGB) return;
        for (uint32_t y = 0; y < surface.height; ++y)
            for (uint32_t x = 0; x < surface.width; ++x) {
                const uint8_t* p = surface.pixels + size_t{y} * surface.rowBytes + size_t{x} * 4;
                const double r = p[1], g = p[2], b = p[3], luma = 0.2126 * r + 0.7152 * g + 0.0722 * b;
                const auto set = [&](int plane, double value) {
                    frame_->data[plane][static_cast<ptrdiff_t>(y) * frame_->linesize[plane] + x] =
                        static_cast<uint8_t>(std::clamp(value, 0.0, 255.0));
                };
                const bool isRGB = format == AV_PIX_FMT_GBRP;
                set(0, isRGB ? g : luma);
                set(1, isRGB ? b : 128 + (b - luma) / 1.8556);
                set(2, isRGB ? r : 128 + (r - luma) / 1.5748);
            }
    }

    AVFilterGraph* graph_ = nullptr;
    AVFilterContext* source_ = nullptr;
    AVFilterContext* sink_ = nullptr;
    AVFrame* frame_ = nullptr;
    AVFrame* out_ = nullptr;
    int64_t pts_ = 0;
};

struct Peer {
    int32_t display;
    bool pictureColor;
    const char* filter;
    const char* options;
    AVPixelFormat format;
};
// What comes nearest: the traces that the display shows, with a graticule.
constexpr Peer kPeers[] = {
    {scopeLumaWFM, false, "waveform", "graticule=green:components=1", AV_PIX_FMT_YUV444P},
    {scopeLumaWFM, true, "waveform", "filter=acolor:graticule=green:components=1", AV_PIX_FMT_YUV444P},
    {scopeYCWFM, false, "waveform", "filter=flat:graticule=green:components=1", AV_PIX_FMT_YUV444P},
    {scopeRGBWFM, false, "waveform", "display=parade:graticule=green:components=7", AV_PIX_FMT_GBRP},
    {scopeGBRWFM, false, "waveform", "display=parade:graticule=green:components=7", AV_PIX_FMT_GBRP},
    {scopeYRGBWFM, false, "waveform", "display=parade:graticule=green:components=7", AV_PIX_FMT_GBRP},
    {scopeYCbCrWFM, false, "waveform", "display=parade:graticule=green:components=7", AV_PIX_FMT_YUV444P},
    {scopeOverlayWFM, false, "waveform", "display=overlay:graticule=green:components=7", AV_PIX_FMT_GBRP},
    {scopeVectorscope, false, "vectorscope", "mode=color2:graticule=color", AV_PIX_FMT_YUV444P},
    {scopeHistograms, false, "histogram", "display_mode=stack", AV_PIX_FMT_GBRP},
};

#endif

struct Setting {
    const char* name;
    int32_t display; ///< 0: the combo
    bool pictureColor;
};
constexpr Setting kSettings[] = {
    {"Luma WFM", scopeLumaWFM, false},
    {"Luma WFM, picture colour", scopeLumaWFM, true},
    {"YC WFM", scopeYCWFM, false},
    {"RGB WFM", scopeRGBWFM, false},
    {"GBR WFM", scopeGBRWFM, false},
    {"YRGB WFM", scopeYRGBWFM, false},
    {"YCbCr WFM", scopeYCbCrWFM, false},
    {"Overlay WFM", scopeOverlayWFM, false},
    {"Vectorscope", scopeVectorscope, false},
    {"Histograms", scopeHistograms, false},
    {"Tone Curve", scopeToneCurve, false},
    {"Combo of four", 0, false},
};

/// Displays asked for by name; none: all.
bool IsWanted(const Setting& setting, std::span<char*> names)
{
    return names.empty() || std::any_of(names.begin(), names.end(),
                                        [&](const char* name) { return std::strcmp(name, setting.name) == 0; });
}

void Run(const Size& size, const Size& pane, const ScopeSurface& picture, const ScopeLetters& letters,
         std::span<char*> names, const Pool& pool)
{
    ScopeSurface target;
    if (ScopeSurfaceCreate(pane.width, pane.height, &target) != bpNoErr) return;
    const ScopeRect whole = ScopeBoundsOf(target);
    for (const Setting& setting : kSettings) {
        if (!IsWanted(setting, names)) continue;
        ScopeContext fast = ScopeDefaultContext();
        fast.settings.videoSystem = 3;
        fast.settings.wfmColor = setting.pictureColor ? 1 : 0;
        fast.letters = &letters;
        ScopeContext readable = fast;
        readable.readable = true;
        const ScopeSelection selection = ScopeDefaultSelection();
        const auto draw = [&](const ScopeContext& context) {
            if (setting.display == 0)
                DrawComboDisplay(&target, nullptr, &picture, selection.comboSelection, 1, context);
            else
                DrawComboQuadrant(&target, whole, &picture, setting.display, context);
        };
        ScopeContext shared = fast;
        shared.taskCount = pool.count;
        shared.tasks = pool.tasks;
        std::vector<Work> candidates = {[&] { draw(fast); }, [&] { draw(shared); }, [&] { draw(readable); }};
#ifdef OC_HAVE_AVFILTER
        std::vector<std::unique_ptr<Filter>> filters;
        for (const Peer& peer : kPeers) {
            if (peer.display != setting.display || peer.pictureColor != setting.pictureColor) continue;
            for (const auto& [converts, threads] : {std::pair{false, 1}, {false, kTwo}, {true, 1}}) {
                filters.push_back(
                    std::make_unique<Filter>(peer.filter, peer.options, peer.format, converts, threads, picture));
                candidates.push_back([filter = filters.back().get()] { filter->Run(); });
            }
        }
#endif
        const std::vector<double> t = Shortest(candidates);
        std::printf("| %s | %s | %s | %.2f | %.2f | %.2f |", setting.name, size.name, pane.name, t[0], t[1], t[2]);
        if (t.size() > 3)
            std::printf(" %.2f | %.2f | %.2f | %.1f | %.1f | %.1f |\n", t[3], t[4], t[5], t[3] / t[0], t[4] / t[1],
                        t[5] / t[0]);
        else
            std::printf(" | | | | | |\n");
        std::fflush(stdout);
    }
    ScopeSurfaceDispose(&target);
}

} // namespace

int main(int argc, char** argv)
{
    const std::span<char*> names(argv + 1, static_cast<size_t>(std::max(argc, 1) - 1));
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    std::printf("| display | picture | pane | 1 task | 2 tasks | readable | filter | filter, 2 threads | from ARGB "
                "| times, 1 | times, 2 | times, from ARGB |\n"
                "|---|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    const Pool pool;
    const ScopeLetters letters = ScopeBoxes<ScopePaintRect>();
    for (const Size& size : kPictures) {
        ScopeSurface picture;
        if (ScopeSurfaceCreate(size.width, size.height, &picture) != bpNoErr) return 1;
        FillScene(picture);
        for (const Size& pane : kPanes) Run(size, pane, picture, letters, names, pool);
        ScopeSurfaceDispose(&picture);
    }
    return 0;
}
