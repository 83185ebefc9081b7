// The order in which a process comes up and goes down. Each step is a line or a small function, in its place.
#include "src/support/TKStartup.h"

#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"
#include "src/support/TKCommands.h"
#include "src/support/TKRecovery.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace {

constexpr uint32_t kShortSplashTicks = 30, kLongSplashTicks = 60;
constexpr uint32_t kTakeTicks = 100; // after OK, in which a host may take its grade
constexpr uint32_t kTakeStepMs = 10;
constexpr uint32_t kScanWaitMs = 500;
constexpr int32_t kLastSettingsTab = 8; // "Limiting"

void Wait(const TKSession* session, uint32_t ticks)
{
    session->platform->clock.sleepMs(BPTicksToMs(ticks));
}

void SplashStep(TKSession* session, uint32_t step)
{
    char text[64];
    TKSplashText(step, session->platform->process.processorCount(), text, sizeof text);
    TK_UI(session, splashStep, step, text);
}

/// False, with the user told, on a machine that cannot run the engine.
bool InitialisePlatform(TKSession* session)
{
    const BPPlatform& platform = *session->platform;
    BPDebugLog("path = %s\n", BPProgramFolder().c_str());
    if (!platform.process.processorSuffices()) {
        platform.alert.alert(bpStop,
                             "Ochrine 3 requires a processor with the SSE instruction set, and that SSE be enabled "
                             "and not emulated. In general this means an Intel Pentium III or AMD Athlon XP "
                             "processor or better.");
        return false;
    }
    // The process id beside the time keeps two applications apart that start in the same second.
    session->randomState =
        static_cast<uint64_t>(platform.clock.wallSeconds()) ^ (uint64_t{platform.process.currentId()} << 32);
    TK_UI(session, rememberForeground);
    BPDebugLog("Initialize exit\n");
    return true;
}

void ReadPreferences(TKSession* session)
{
    constexpr uint32_t resetKeys = bpShiftKey | bpControlKey;
    session->prefsReset = (session->platform->keyboard.modifierWord() & resetKeys) == resetKeys;
    if (session->prefsReset)
        PrefsSetDefaults(&session->prefs, *session->platform);
    else
        session->prefsUnread = PrefsRead(&session->prefs, *session->platform) != bpNoErr;
}

bool ScreenIsLargeEnough(const TKSession* session)
{
    BPRect desktop = {};
    if (session->platform->screen.bounds(0, &desktop) != bpNoErr) return false;
    return int64_t{desktop.right} - desktop.left >= kTKLeastScreenWidth &&
           int64_t{desktop.bottom} - desktop.top >= kTKLeastScreenHeight;
}

void ResetToDefaults(const TKSession* session, OCSettings* settings)
{
    OCResetSettings(settings, kOCResetAll, kOCResetAll, PrefsResetDefaults(session->prefs));
}

void ShowEverything(TKSession* session)
{
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, nullptr, false);
    TKRenderResult(session);
    RefreshAfterRender(session, true);
}

/// The tab that a preference names. Whatever number the store holds, one of the tabs from `first` to `last` comes out.
int32_t TabOf(uint32_t preference, int32_t first, int32_t last)
{
    return std::clamp(static_cast<int32_t>(preference - 1), first, last);
}

BPStatus BuildMainWindow(TKSession* session)
{
    session->settingsTab = TabOf(session->prefs.settingsPaneDefault, 0, kLastSettingsTab);
    session->imagePaneMode = TabOf(session->prefs.rightPaneDefault, tkImageResult, tkImageLumaRanges);
    session->views.analysisTab = TabOf(session->prefs.leftPaneDefault, scopeTabCombo, scopeTabGallery);
    session->transport[kTKTransportLeft].visible = true;
    if (!session->prefsReset) TKReadScopeWindow(session);
    if (session->ui.buildMainWindow)
        if (BPStatus err = session->ui.buildMainWindow(session->ui.context, session); err != bpNoErr) return err;
    ResetToDefaults(session, &session->liveSettings);
    ShowEverything(session);
    TK_UI(session, pixelAspectChanged, session->pixelAspect);
    return bpNoErr;
}

