// What the commands do.
#include "src/support/TKCommands.h"

#include "src/OCAutoCorrections.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"
#include "src/support/TKCommandActions.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"

#include <string>

namespace {

constexpr char kProductName[] = "Ochrine 3 UI";
constexpr char kDefaultFolder[] = "/usr/share/ochrine";

/// The settings on the clipboard, from BPAllocate, or null when it holds none: the format, the exact size and the
/// signature must be right. The values inside are as foreign as those of a host, and are checked where they are used.
OCSettings* SettingsOfClipboard(const BPClipboardOps& clipboard)
{
    auto* block = static_cast<OCSettings*>(BPAllocate(sizeof(OCSettings)));
    if (!block) return nullptr;
    uint32_t byteCount = 0;
    const BPStatus status = clipboard.get(kTKSettingsFormat, block, sizeof *block, &byteCount);
    if (status == bpNoErr && byteCount == sizeof *block && block->signature == kOCSettingsSignature) return block;
    BPFree(block);
    return nullptr;
}

void SetViewMode(TKSession* session, uint32_t mode)
{
    session->viewMode = mode;
    TK_UI(session, showViewMode, mode);
}

/// An automatic correction of the Levels blocks from `first` up to `end` as one undo step. The blocks are switched on,
/// as an edit by hand would, so that what was found is seen. A frame of which nothing can be counted leaves a step
/// without a change.
template <class Find> void AutoLevels(TKSession* session, uint32_t first, uint32_t end, Find find)
{
    if (!session->sourceFrame) return;
    TKChangeAsOneStep(session, [&](OCSettings* settings) {
        if (find(settings) == 0) return;
        settings->levelsOn = 1;
        for (uint32_t block = first; block < end; ++block) settings->levels[block].on = 1;
    });
}

} // namespace

void DoMenuCommand(TKSession* session, uint32_t commandID, const TKCommandSource* source)
{
    const TKCommandRow* row = TKFindCommand(commandID);
    if (!row || TKCommandIsSilent(session, *row)) return;
    if (row->before & kTKStopsPreview) TKPreviewOff(session);
    if (row->before & kTKFocusesMain) TK_UI(session, focusMainWindow);
    if (row->before & kTKCommits) (void)CommitOpenEdit(session, true);
    TKSettleControls(session);
    session->commandID = commandID;
    row->run(session, source);
}

bool TKCommandIsEnabled(const TKSession* session, uint32_t commandID)
{
    const TKCommandRow* row = TKFindCommand(commandID);
    if (!row || TKCommandIsSilent(session, *row)) return false;
    switch (row->enabled) {
    case tkEnabledWithUndo: return UndoCanStepBack(session->undoRing);
    case tkEnabledWithRedo: return UndoCanStepForward(session->undoRing);
    case tkEnabledWithPaste: return session->sourceFrame && session->platform->clipboard.has(kTKSettingsFormat);
    case tkEnabledAlways:
    case tkEnabledWithViews: return true; // without them it is silent
    }
    return false;
}

TKMenuState UpdateMenuState(const TKSession* session)
{
    const uint32_t device = session->prefs.externalPreviewDevice;
    return {.undo = TKCommandIsEnabled(session, kTKCommandUndo),
            .redo = TKCommandIsEnabled(session, kTKCommandRedo),
            .cut = true,
            .copy = true,
            .paste = TKCommandIsEnabled(session, kTKCommandPaste),
            .clear = true,
            .secondaryLUT = session->prefs.secondaryPreviewMonitor != 0 && session->secondarySurface.pixels &&
                            session->secondaryPaneExists,
            .externalLUT = session->externalDeviceOpen && device != kTKDeviceNone && device != kTKDeviceBeaconline};
}

void TKPreviewOff(TKSession* session)
{
    TKStopPlayback(session);
}

// Steps ----------------------------------------------------------------------------------------------------------------

OCSettings* TKBeginCommandStep(TKSession* session)
{
    TKCommandUndo(session);
    auto* previous = static_cast<OCSettings*>(BPAllocate(sizeof(OCSettings)));
    if (previous) *previous = session->liveSettings;
    return previous;
}

void TKEndCommandStep(TKSession* session, OCSettings* previous)
{
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, previous, false);
    BPFree(previous);
    RecomputeAndRefresh(session, true);
    TKStoreUndo(session);
}

void TKResetGroups(TKSession* session, uint32_t toolMask, uint32_t curveMask)
{
    TKChangeAsOneStep(session, [&](OCSettings* settings) {
        OCResetSettings(settings, toolMask, curveMask, PrefsResetDefaults(session->prefs));
    });
}

