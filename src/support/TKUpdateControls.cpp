// The two roads between the record and what the user sees, and undo, which walks both.
#include "src/platform/BPMemory.h"
#include "src/support/TKSession.h"
#include "src/support/TKSwatch.h"
#include "src/support/TKUserDraw.h"

#include <cstring>

namespace {

/// Equal as values: a NaN differs from itself, the two zeros are one.
bool FieldIsEqual(const SliderVars& slider, const uint8_t* a, const uint8_t* b)
{
    if (slider.flags & kTKSliderFloat) {
        float left, right;
        std::memcpy(&left, a + slider.dataOffset, sizeof left);
        std::memcpy(&right, b + slider.dataOffset, sizeof right);
        return left == right;
    }
    return std::memcmp(a + slider.dataOffset, b + slider.dataOffset, 4) == 0;
}

bool SwitchesDiffer(const OCSettings* a, const OCSettings* b)
{
    const auto* left = reinterpret_cast<const uint8_t*>(a);
    const auto* right = reinterpret_cast<const uint8_t*>(b);
    for (const TKSection& section : TKSections())
        for (uint32_t i = 0; i < section.switchCount; ++i)
            if (std::memcmp(left + section.switchOffset[i], right + section.switchOffset[i], 4) != 0) return true;
    return false;
}

/// The value of a slider's field in another record of the same kind.
double ValueIn(const SliderVars& slider, const OCSettings* settings)
{
    SliderVars reader = slider;
    reader.dataBase = reinterpret_cast<uint8_t*>(const_cast<OCSettings*>(settings));
    return GetSliderValue(reader);
}

/// Without memory for its slots a ring holds nothing.
bool HoldsSteps(const TKUndoRing* ring)
{
    return ring && ring->undoSlotCount != 0;
}

/// A step of undo or redo; `step` is one of the ring's.
bool Step(TKSession* session, bool (*step)(TKUndoRing*, OCSettings*), bool possible)
{
    if (!possible) return false;
    TKSettleControls(session);            // the state that is left can be come back to
    (void)CommitOpenEdit(session, false); // the record is about to be replaced
    auto* previous = static_cast<OCSettings*>(BPAllocate(sizeof(OCSettings)));
    if (previous) *previous = session->liveSettings;
    const bool stepped = step(session->undoRing, &session->liveSettings);
    session->controls.lastTouched = nullptr;
    session->controls.undoPending = false;
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, previous, false);
    BPFree(previous);
    TKRenderResult(session);
    RefreshAfterRender(session, true);
    return stepped;
}

} // namespace

bool TKGroupIsSelected(TKSectionID section, uint32_t toolMask, uint32_t curveMask)
{
    if (section >= tkSectionCount) return toolMask == kOCResetAll && curveMask == kOCResetAll;
    const TKSection& row = TKSections()[section];
    return (row.toolMask & toolMask) != 0 || (row.curveMask & curveMask) != 0;
}

bool TKFieldsDiffer(const OCSettings* a, const OCSettings* b, size_t offset, size_t byteCount)
{
    const auto* left = reinterpret_cast<const uint8_t*>(a);
    const auto* right = reinterpret_cast<const uint8_t*>(b);
    return std::memcmp(left + offset, right + offset, byteCount) != 0;
}

uint32_t UpdateAllControls(TKSession* session, const OCSettings* settings, uint32_t toolMask, uint32_t curveMask,
                           const OCSettings* previous, bool force)
{
    const auto* now = reinterpret_cast<const uint8_t*>(settings);
    const auto* before = reinterpret_cast<const uint8_t*>(previous);
    const bool all = toolMask == kOCResetAll && curveMask == kOCResetAll;
    if (all && (!previous || force || SwitchesDiffer(settings, previous))) TK_UI(session, switchesChanged);

    uint32_t shown = 0;
    for (uint32_t i = 0; i < session->controls.sliderCount; ++i) {
        SliderVars* slider = session->controls.slider[i];
        if (slider->dataBase != reinterpret_cast<uint8_t*>(&session->liveSettings)) continue; // another record's
        if (!TKGroupIsSelected(slider->section, toolMask, curveMask)) continue;
        if (before && !force && FieldIsEqual(*slider, now, before)) continue;
        (void)SetSliderValue(session, slider, ValueIn(*slider, settings), false);
        ++shown;
    }
    TK_UI(session, updateOtherControls, settings, toolMask, curveMask, previous, force);
    TKShowViews(session);
    TKRedrawSwatches(session);
    return shown;
}

void RecomputeAndRefresh(TKSession* session, bool force)
{
    session->controls.updatePending = false;
    if (session->platform->keyboard.modifierWord() & bpCapsLock) {
        session->updateSuspended = true;
        RefreshDisplaysOnly(session, force);
        return;
    }
    session->updateSuspended = false;
    if (session->renderInProgress) {
        session->controls.updatePending = true; // the newest value is not to be lost
        return;
    }
    TKRenderResult(session);
    RefreshAfterRender(session, force);
}

void TKRenderFrame(TKSession* session)
{
    if (session->renderInProgress || !session->sourceFrame || !session->resultFrame) return;
    session->renderInProgress = true;
    const FBFrame* result = session->resultFrame;
    const ScopeSurface& surface = session->resultSurface;
    OCDisplay display = {};
    if (surface.pixels && surface.width == result->width && surface.height == result->height)
        display = {.pixels = surface.pixels, .rowBytes = surface.rowBytes, .format = pixFormatBGRA8};
    ProcessImageCached(session->engine, &session->stageCache, session->sourceFrame, result, display,
                       &session->liveSettings, 0, session->taskCount, session->tasks);
    ++session->renderCount;
    session->resultIsStale = false;
    session->renderInProgress = false;
}

void TKRenderResult(TKSession* session)
{
    if (session->renderInProgress) return;
    OCUpdateParameters(session->engine, &session->liveSettings);
    TKRenderFrame(session);
    TKRedrawSwatches(session);
    TKRedrawUserDraws(session);
}

void TKSettleControls(TKSession* session)
{
    TK_UI(session, settleControls);
}

bool TKGestureUndo(TKSession* session, const void* control)
{
    TKControls& controls = session->controls;
    if (controls.lastTouched == control) return false;
    TKSettleControls(session);
    UndoPush(session->undoRing, session->liveSettings);
    controls.lastTouched = control;
    return HoldsSteps(session->undoRing);
}

void TKStoreUndo(TKSession* session)
{
    UndoStore(session->undoRing, session->liveSettings);
}

bool TKCommandUndo(TKSession* session)
{
    TKSettleControls(session);
    return TKCommandUndoFrom(session, session->liveSettings);
}

bool TKCommandUndoFrom(TKSession* session, const OCSettings& before)
{
    UndoPush(session->undoRing, before);
    session->controls.lastTouched = nullptr;
    session->controls.undoPending = false;
    return HoldsSteps(session->undoRing);
}

bool TKUndoStepBack(TKSession* session)
{
    return Step(session, UndoStepBack, UndoCanStepBack(session->undoRing));
}

bool TKUndoStepForward(TKSession* session)
{
    return Step(session, UndoStepForward, UndoCanStepForward(session->undoRing));
}