/// Steps 13 to 17: what can fail with an error number.
BPStatus BringUp(TKSession* session)
{
    if (BPStatus err = TKPrepareFrameWorlds(session); err != bpNoErr) return err;

    OCUpdateParameters(session->engine, &session->liveSettings);
    ResetToDefaults(session, &session->defaultSettings);
    PrefsApplyVideoLevels(session->prefs, &session->liveSettings);
    session->taskCount = MPStartTasks(&session->tasks, session->prefs.multiprocessorEnable != 0);

    SplashStep(session, 5);
    if (BPStatus err = TKLoadFrameFromHost(session); err != bpNoErr) return err;

    TK_UI(session, setToolTips, session->prefs.toolTipsEnable != 0);
    session->undoRing = UndoCreate(session->prefs.undoDepth, session->liveSettings);

    SplashStep(session, 1);
    return BuildMainWindow(session);
}

void WaitForScan(TKSession* session, const char* found, const char* waiting, const char* complete)
{
    const std::atomic_ref<uint32_t> updateFlag(session->updateFlag);
    if (updateFlag.load() == 0) return;
    BPDebugLog("%s", found);
    std::atomic_ref<uint32_t>(session->abortScan).store(1);
    while (updateFlag.load() != 0) {
        BPDebugLog("%s", waiting);
        session->platform->clock.sleepMs(kScanWaitMs);
    }
    BPDebugLog("%s, update flag = %d\n", complete, static_cast<int>(updateFlag.load()));
}

/// Stores 4, as the last word to the host, and lets go of its block.
void HandBack(TKSession* session)
{
    TKUIComm* block = TKBlockOf(session);
    if (!block) return;
    TKStoreStatus(block, kTKUIStatusUIDone);
    TKSwapCommBlock(session, block);
}

bool StaysResident(const TKSession* session, uint32_t command)
{
    return command != kTKCommandExit && session->prefs.uiTimeoutEnable != 0 && TKBlockOf(session) &&
           (session->hostProcessHigh != 0 || session->hostProcessID != 0);
}

/// Whether the block still is the one whose host got the grade: a host that has taken it removes the block.
bool BlockIsLeftBehind(TKSession* session)
{
    BPSharedMemory memory = {};
    const BPSharedMemoryOps& ops = session->platform->sharedMemory;
    if (ops.open(kTKCommBlockName, kTKUICommBytes, &memory) != bpNoErr) return false;
    const auto* block = reinterpret_cast<const TKUIComm*>(memory.address);
    const auto inOrder = [session](uint32_t word) { return session->hostSwapped ? __builtin_bswap32(word) : word; };
    const bool left = inOrder(TKReadStatus(block)) == kTKUIStatusUIDone &&
                      inOrder(TKReadOnce(block->hostProcessID)) == session->hostProcessID;
    ops.close(&memory);
    return left;
}

/// Gives the host the time to take its grade, as long as it lives. A resident application waits in any case.
void AwaitTaking(TKSession* session)
{
    const uint64_t limit = session->platform->clock.monotonicMs() + BPTicksToMs(kTakeTicks);
    while (BlockIsLeftBehind(session) && TKHostIsAlive(session) && session->platform->clock.monotonicMs() < limit)
        session->platform->clock.sleepMs(kTakeStepMs);
}

/// The journal of a session that ends by `command`. A grade that was given to a dead host has reached nobody.
void FinishJournal(TKSession* session, uint32_t command, bool hostWasAlive)
{
    bool done = command == kTKCommandCancel;
    if (command == kTKCommandOK) {
        done = hostWasAlive && (TKHostIsAlive(session) || !BlockIsLeftBehind(session));
        if (!done) BPDebugLog("The host ended before it took the grade\n");
    }
    TKRecoveryFinish(session, done ? tkRecoveryDone : tkRecoveryKept);
}

