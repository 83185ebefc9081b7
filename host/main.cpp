// ochrine-host: opens a clip in Ochrine, and renders it with the grade that comes back.
#include "host/GradeFile.h"
#include "host/HostOptions.h"
#include "host/HostProgress.h"
#include "host/HostRender.h"
#include "host/HostRun.h"
#include "host/HostServe.h"
#include "host/SampleScene.h"
#include "src/platform/BPLog.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

extern "C" {
#include <libavutil/log.h>
}

namespace {

/// Where things go.
struct Outputs {
    std::string grade; ///< NAME.ocgrade
    std::string clip;
};

Outputs OutputsOf(const HostOptions& options, const ClipInfo& info)
{
    const std::filesystem::path folder(options.outFolder);
    Outputs outputs = {.grade = (folder / (info.name + ".ocgrade")).string(), .clip = options.output};
    if (outputs.clip.empty()) outputs.clip = (folder / (info.name + "_graded.mov")).string();
    return outputs;
}

/// Finds out before the session whether its results can be kept.
bool CanWriteInto(const std::filesystem::path& folder)
{
    std::error_code failed;
    const std::filesystem::path where = folder.empty() ? "." : folder;
    std::filesystem::create_directories(where, failed);
    const std::filesystem::path probe =
        where / (".ochrine-host-" + std::to_string(std::hash<std::string>()(where.string())));
    FILE* file = std::fopen(probe.c_str(), "wb");
    if (file == nullptr) {
        HostComplain("cannot write into %s", where.c_str());
        return false;
    }
    std::fclose(file);
    std::filesystem::remove(probe, failed);
    return true;
}

std::unique_ptr<ClipSource> OpenSource(const HostOptions& options)
{
    if (options.clip.empty()) {
        HostSay("no clip given: making a scene");
        return MakeSampleScene(1920, 1080, options.threads);
    }
    std::string error;
    std::unique_ptr<ClipSource> clip =
        OpenClip(options.clip, {.sequenceRate = options.rate, .threads = options.threads}, &error);
    if (!clip) HostComplain("%s", error.c_str());
    return clip;
}

int Render(ClipSource* clip, const OCSettings& grade, const std::string& path, int threads)
{
    std::string error;
    std::unique_ptr<ClipWriter> writer = MakeClipWriter(path, clip->Info(), threads, &error);
    if (!writer) {
        HostComplain("%s", error.c_str());
        return hostNoOutput;
    }
    HostRenderResult result = {};
    if (RenderClip(clip, grade, writer.get(), threads, HostShowProgress, HostIsInterrupted, &result, &error) !=
        bpNoErr) {
        HostComplain("%s", error.c_str());
        return result.framesDone == 0 && writer->Error().empty() ? hostNoClip : hostNoOutput;
    }
    if (result.wasInterrupted) {
        HostComplain("interrupted by signal %d after %d frames; no clip was written", HostInterruptingSignal(),
                     result.framesDone);
        return hostInterrupted;
    }
    if (writer->Finish() != bpNoErr) {
        HostComplain("%s", writer->Error().c_str());
        return hostNoOutput;
    }
    if (result.framesReplaced > 0) {
        HostComplain("%d frames could not be decoded; the frame before stands for each", result.framesReplaced);
    }
    HostSay("wrote %s (%d frames)", path.c_str(), result.framesDone);
    return hostDone;
}

int MakeSample(const HostOptions& options)
{
    OutputKind kind = OutputKind::movie;
    if (!OutputKindOf(options.makeSample, &kind)) {
        HostComplain("%s names no output: .mov, .png or .exr is wanted", options.makeSample.c_str());
        return hostUsage;
    }
    OCSettings neutral = {};
    OCResetSettings(&neutral, kOCResetAll, kOCResetAll, kOCResetDefaults);
    std::unique_ptr<ClipSource> scene = MakeSampleScene(1920, 1080, options.threads);
    return Render(scene.get(), neutral, options.makeSample, options.threads);
}

/// One session, and what follows from it.
int Session(const BPPlatform& platform, const HostOptions& options, ClipSource* clip, OCSettings* grade)
{
    const Outputs outputs = OutputsOf(options, clip->Info());
    bool isWanted = false;
    const auto keep = [&](const OCSettings& result, bool isChanged) -> int {
        if (!isChanged) HostSay("the grade is as it was: cancelled");
        isWanted = isChanged || options.alwaysRender;
        if (!isWanted) return hostDone;
        if (WriteGradeFile(outputs.grade, result) != bpNoErr) {
            HostComplain("cannot write %s", outputs.grade.c_str());
            return hostNoOutput;
        }
        HostSay("wrote %s", outputs.grade.c_str());
        return hostDone;
    };
    if (int exit = RunHostSession(platform, options, clip, grade, keep); exit != hostDone) return exit;
    if (!isWanted || options.noRender) return hostDone;
    return Render(clip, *grade, outputs.clip, options.threads);
}

/// Sessions as long as somebody asks for them. A session that fails ends itself, not the others.
int Serve(const BPPlatform& platform, const HostOptions& options, ClipSource* clip, OCSettings* grade)
{
    for (;;) {
        const int exit = Session(platform, options, clip, grade);
        if (HostIsInterrupted()) return hostInterrupted;
        if (exit != hostDone) HostSay("the session failed with code %d", exit);
        HostSay("waiting: an empty line opens the clip again, \"quit\" ends");
        switch (HostAwaitCommand()) {
        case HostCommand::open: break;
        case HostCommand::quit: return hostDone;
        case HostCommand::interrupted:
            HostComplain("interrupted by signal %d", HostInterruptingSignal());
            return hostInterrupted;
        }
    }
}

int Run(const HostOptions& options)
{
    if (!options.makeSample.empty()) return MakeSample(options);
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    std::string error;
    if (!options.grade.empty() && ReadGradeFile(options.grade, &grade, &error) != bpNoErr) {
        HostComplain("%s", error.c_str());
        return hostNoClip;
    }
    OutputKind kind = OutputKind::movie;
    if (!options.output.empty() && !OutputKindOf(options.output, &kind)) {
        HostComplain("%s names no output: .mov, .png or .exr is wanted", options.output.c_str());
        return hostUsage;
    }
    std::unique_ptr<ClipSource> clip = OpenSource(options);
    if (!clip) return hostNoClip;
    const ClipInfo& info = clip->Info();
    HostSay("%s: %u x %u, %d frames, %.3f a second", info.name.c_str(), info.width, info.height, info.frameCount,
            static_cast<double>(info.rate.numerator) / info.rate.denominator);
    const Outputs outputs = OutputsOf(options, info);
    if (!CanWriteInto(std::filesystem::path(outputs.clip).parent_path())) return hostNoOutput;
    if (options.renderOnly) return Render(clip.get(), grade, outputs.clip, options.threads);
    if (!CanWriteInto(std::filesystem::path(outputs.grade).parent_path())) return hostNoOutput;

    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    if (options.serve) return Serve(platform, options, clip.get(), &grade);
    for (uint32_t session = 0; session < options.sessions; ++session) {
        if (int exit = Session(platform, options, clip.get(), &grade); exit != hostDone) return exit;
        if (HostIsInterrupted()) return hostInterrupted;
    }
    return hostDone;
}

} // namespace

int main(int count, char** arguments)
{
    HostOptions options;
    std::string error;
    if (!ParseHostOptions(count - 1, arguments + 1, &options, &error)) {
        HostComplain("%s; --help tells the options", error.c_str());
        return hostUsage;
    }
    if (options.showHelp) {
        std::fputs(kHostHelp, stdout);
        return hostDone;
    }
    if (options.showVersion) {
        std::puts("ochrine-host 3.0.9");
        return hostDone;
    }
    av_log_set_level(AV_LOG_FATAL);
    // The engine tells of every image; what a user needs to know is told by HostSay and HostComplain.
    if (!options.isVerbose) BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    HostCatchSignals();
    return Run(options);
}
