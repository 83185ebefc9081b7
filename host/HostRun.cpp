// The session of the command line host: block, application, loop.
#include "host/HostRun.h"

#include "host/HostMisbehave.h"
#include "host/HostProgress.h"
#include "host/HostSession.h"
#include "src/platform/BPFiles.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>

static_assert(sizeof(OCSettings) == kOchrineGradeBytes && kOCSettingsSignature == kOchrineGradeSignature);

namespace {

constexpr uint32_t kStepMs = 2;
/// A resident application looks for a block every 10 ms. One that does not is in a session with a host that died.
constexpr uint64_t kResidentMs = 3000;

/// What a session holds, given back at its end whatever the end is.
struct Session {
    const BPPlatform& platform;
    const HostOptions& options;
    ClipSource* clip;
    OchrineHost* host = nullptr;
    std::vector<uint8_t> pixels;
    uint32_t application = 0; // its process
    bool isChild = false;     // started by us, not found
    uint64_t startedAtMs = 0;
    MisbehaveState misbehaviour;

    Session(const BPPlatform& p, const HostOptions& o, ClipSource* c) : platform(p), options(o), clip(c) {}
    ~Session()
    {
        int32_t ignored = 0;
        if (isChild) (void)platform.process.reap(application, &ignored);
        OchrineHostClose(host);
    }
};

std::string FindApplication(const HostOptions& options)
{
    if (!options.application.empty()) return options.application;
    const std::string folder = BPProgramFolder();
    for (const char* place : {"/ochrine", "/../app/ochrine"}) {
        std::error_code ignored;
        if (!folder.empty() && std::filesystem::is_regular_file(folder + place, ignored)) return folder + place;
    }
    return "ochrine";
}

int StartApplication(Session* session)
{
    const std::string path = FindApplication(session->options);
    const char* const arguments[] = {path.c_str(), nullptr};
    session->startedAtMs = session->platform.clock.monotonicMs();
    if (session->platform.process.spawn(arguments, &session->application) != bpNoErr) {
        HostComplain("cannot start %s; --app names the application", path.c_str());
        return hostNoApplication;
    }
    session->isChild = true;
    HostSay("started %s (process %u)", path.c_str(), session->application);
    // It may be gone already; then the session ends at its first step.
    if (session->host != nullptr && OchrineHostWatch(session->host, session->application) != ochrineOk) {
        HostComplain("%s ended at once", path.c_str());
        return hostNoApplication;
    }
    return hostDone;
}

/// Finds a resident application unless another one is asked for in its place, or starts one.
int FindOrStartApplication(Session* session)
{
    uint32_t resident = 0;
    if (OchrineFindResidentOn(session->platform, &resident) == ochrineOk &&
        OchrineHostWatch(session->host, resident) == ochrineOk) {
        session->application = resident;
        session->isChild = false;
        session->startedAtMs = session->platform.clock.monotonicMs();
        HostSay("found the resident application (process %u)", resident);
        return hostDone;
    }
    return StartApplication(session);
}

void FillTiming(const ClipInfo& info, OchrineBlock* block)
{
    const int64_t frames = info.frameCount;
    const bool fits = (frames - 1) * info.rate.denominator <= INT32_MAX;
    block->frameStep = fits ? info.rate.denominator : 1;
    block->frameTime = 0;
    block->frameTimeMax = static_cast<int32_t>((frames - 1) * block->frameStep);
    block->frameRate100 = ClipRate100(info.rate);
    block->timeDisplayFormat = ochrineTimecode;
    block->framesPerFoot = 16;
    block->dropFrameMode = info.dropFrame ? 0 : 1;
    block->startFrame = static_cast<uint16_t>(info.firstNumber <= 65535 ? info.firstNumber : 0);
    block->pixelAspect = static_cast<float>(info.pixelAspect);
}

void FillClips(const ClipInfo& info, OchrineBlock* block)
{
    if (info.files.empty()) return;
    std::error_code failed;
    const std::string path = std::filesystem::absolute(info.files.front(), failed).string();
    if (failed || path.size() >= sizeof(block->clipList[0].path)) return;
    std::memcpy(block->clipList[0].path, path.c_str(), path.size() + 1);
    block->clipCount = 1;
}

int MakeBlock(Session* session, const OCSettings& grade)
{
    const ClipInfo& info = session->clip->Info();
    const uint32_t chunkRows = session->options.chunkRows;
    const Misbehave mode = session->options.misbehave;
    session->pixels.resize(static_cast<size_t>(ClipFrameBytes(info)));
    if (session->clip->ReadFrame(0, session->pixels.data()) != bpNoErr) {
        HostComplain("the first frame cannot be decoded");
        return hostNoClip;
    }
    if (mode == Misbehave::staleBlock && LeaveStaleBlock(session->platform) != ochrineOk) {
        HostComplain("cannot leave a stale block");
    }
    const uint64_t room =
        chunkRows == 0 ? ClipFrameBytes(info) : uint64_t{std::min(chunkRows, info.height)} * info.rowBytes;
    OchrineResult err = OchrineHostOpenOn(session->platform, room, &session->host);
    if (err == ochrineExistsErr) {
        HostComplain("another host is in a session: %s/%s", BPRuntimeFolder().c_str(), kOchrineBlockName);
        return hostBusy;
    }
    if (err != ochrineOk) {
        HostComplain("cannot make the shared block in %s (error %d)", BPRuntimeFolder().c_str(), err);
        return hostNoApplication;
    }
    OchrineBlock* block = OchrineHostBlock(session->host);
    FillTiming(info, block);
    FillClips(info, block);
    std::memcpy(block->hostApp, "OcHo", 4);
    std::memcpy(block->settings, &grade, sizeof(grade));
    const OchrineFrame frame = {.width = info.width,
                                .height = info.height,
                                .rowBytes = info.rowBytes,
                                .pixelFormat = static_cast<uint32_t>(info.pixelFormat),
                                .pixels = session->pixels.data()};
    if (err = OchrineHostPrepare(session->host, &frame, chunkRows); err != ochrineOk) {
        HostComplain("the first frame does not fit the block (error %d)", err);
        return hostNoClip;
    }
    SpoilBlock(mode, block);
    OchrineStoreStatus(block, kTKUIStatusDataReady);
    return hostDone;
}

/// The frame that the application wants, or 11.
void ServeFrame(Session* session, const OchrineEvent& event)
{
    if (session->clip->ReadFrame(event.frameNumber, session->pixels.data()) != bpNoErr) {
        HostComplain("frame %d cannot be decoded", event.frameNumber);
        OchrineHostRefuse(session->host);
        return;
    }
    if (MisbehaveInRequest(session->options.misbehave, session->host, &session->pixels, &session->misbehaviour)) return;
    const OchrineResult err =
        OchrineHostAnswer(session->host, session->pixels.data(), static_cast<uint32_t>(session->pixels.size()));
    if (err != ochrineOk) HostComplain("frame %d cannot be sent (error %d)", event.frameNumber, err);
}

using Keep = std::function<int(const OCSettings& grade, bool changed)>;

int TakeGrade(Session* session, OCSettings* grade, const Keep& keep)
{
    OCSettings result = {};
    if (OchrineHostReadGrade(session->host, &result) != ochrineOk) {
        HostComplain("the application left no grade in the block");
        return hostRefused;
    }
    const bool changed = std::memcmp(&result, grade, sizeof(result)) != 0;
    *grade = result;
    return keep(result, changed);
}

/// Tells of an application that ended; gives the exit code of the host.
int TellOfDeath(Session* session, const OchrineEvent& event)
{
    int32_t code = 0;
    const bool isKnown = session->isChild && session->platform.process.reap(session->application, &code) == bpNoErr;
    const char* when = event.status == kTKUIStatusDataReady      ? "before it took the clip"
                       : event.status == kTKUIStatusRequestFrame ? "while it waited for a frame"
                                                                 : "without OK or Cancel";
    if (isKnown) {
        HostComplain("the application ended %s (exit code %d)", when, code);
    } else {
        HostComplain("the application ended %s", when);
    }
    return hostApplicationDied;
}

int Loop(Session* session, OCSettings* grade, const Keep& keep)
{
    const uint64_t limitMs = uint64_t{session->options.timeoutSeconds} * 1000;
    for (;;) {
        OchrineEvent event = {};
        OchrineHostStep(session->host, &event);
        switch (event.kind) {
        case ochrineEventAttached: HostSay("the application has taken the clip"); break;
        case ochrineEventFrameWanted: ServeFrame(session, event); break;
        case ochrineEventDone: return TakeGrade(session, grade, keep);
        case ochrineEventFailed: HostComplain("the application could not take the clip"); return hostRefused;
        case ochrineEventDied:
            if (event.status != kTKUIStatusDataReady || session->isChild) return TellOfDeath(session, event);
            // It was about to leave when we found it.
            if (int exit = StartApplication(session); exit != hostDone) return exit;
            break;
        case ochrineEventNone:
            if (event.status != kTKUIStatusDataReady) break;
            const uint64_t waitedMs = session->platform.clock.monotonicMs() - session->startedAtMs;
            if (!session->isChild && waitedMs > kResidentMs) {
                HostSay("it does not take the clip; starting another one");
                if (int exit = StartApplication(session); exit != hostDone) return exit;
            } else if (waitedMs > limitMs) {
                HostComplain("the application has not taken the clip in %u s", session->options.timeoutSeconds);
                return hostTimeout;
            }
            break;
        }
        MisbehaveInStep(session->options.misbehave, session->host, session->application, event, &session->misbehaviour);
        if (HostIsInterrupted()) {
            HostComplain("interrupted by signal %d", HostInterruptingSignal());
            OchrineHostStep(session->host, &event); // an OK that came meanwhile is not to be lost
            return event.kind == ochrineEventDone ? TakeGrade(session, grade, keep) : int{hostInterrupted};
        }
        session->platform.clock.sleepMs(kStepMs);
    }
}

/// Shows the application an object that is too small, and waits for what it does.
int RunShortObject(Session* session)
{
    BPSharedMemory memory = {};
    if (MakeShortObject(session->platform, &memory) != ochrineOk) {
        HostComplain("cannot make the short object");
        return hostBusy;
    }
    int exit = StartApplication(session);
    const uint64_t limitMs = uint64_t{session->options.timeoutSeconds} * 1000;
    while (exit == hostDone) {
        int32_t code = 0;
        if (session->platform.process.reap(session->application, &code) == bpNoErr) {
            HostComplain("the application ended before it took the clip (exit code %d)", code);
            exit = hostApplicationDied;
        } else if (session->platform.clock.monotonicMs() - session->startedAtMs > limitMs) {
            exit = hostTimeout;
        } else if (HostIsInterrupted()) {
            exit = hostInterrupted;
        }
        session->platform.clock.sleepMs(kStepMs);
    }
    session->platform.sharedMemory.close(&memory);
    (void)session->platform.sharedMemory.remove(kOchrineBlockName);
    return exit;
}

} // namespace

int RunHostSession(const BPPlatform& platform, const HostOptions& options, ClipSource* clip, OCSettings* grade,
                   const Keep& keep)
{
    Session session(platform, options, clip);
    if (options.misbehave == Misbehave::shortObject) return RunShortObject(&session);
    if (int exit = MakeBlock(&session, *grade); exit != hostDone) return exit;
    if (int exit = FindOrStartApplication(&session); exit != hostDone) return exit;
    return Loop(&session, grade, keep);
}