bool SlotStoreOrRecall(TKSession* session, uint32_t slot, bool store)
{
    if (slot < 1 || slot > kTKSlotCount) return false;
    TKSavedSlot& saved = session->prefs.savedSettings[slot - 1];
    if (!store && (!saved.used || saved.settings.signature != kOCSettingsSignature)) return false;
    (void)CommitOpenEdit(session, true);
    TKSettleControls(session);
    if (store) {
        saved.settings = session->liveSettings;
        saved.used = 1;
    } else {
        TKCommandUndo(session);
        session->liveSettings = saved.settings;
        UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, nullptr, false);
        RecomputeAndRefresh(session, false);
        TKStoreUndo(session);
    }
    session->lastSlot = slot;
    return true;
}

// The functions of the table -------------------------------------------------------------------------------------------

void TKRunNothing(TKSession*, const TKCommandSource*) {}

void TKRunResetPane(TKSession* session, const TKCommandSource*)
{
    TKResetGroups(session, kOCResetAll, kOCResetAll);
}

void TKRunResetGroup(TKSession* session, const TKCommandSource* source)
{
    if (source) TKResetGroups(session, source->toolMask, source->curveMask);
}

void TKRunResetAll(TKSession* session, const TKCommandSource*)
{
    TKResetGroups(session, kOCResetAll, kOCResetAll);
}

void TKRunViewSingle(TKSession* session, const TKCommandSource*)
{
    SetViewMode(session, 1);
}

void TKRunViewNormal(TKSession* session, const TKCommandSource*)
{
    SetViewMode(session, 2);
}

void TKOpenUsersGuide(TKSession* session, const char* programFolder)
{
    std::string path = programFolder && programFolder[0] ? programFolder : kDefaultFolder;
    if (path.back() != '/') path += '/';
    path += kTKUsersGuideName;
    BPDebugLog("Loading Users Guide from \"%s\"\n", path.c_str());
    if (session->platform->shell.openFile(path.c_str()) == bpNoErr) return;
    session->platform->alert.messageBox(kProductName,
                                        "Unable to locate Ochrine 3 documentation -- try reinstalling Ochrine 3");
}

void TKRunUsersGuide(TKSession* session, const TKCommandSource*)
{
    TKOpenUsersGuide(session, BPProgramFolder().c_str());
}

void TKRunKnowledgeBase(TKSession* session, const TKCommandSource*)
{
    (void)session->platform->shell.openAddress(kTKKnowledgeBaseAddress);
}

void TKRunOK(TKSession* session, const TKCommandSource*)
{
    TKEndSession(session, kTKCommandOK);
}

void TKRunCancel(TKSession* session, const TKCommandSource*)
{
    TKEndSession(session, kTKCommandCancel);
}

void TKRunExit(TKSession* session, const TKCommandSource*)
{
    TKEndSession(session, kTKCommandExit);
}

void TKRunUndo(TKSession* session, const TKCommandSource*)
{
    TKUndoStepBack(session);
}

void TKRunRedo(TKSession* session, const TKCommandSource*)
{
    TKUndoStepForward(session);
}

void TKRunCopy(TKSession* session, const TKCommandSource*)
{
    (void)session->platform->clipboard.put(kTKSettingsFormat, &session->liveSettings, sizeof session->liveSettings);
}

void TKRunPaste(TKSession* session, const TKCommandSource*)
{
    if (!session->sourceFrame) return;
    OCSettings* block = SettingsOfClipboard(session->platform->clipboard);
    if (!block) return;
    (void)CommitOpenEdit(session, true);
    TKCommandUndo(session);
    OCResetSettings(&session->liveSettings, kOCResetAll, kOCResetAll, PrefsResetDefaults(session->prefs));
    session->liveSettings = *block;
    BPFree(block);
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, nullptr, false);
    RecomputeAndRefresh(session, true);
    // Deliberate: no TKStoreUndo. The slot keeps its older content, and a redo of the paste brings that back.
}

void TKRunAutoExposure(TKSession* session, const TKCommandSource*)
{
    AutoLevels(session, 0, 1, [session](OCSettings* settings) {
        return OCRunAutoExposure(session->sourceFrame, settings, session->prefs.autoLumaTrim);
    });
}

void TKRunAutoColor(TKSession* session, const TKCommandSource*)
{
    AutoLevels(session, 1, 4,
               [session](OCSettings* settings) { return OCRunAutoColor(session->sourceFrame, settings); });
}

void TKRunAbout(TKSession* session, const TKCommandSource*)
{
    TK_UI(session, showAbout);
}