void GoResident(TKSession* session, uint32_t command)
{
    TK_UI(session, enableMenus, false);
    TK_UI(session, hideMainWindow);
    session->uiDeadline = session->platform->clock.wallSeconds() + 60.0 * session->prefs.uiTimeoutDuration;
    TK_UI(session, restoreForeground);
    HandBack(session);
    BPDebugLog(">>>>>>>>>>>>>>>>>>>>>>>> UI: %s was clicked\n", command == kTKCommandOK ? "OK" : "Cancel");
    TKCloseCommBlock(session);
    if (command == kTKCommandOK) Wait(session, kTakeTicks);
}

void Quit(TKSession* session)
{
    TKWritePreferences(session);
    HandBack(session);
    TKCloseCommBlock(session);
    session->quitting = true;
}

/// Names of processes that are gone are of use to nobody.
void WithdrawUIBlock(TKSession* session)
{
    if (!session->uiBlock.address) return;
    const BPPlatform& platform = *session->platform;
    const bool ours =
        reinterpret_cast<const UIBlock*>(session->uiBlock.address)->processID == platform.process.currentId();
    if (ours) (void)platform.sharedMemory.removeMapped(kTKUIBlockName, &session->uiBlock);
    platform.sharedMemory.close(&session->uiBlock);
    session->uiBlock = {};
}

} // namespace

void TKSplashText(uint32_t step, uint32_t processors, char* text, uint32_t length)
{
    constexpr const char* texts[] = {"",
                                     "Initializing interface",
                                     "Loading Gallery",
                                     "",
                                     "Starting Beaconline",
                                     "Loading image",
                                     "Initializing control surface"};
    if (step == 3)
        std::snprintf(text, length, processors < 2 ? "%u processor found" : "%u processors found", processors);
    else
        std::snprintf(text, length, "%s", step < std::size(texts) ? texts[step] : "");
}

void TKWritePreferences(TKSession* session)
{
    if (session->prefsUnread)
        BPDebugLog("The preferences could not be read at the start and are left as they are\n");
    else
        (void)PrefsWrite(session->prefs, *session->platform);
}

TKStartResult TKStartUp(TKSession* session)
{
    BPDebugLog("main 1\n"); // the session was made in its initial state
    BPDebugLog("main 2\n");
    PrepareUIPalette(&session->palette, session->prefs.uiBrightness);
    BPDebugLog("main 3\n");
    PrepareAccentTable(&session->palette, session->prefs.uiSaturation);
    BPDebugLog("main 4\n");
    if (!InitialisePlatform(session)) return tkStartEnded;
    BPDebugLog("main 5\n");
    BPDebugLog("main 6\n");

    ReadPreferences(session);
    PrepareUIPalette(&session->palette, session->prefs.uiBrightness);
    PrepareAccentTable(&session->palette, session->prefs.uiSaturation);
    TK_UI(session, paletteChanged);

    if (TKAttachHost(session) != tkAttached) return tkStartEnded;
    if (session->hostProcessID != 0) session->platform->screen.allowForeground(session->hostProcessID);

    TK_UI(session, showSplash);
    SplashStep(session, 0);
    if (session->prefsReset) Wait(session, kLongSplashTicks);
    SplashStep(session, 3);
    Wait(session, kShortSplashTicks);

    if (!ScreenIsLargeEnough(session)) {
        session->platform->alert.messageBox("Insufficient Screen Resolution",
                                            "Ochrine requires a minimum screen size of 1024 x 768.");
        return tkStartFailed;
    }
    session->startupError = BringUp(session);
    if (session->startupError != bpNoErr) return tkStartFailed;

    TKTakeSettingsFromBlock(session);
    ShowEverything(session); // the first picture is graded; no undo step

    SplashStep(session, 2);
    TKAddHostClips(session);
    TKDrawSplitMask(session);
    SplashStep(session, 6);

    TK_UI(session, raiseMainWindow);
    TK_UI(session, showMainWindow);
    UndoReset(session->undoRing);
    session->controls.lastTouched = nullptr;
    TK_UI(session, raiseMainWindow);

    TK_UI(session, startTimer, kTKTickMs);
    (void)TKCommWindowCreate(session, TKBlockOf(session));
    TKUpdatePositionText(session);
    TKRecoveryBegin(session);
    TK_UI(session, hideSplash);
    session->interfaceReady = true;
    return tkStartRun;
}

