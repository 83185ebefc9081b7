// Bars, lines, objects.
#include "tools/ochrine-render/RenderReport.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <initializer_list>
#include <sys/resource.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t gSignal = 0; // written by the signal handler alone

void OnSignal(int number)
{
    gSignal = number;
}

/// Length of a well-formed sequence of UTF-8 at `text`, 0 for anything else.
size_t SequenceLength(const std::string& text, size_t at)
{
    const auto byte = [&](size_t i) { return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u; };
    const auto follows = [&](size_t i) { return (byte(i) & 0xc0) == 0x80; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xc2 && first < 0xe0) return follows(1) ? 2 : 0;
    if (first >= 0xe0 && first < 0xf0) {
        const bool isGood = !(first == 0xe0 && byte(1) < 0xa0) && !(first == 0xed && byte(1) >= 0xa0);
        return isGood && follows(1) && follows(2) ? 3 : 0;
    }
    if (first >= 0xf0 && first < 0xf5) {
        const bool isGood = !(first == 0xf0 && byte(1) < 0x90) && !(first == 0xf4 && byte(1) >= 0x90);
        return isGood && follows(1) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

double PerFrame(double seconds, int64_t frames)
{
    return frames > 0 ? seconds * 1000.0 / static_cast<double>(frames) : 0.0;
}

double Now(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace

double RenderClock()
{
    return Now(CLOCK_MONOTONIC);
}

double RenderThreadClock()
{
    return Now(CLOCK_THREAD_CPUTIME_ID);
}

double RenderProcessClock()
{
    return Now(CLOCK_PROCESS_CPUTIME_ID);
}

uint64_t RenderPeakBytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<uint64_t>(usage.ru_maxrss) * 1024;
}

std::string JSONText(const std::string& text)
{
    std::string out = "\"";
    for (size_t at = 0; at < text.size();) {
        const size_t length = SequenceLength(text, at);
        const unsigned char first = static_cast<unsigned char>(text[at]);
        if (length == 0) {
            out += "\xef\xbf\xbd";
        } else if (first == '"' || first == '\\') {
            out += {'\\', text[at]};
        } else if (first < 32 || first == 127) {
            char code[8] = {};
            std::snprintf(code, sizeof(code), "\\u%04x", first);
            out += code;
        } else {
            out.append(text, at, length);
        }
        at += std::max<size_t>(length, 1);
    }
    return out + "\"";
}

void RenderCatchSignals()
{
    // One that is ignored stays ignored: nohup and shells that start a job in the background want it so.
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(number, OnSignal) == SIG_IGN) std::signal(number, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

int RenderSignal()
{
    return gSignal;
}

RenderReport::RenderReport(ProgressKind kind) : kind_(kind), begin_(RenderClock())
{
    if (kind_ == ProgressKind::automatic) {
        kind_ = isatty(STDOUT_FILENO) == 1 ? ProgressKind::bar : ProgressKind::lines;
    }
}

void RenderReport::Begin(const std::string& clip, const ClipInfo& info, int64_t total)
{
    total_ = total;
    if (kind_ != ProgressKind::json) return;
    std::printf("{\"event\": \"begin\", \"clip\": %s, \"width\": %u, \"height\": %u, \"rate\": \"%d/%d\", "
                "\"timecode\": %s, \"frames\": %lld}\n",
                JSONText(clip).c_str(), info.width, info.height, info.rate.numerator, info.rate.denominator,
                JSONText(info.timecode).c_str(), static_cast<long long>(total));
    std::fflush(stdout);
}

void RenderReport::Progress(int64_t done)
{
    if (done == told_ || total_ < 1) return;
    const auto total = static_cast<long long>(total_);
    switch (kind_) {
    case ProgressKind::automatic:
    case ProgressKind::none: break;
    case ProgressKind::lines:
        for (int64_t i = told_ + 1; i <= done; ++i)
            std::printf("PROGRESS %lld/%lld\n", static_cast<long long>(i), total);
        break;
    case ProgressKind::json:
        std::printf("{\"event\": \"progress\", \"done\": %lld, \"total\": %lld}\n", static_cast<long long>(done),
                    total);
        break;
    case ProgressKind::bar: {
        constexpr int width = 40;
        char bar[width + 1] = {};
        for (int i = 0; i < width; ++i) bar[i] = i < width * done / total_ ? '#' : '.';
        const double seconds = std::max(RenderClock() - begin_, 1e-3);
        const double rate = static_cast<double>(done) / seconds;
        const auto left = static_cast<long long>(static_cast<double>(total_ - done) / rate + 0.5);
        std::printf("\r[%s] %lld of %lld frames, %.1f a second, %lld:%02lld left ", bar, static_cast<long long>(done),
                    total, rate, left / 60, left % 60);
        isBarOpen_ = true;
        if (done == total_) EndBar();
        break;
    }
    }
    told_ = done;
    std::fflush(stdout);
}

void RenderReport::EndBar()
{
    if (isBarOpen_) std::putchar('\n');
    isBarOpen_ = false;
    std::fflush(stdout);
}

void RenderReport::Complain(int exit, const std::string& text)
{
    EndBar();
    std::fprintf(stderr, "ochrine-render: %s\n", text.c_str());
    if (kind_ != ProgressKind::json) return;
    std::printf("{\"event\": \"error\", \"exit\": %d, \"text\": %s}\n", exit, JSONText(text).c_str());
    std::fflush(stdout);
}

void RenderReport::Warn(const std::string& text)
{
    EndBar();
    std::fprintf(stderr, "ochrine-render: %s\n", text.c_str());
    if (kind_ != ProgressKind::json) return;
    std::printf("{\"event\": \"warning\", \"text\": %s}\n", JSONText(text).c_str());
    std::fflush(stdout);
}

void RenderReport::End(int exit, const RenderSummary& s, bool showStats)
{
    EndBar();
    const double rate = s.seconds > 0 ? static_cast<double>(s.frames) / s.seconds : 0.0;
    const double ms[5] = {PerFrame(s.times.decode, s.frames), PerFrame(s.times.bringIn, s.frames),
                          PerFrame(s.times.grade, s.frames), PerFrame(s.times.encode, s.frames),
                          PerFrame(s.times.write, s.frames)};
    const double megabytes = static_cast<double>(RenderPeakBytes()) / 1048576.0;
    if (kind_ == ProgressKind::json) {
        std::printf("{\"event\": \"end\", \"exit\": %d, \"rendered\": %lld, \"existing\": %lld, \"skipped\": %lld, "
                    "\"held\": %lld, \"seconds\": %.3f",
                    exit, static_cast<long long>(s.frames), static_cast<long long>(s.existing),
                    static_cast<long long>(s.skipped), static_cast<long long>(s.held), s.seconds);
        if (showStats) {
            std::printf(
                ", \"workers\": %d, \"framesPerSecond\": %.2f, \"msPerFrame\": {\"decode\": %.2f, "
                "\"bringIn\": %.2f, \"grade\": %.2f, \"encode\": %.2f, \"write\": %.2f}, \"peakMegabytes\": %.0f",
                s.workers, rate, ms[0], ms[1], ms[2], ms[3], ms[4], megabytes);
        }
        std::printf("}\n");
    } else if (showStats) {
        std::printf("%lld frames in %.2f s: %.2f a second with %d workers, at most %.0f MB\n"
                    "%s for a frame, ms: decode %.1f, bring in %.1f, grade %.1f, encode %.1f, write %.1f\n",
                    static_cast<long long>(s.frames), s.seconds, rate, s.workers, megabytes,
                    s.isProcessorTime ? "processor time" : "time", ms[0], ms[1], ms[2], ms[3], ms[4]);
    }
    std::fflush(stdout);
}
