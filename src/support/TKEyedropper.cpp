// Picking colours.
#include "src/support/TKEyedropper.h"

#include "src/support/TKSession.h"
#include "src/support/TKSwatch.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

uint8_t* BoundField(const TKEyedropper& eyedropper)
{
    return eyedropper.dataBase + eyedropper.dataOffset;
}

/// The engine reads the low byte of a sample's switch, so a word without it is off.
uint32_t SwitchOf(const TKEyedropper& eyedropper)
{
    uint32_t word = 1;
    if (eyedropper.switchOffset != kTKNoOffset)
        std::memcpy(&word, eyedropper.dataBase + eyedropper.switchOffset, sizeof word);
    return word & 0xFF;
}

bool Differs(const TKEyedropper& eyedropper, uint32_t offset, const float rgb[3])
{
    return offset != kTKNoOffset && std::memcmp(eyedropper.dataBase + offset, rgb, 3 * sizeof(float)) != 0;
}

bool SectionIsOn(const TKSession* session, TKSectionID section)
{
    if (section >= tkSectionCount) return true;
    const TKSection& row = TKSections()[section];
    for (uint32_t i = 0; i < row.switchCount; ++i) {
        uint32_t word;
        std::memcpy(&word, reinterpret_cast<const uint8_t*>(&session->liveSettings) + row.switchOffset[i], sizeof word);
        if (word == 0) return false;
    }
    return true;
}

/// The end of both roads, pick and dialog.
TKEffect Store(TKSession* session, TKEyedropper* eyedropper, const float rgb[3])
{
    // A procedure may write anywhere. Without one, a colour that stands there already is no change.
    const bool changes = eyedropper->pickProc || Differs(*eyedropper, eyedropper->dataOffset, rgb) ||
                         Differs(*eyedropper, eyedropper->linkedOffset, rgb) || SwitchOf(*eyedropper) == 0 ||
                         !SectionIsOn(session, eyedropper->section);
    if (!changes) {
        TKRedrawSwatches(session);
        return {};
    }
    TKEffect effect = {.changed = true, .opensUndo = false, .rerenders = eyedropper->repaint};
    if (eyedropper->opensUndo) {
        TKCommandUndo(session);
        effect.opensUndo = session->undoRing != nullptr && session->undoRing->undoSlotCount != 0;
    }
    if (eyedropper->pickProc) eyedropper->pickProc(session, eyedropper, rgb);
    std::memcpy(BoundField(*eyedropper), rgb, 3 * sizeof(float));
    if (eyedropper->linkedOffset != kTKNoOffset)
        std::memcpy(eyedropper->dataBase + eyedropper->linkedOffset, rgb, 3 * sizeof(float));
    if (SwitchOf(*eyedropper) == 0) {
        const uint32_t on = 1;
        std::memcpy(eyedropper->dataBase + eyedropper->switchOffset, &on, sizeof on);
        TK_UI(session, switchesChanged);
    }
    TKShowViews(session);
    TKRedrawSwatches(session);
    MarkSectionActive(session, eyedropper->section, true, true);
    TKStoreUndo(session);
    if (eyedropper->repaint) RecomputeAndRefresh(session, true);
    return effect;
}

TKEffect AskForColor(TKSession* session, TKEyedropper* eyedropper)
{
    float present[3];
    std::memcpy(present, BoundField(*eyedropper), sizeof present);
    uint8_t answer[3];
    TKSwatchFill(present, answer);
    const bool wasAttached = TKBlockOf(session) != nullptr;
    const uint64_t ticks = session->tickCount;
    const bool chosen =
        session->ui.chooseColor && session->ui.chooseColor(session->ui.context, eyedropper->label, answer);
    // While the dialog was open the host may have gone, and another one may have come with another grade.
    const bool sameSession = wasAttached == (TKBlockOf(session) != nullptr) && session->tickCount >= ticks;
    if (!chosen || session->quitting || !sameSession) {
        TKRedrawSwatches(session);
        return {};
    }
    float rgb[3];
    for (uint32_t i = 0; i < 3; ++i) rgb[i] = static_cast<float>(answer[i]) / 255.0f;
    return Store(session, eyedropper, rgb);
}