void TKEndSession(TKSession* session, uint32_t command)
{
    TKUIComm* block = TKBlockOf(session);
    if (!block && command != kTKCommandExit) return; // resident: the window is hidden
    if (command == kTKCommandOK && TKHostTookItsBlock(session)) {
        TKEndLostSession(session); // nobody would find the grade
        return;
    }
    if (command == kTKCommandOK) TKStopPlayback(session);
    TKPickCancel(session);
    (void)CommitOpenEdit(session, true);
    TKSettleControls(session);
    TKStopPlayback(session);
    TKRecoveryFlush(session);
    const bool hostIsAlive = TKHostIsAlive(session);
    if (command == kTKCommandOK)
        block->settings = session->liveSettings;
    else
        WaitForScan(session, "kHICommandQuit: detected update\n", "kHICommandQuit: waiting\n",
                    "kHICommandQuit: wait complete");
    const bool stays = StaysResident(session, command);
    if (stays)
        GoResident(session, command);
    else {
        Quit(session);
        if (command == kTKCommandOK) {
            TK_UI(session, hideMainWindow); // nobody shall look at a window that does not answer
            AwaitTaking(session);
        }
    }
    FinishJournal(session, command, hostIsAlive);
    if (!stays) TK_UI(session, closeMainWindow);
}

void TKEndLostSession(TKSession* session)
{
    TKStopPlayback(session);
    TKPickCancel(session);
    (void)CommitOpenEdit(session, true);
    TKSettleControls(session);
    TKRecoveryFlush(session);
    const bool kept = session->recovery.file.handle != 0;
    TKRecoveryFinish(session, tkRecoveryKept);
    BPDebugLog("The host took its block back\n");
    Quit(session);
    session->platform->alert.alert(bpStop, kept ? "The host has ended this session without waiting for OK or Cancel. "
                                                  "The grade is kept; it is offered when the clip is opened again."
                                                : "The host has ended this session without waiting for OK or Cancel.");
    TK_UI(session, closeMainWindow);
}

void TKApplicationActivated(TKSession* session, bool active)
{
    if (!active && session->interfaceReady) TKStopPlayback(session);
}

bool TKMainWindowClose(TKSession* session)
{
    if (TKBlockOf(session)) {
        TKEndSession(session, kTKCommandExit);
        return false;
    }
    TK_UI(session, quitLoop);
    return true;
}

int32_t TKFinish(TKSession* session)
{
    WaitForScan(session, "detected update\n", "waiting\n", "wait complete");
    session->interfaceReady = false;
    if (session->startupError != bpNoErr) {
        BPDebugLog("BP Ochrine UI failed, error %d\n", session->startupError);
        session->platform->alert.alert(bpStop, "Unable to start user interface.");
    }
    TKTearDown(session);
    return session->startupError;
}

void TKTearDown(TKSession* session)
{
    if (session->tasks) MPDisposeTasks(session->taskCount, &session->tasks);
    session->taskCount = 1;
    TKCommWindowClose(session);
    WithdrawUIBlock(session);
    for (ScopeSurface* surface :
         {&session->resultSurface, &session->splitSurface, &session->splitMask, &session->secondarySurface,
          &session->sourceSurface, &session->views.referenceSurface})
        ScopeSurfaceDispose(surface);
    OCDisposeStageCache(&session->stageCache);
    for (FBFrame** frame : {&session->sourceFrame, &session->resultFrame}) {
        if (*frame) FBDisposeFrameBuffer(*frame);
        *frame = nullptr;
    }
    TK_UI(session, surfacesReplaced);
    TKRecoveryFinish(session, tkRecoveryKept);
    HandBack(session);
    TKCloseCommBlock(session);
}
