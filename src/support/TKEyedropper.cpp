// Picking colours.
#include "src/support/TKEyedropper.h"

#include "src/support/TKCommands.h"
#include "src/support/TKProperties.h"
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

/// The swatch of the composite that an eyedropper belongs to, or null for one that stands alone.
const TKSwatch* SwatchBeside(const TKEyedropper& eyedropper)
{
    if (!eyedropper.node || !eyedropper.node->parent) return nullptr;
    TKControlID id;
    TKControlNode* found;
    if (GetControlID(eyedropper.node, &id) != bpNoErr) return nullptr;
    const TKControlID wanted = {.signature = kTKControlSwatch, .id = id.id};
    return FindControlByID(eyedropper.node->parent, wanted, &found) == bpNoErr
               ? static_cast<const TKSwatch*>(found->control)
               : nullptr;
}

/// The colour that a pick or the dialog begins with: what the swatch shows.
void CopyPresentColor(const TKEyedropper& eyedropper, float rgb[3])
{
    const TKSwatch* swatch = SwatchBeside(eyedropper);
    std::memcpy(rgb, swatch ? swatch->dataBase + swatch->dataOffset : BoundField(eyedropper), 3 * sizeof(float));
}

/// Writes the colour to a field, and tells whether that made a difference.
bool Write(const TKEyedropper& eyedropper, uint32_t offset, const float rgb[3])
{
    if (offset == kTKNoOffset) return false;
    uint8_t* field = eyedropper.dataBase + offset;
    const bool differs = std::memcmp(field, rgb, 3 * sizeof(float)) != 0;
    std::memcpy(field, rgb, 3 * sizeof(float));
    return differs;
}

/// The end of both roads, pick and dialog. What was written tells afterwards whether there is anything to undo: a
/// procedure may write anywhere, or nothing.
TKEffect Store(TKSession* session, TKEyedropper* eyedropper, const float rgb[3])
{
    TKSettleControls(session);
    const OCSettings before = session->liveSettings;
    if (eyedropper->pickProc) eyedropper->pickProc(session, eyedropper, rgb);
    const bool wroteField = Write(*eyedropper, eyedropper->dataOffset, rgb);
    const bool wroteLinked = Write(*eyedropper, eyedropper->linkedOffset, rgb);
    if (SwitchOf(*eyedropper) == 0) {
        const uint32_t on = 1;
        std::memcpy(eyedropper->dataBase + eyedropper->switchOffset, &on, sizeof on);
        TK_UI(session, switchesChanged);
    }
    MarkSectionActive(session, eyedropper->section, true, true);
    const bool grades = std::memcmp(&before, &session->liveSettings, sizeof before) != 0;
    TKEffect effect = {.changed = grades || wroteField || wroteLinked, .opensUndo = false, .rerenders = false};
    if (grades) {
        if (eyedropper->opensUndo) effect.opensUndo = TKCommandUndoFrom(session, before);
        TKStoreUndo(session);
    }
    if (effect.changed) TKShowViews(session);
    TKRedrawSwatches(session);
    effect.rerenders = grades && eyedropper->repaint;
    if (effect.rerenders) RecomputeAndRefresh(session, true);
    return effect;
}

TKEffect AskForColor(TKSession* session, TKEyedropper* eyedropper)
{
    float present[3];
    CopyPresentColor(*eyedropper, present);
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
                   .node = nullptr,
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
    CopyPresentColor(*eyedropper, pick.sample);
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

bool TKPickKey(TKSession* session, uint32_t virtualKey)
{
    if (virtualKey != kTKKeyEscape || !TKIsPicking(session) || session->controls.openSlider) return false;
    TKPickCancel(session);
    return true;
}

void TKForgetEyedropper(TKSession* session, const TKEyedropper* eyedropper)
{
    if (TKIsPickingFor(session, eyedropper)) TKPickCancel(session);
}
