// The command table, the accelerators and the keys of the transport.
#include "src/support/TKCommands.h"

#include "src/platform/BPMemory.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"

#include <algorithm>

namespace {

void RunResetGroup(TKSession* session, const TKCommandSource* source)
{
    if (!source) return;
    (void)CommitOpenEdit(session, true);
    TKResetGroups(session, source->toolMask, source->curveMask);
}

void RunResetAll(TKSession* session, const TKCommandSource*)
{
    (void)CommitOpenEdit(session, true);
    TKResetGroups(session, kOCResetAll, kOCResetAll);
}

void RunOK(TKSession* session, const TKCommandSource*)
{
    TKEndSession(session, kTKCommandOK);
}

void RunCancel(TKSession* session, const TKCommandSource*)
{
    TKEndSession(session, kTKCommandCancel);
}

void RunExit(TKSession* session, const TKCommandSource*)
{
    TKEndSession(session, kTKCommandExit);
}

void RunUndo(TKSession* session, const TKCommandSource*)
{
    TKUndoStepBack(session);
}

void RunRedo(TKSession* session, const TKCommandSource*)
{
    TKUndoStepForward(session);
}

void RunCopy(TKSession* session, const TKCommandSource*)
{
    (void)session->platform->clipboard.put(kTKSettingsFormat, &session->liveSettings, sizeof session->liveSettings);
}

constexpr TKCommandRow kCommands[] = {
    {kTKCommandResetGroup, "Reset", RunResetGroup},
    {kTKCommandResetAll, "Reset All", RunResetAll},
    {kTKCommandOK, "OK", RunOK},
    {kTKCommandCancel, "Cancel", RunCancel},
    {kTKCommandExit, "Exit", RunExit},
    {kTKCommandUndo, "Undo", RunUndo},
    {kTKCommandRedo, "Redo", RunRedo},
    {kTKCommandCut, "Cut", RunCopy}, // Deliberate: Cut leaves the settings as they are.
    {kTKCommandCopy, "Copy", RunCopy},
};

constexpr TKCommandRange kSilentCommands[] = {
    {3, 3},                                                         // reset all tabs of the tool pane
    {5, 8},                                                         // load and save settings and curves
    {14, 15},                                                       // automatic exposure and colour
    {12902, 12902},                                                 // leads to nothing
    {13101, 13103},                                                 // views; the last leads to nothing
    {13202, 13206},                                                 // settings, presets and decision lists
    {13304, 13304},                                                 // reference image
    {13601, 13602},                                                 // guide and knowledge base
    {14105, 14105},                                                 // tables
    {14107, 14114}, {14501, 14557},                                 // preview tables
    {14601, 14657}, {14701, 14757}, {14901, 14904}, {59008, 59009}, // paste; clear, which leads to nothing
    {59014, 59014},                                                 // preferences
    {59025, 59030},                                                 // about; the rest leads to nothing
};

constexpr bool TablesAreSound()
{
    for (size_t i = 1; i < std::size(kCommands); ++i)
        if (kCommands[i].id <= kCommands[i - 1].id) return false;
    for (const TKCommandRange& range : kSilentCommands)
        for (const TKCommandRow& row : kCommands)
            if (range.last < range.first || (row.id >= range.first && row.id <= range.last)) return false;
    return true;
}
static_assert(TablesAreSound());

constexpr uint32_t kControl = bpControlKey, kShiftControl = bpShiftKey | bpControlKey;
constexpr uint32_t kControlAlt = bpControlKey | bpAltKey, kAll = bpShiftKey | bpControlKey | bpAltKey;
constexpr TKAccelerator kAccelerators[] = {
    {'Q', kControl, kTKCommandExit},
    {'Z', kControl, kTKCommandUndo},
    {'Z', kShiftControl, kTKCommandRedo},
    {'X', kControl, kTKCommandCut},
    {'C', kControl, kTKCommandCopy},
    {'V', kControl, 59008},
    {'R', kAll, kTKCommandResetAll},
    {'L', kAll, 13202},
    {'S', kAll, 13203},
    {'P', kAll, 13204},
    {'R', kControlAlt, 13304},
    {'1', kControl, 13101},
    {'2', kControl, 13102},
    {kTKKeyF1, 0, 13601},
};

struct TransportKey {
    uint32_t virtualKey;
    bool consumed;
    void (*run)(TKSession* session, TKTransport* transport);
};

constexpr TransportKey kTransportKeys[] = {
    {kTKKeySpace, false, TKTogglePlay}, // goes on to the window
    {kTKKeyEnd, true, [](TKSession* session, TKTransport*) { TKGoToLastFrame(session); }},
    {kTKKeyHome, true, [](TKSession* session, TKTransport*) { TKGoToFirstFrame(session); }},
    {kTKKeyLeft, true, [](TKSession* session, TKTransport*) { TKStepFrames(session, -1); }},
    {kTKKeyRight, true, [](TKSession* session, TKTransport*) { TKStepFrames(session, 1); }},
};

bool SlotKey(TKSession* session, uint32_t slot, uint32_t modifiers)
{
    if (modifiers != 0 && modifiers != bpShiftKey) return false;
    if (!SlotStoreOrRecall(session, slot, modifiers == bpShiftKey)) session->platform->alert.beep();
    TK_UI(session, refreshDisplays, true);
    return true;
}

uint32_t HeldKeys(uint32_t modifiers)
{
    return modifiers & (bpShiftKey | bpAltKey | bpControlKey);
}

} // namespace