void LeavePickMode(TKSession* session)
{
    session->pick = {};
    TK_UI(session, pickModeChanged);
    TKShowViews(session);
}

} // namespace

void TKCreateEyedropper(TKEyedropper* eyedropper, void* base, uint32_t dataOffset, TKSectionID section,
                        const char* label, const char* objectName)
{
    *eyedropper = {.dataBase = static_cast<uint8_t*>(base),
                   .dataOffset = dataOffset,
                   .linkedOffset = kTKNoOffset,
                   .switchOffset = kTKNoOffset,
                   .cursor = 0,
                   .opensUndo = true,
                   .offersDialog = true,
                   .repaint = true,
                   .pickProc = nullptr,
                   .reference = nullptr,
                   .section = section,
                   .label = label,
                   .objectName = objectName};
}

TKEffect TKEyedropperClick(TKSession* session, TKEyedropper* eyedropper, uint32_t modifiers)
{
    (void)CommitOpenEdit(session, true);
    const bool wasPicking = TKIsPickingFor(session, eyedropper);
    if (TKIsPicking(session)) TKPickCancel(session);
    if (!eyedropper->dataBase) return {};
    if (modifiers & bpControlKey && eyedropper->offersDialog) return AskForColor(session, eyedropper);
    if (wasPicking) return {};
    TKPickTarget& pick = session->pick;
    pick = {};
    std::memcpy(pick.sample, BoundField(*eyedropper), sizeof pick.sample);
    pick.triple = pick.sample;
    pick.eyedropper = eyedropper;
    pick.cursor = eyedropper->cursor ? eyedropper->cursor : kTKCursorPick;
    TK_UI(session, pickModeChanged);
    TKShowViews(session);
    return {};
}

bool TKIsPicking(const TKSession* session)
{
    return session->pick.triple != nullptr;
}

bool TKIsPickingFor(const TKSession* session, const TKEyedropper* eyedropper)
{
    return TKIsPicking(session) && session->pick.eyedropper == eyedropper;
}

uint32_t TKPickCursor(const TKSession* session, uint32_t modifiers)
{
    if (!TKIsPicking(session)) return 0;
    if (session->pick.cursor != kTKCursorPick) return session->pick.cursor;
    const bool shift = (modifiers & bpShiftKey) != 0, control = (modifiers & bpControlKey) != 0;
    if (shift && control) return kTKCursorPickBoth;
    return shift ? kTKCursorPickShift : control ? kTKCursorPickControl : kTKCursorPick;
}

void TKPickSample(TKSession* session, const float rgb[3])
{
    if (!TKIsPicking(session)) return;
    float finite[3];
    for (uint32_t i = 0; i < 3; ++i) finite[i] = std::isfinite(rgb[i]) ? rgb[i] : 0.0f;
    TKPickTarget& pick = session->pick;
    const bool same = pick.sampled && std::memcmp(pick.triple, finite, sizeof finite) == 0;
    std::memcpy(pick.triple, finite, sizeof finite);
    pick.sampled = true;
    if (!same) TKRedrawSwatches(session);
}

TKEffect TKPickEnd(TKSession* session)
{
    if (!TKIsPicking(session)) return {};
    if (!session->pick.sampled) {
        TKPickCancel(session);
        return {};
    }
    TKEyedropper* eyedropper = session->pick.eyedropper;
    float rgb[3];
    std::memcpy(rgb, session->pick.triple, sizeof rgb);
    LeavePickMode(session);
    return Store(session, eyedropper, rgb);
}

void TKPickCancel(TKSession* session)
{
    if (!TKIsPicking(session)) return;
    LeavePickMode(session);
    TKRedrawSwatches(session);
}