std::span<const TKCommandRow> TKCommands()
{
    return kCommands;
}

std::span<const TKCommandRange> TKSilentCommands()
{
    return kSilentCommands;
}

void DoMenuCommand(TKSession* session, uint32_t commandID, const TKCommandSource* source)
{
    for (const TKCommandRow& row : kCommands) {
        if (row.id != commandID) continue;
        row.run(session, source);
        return;
    }
}

std::span<const TKAccelerator> TKAccelerators()
{
    return kAccelerators;
}

uint32_t TKAcceleratorCommand(uint32_t virtualKey, uint32_t modifiers)
{
    for (const TKAccelerator& row : kAccelerators)
        if (row.virtualKey == virtualKey && row.modifiers == HeldKeys(modifiers)) return row.command;
    return 0;
}

bool TKKeyDown(TKSession* session, uint32_t virtualKey, uint32_t modifiers)
{
    TKTransport* transport = TKActiveTransport(session);
    if (session->fullScreenPreview || !transport || virtualKey < kTKKeySpace || virtualKey > kTKKeyF8) return false;
    if (virtualKey >= kTKKeyF1) return SlotKey(session, virtualKey - kTKKeyF1 + 1, HeldKeys(modifiers));
    if (HeldKeys(modifiers) != 0) return false;
    for (const TransportKey& key : kTransportKeys) {
        if (key.virtualKey != virtualKey) continue;
        key.run(session, transport);
        return key.consumed;
    }
    return false;
}

bool SlotStoreOrRecall(TKSession* session, uint32_t slot, bool store)
{
    if (slot < 1 || slot > kTKSlotCount) return false;
    TKSavedSlot& saved = session->prefs.savedSettings[slot - 1];
    if (!store && !saved.used) return false;
    (void)CommitOpenEdit(session, true);
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

TKMenuState UpdateMenuState(const TKSession* session)
{
    return {.undo = UndoCanStepBack(session->undoRing),
            .redo = UndoCanStepForward(session->undoRing),
            .cut = true,
            .copy = true,
            .paste = session->platform->clipboard.has(kTKSettingsFormat),
            .clear = true};
}

void TKResetGroups(TKSession* session, uint32_t toolMask, uint32_t curveMask)
{
    TKCommandUndo(session);
    auto* previous = static_cast<OCSettings*>(BPAllocate(sizeof(OCSettings)));
    if (previous) *previous = session->liveSettings;
    OCResetSettings(&session->liveSettings, toolMask, curveMask, PrefsResetDefaults(session->prefs));
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, previous, false);
    BPFree(previous);
    RecomputeAndRefresh(session, true);
    TKStoreUndo(session);
}
