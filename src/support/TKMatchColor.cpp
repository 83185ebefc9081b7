// Colour match as a command.
#include "src/support/TKMatchColor.h"

#include "src/support/TKSession.h"

#include <algorithm>
#include <cstring>

namespace {

/// What a match switches on: a secondary without a sample would act nowhere, or, inverted, everywhere.
bool IsMarked(const OCSettings& settings, const TKSection& section)
{
    if (section.id < tkSectionSecondaryA || section.id > tkSectionSecondaryF) return true;
    const OCSecondary& secondary = settings.secondary[section.id - tkSectionSecondaryA];
    return std::any_of(std::begin(secondary.sample), std::end(secondary.sample),
                       [](const OCColorSample& sample) { return (sample.on & 0xFF) != 0; });
}

void SwitchOn(OCSettings* settings, const TKSection& section)
{
    for (uint32_t i = 0; i < section.switchCount; ++i) {
        uint8_t* field = reinterpret_cast<uint8_t*>(settings) + section.switchOffset[i];
        uint32_t word;
        std::memcpy(&word, field, sizeof word);
        if (word != 0) continue;
        word = 1;
        std::memcpy(field, &word, sizeof word);
    }
}

} // namespace

void TKInitMatchColor(TKMatchColor* match, OCSettings* settings, OCMatchPane pane, TKSectionID section,
                      const char* objectName)
{
    *match = {};
    match->pane = pane;
    match->entry = 1;
    match->objectName = objectName;
    TKCreateEyedropper(&match->sourceEyedropper, settings, kTKMatchSourceOffset, section, "Match Source", objectName);
    TKCreateEyedropper(&match->targetEyedropper, settings, kTKMatchTargetOffset, section, "Match Target", objectName);
    TKCreateSwatch(&match->source, settings, kTKMatchSourceOffset, "Match Source", objectName);
    TKCreateSwatch(&match->target, settings, kTKMatchTargetOffset, "Match Target", objectName);
}

const char* TKMatchColorList(const TKMatchColor& match)
{
    return OCMatchPanes()[match.pane].popup;
}

bool TKSelectMatchEntry(TKSession* session, TKMatchColor* match, int32_t index)
{
    (void)CommitOpenEdit(session, true);
    const auto count = static_cast<int32_t>(OCMatchPanes()[match->pane].entryCount);
    const int32_t entry = std::clamp<int32_t>(index, 0, count - 1) + 1;
    const bool changed = match->entry != entry;
    match->entry = entry;
    return changed;
}

bool TKMatchColorIsReady(const TKMatchColor& match)
{
    if (match.pane == ocMatchCurves) return true; // black is a place on a curve like any other
    float rgb[3];
    std::memcpy(rgb, match.source.dataBase + match.source.dataOffset, sizeof rgb);
    return std::any_of(std::begin(rgb), std::end(rgb), [](float component) { return component != 0; });
}

TKEffect TKRunMatchColor(TKSession* session, const TKMatchColor* match)
{
    (void)CommitOpenEdit(session, true);
    OCSettings matched = session->liveSettings;
    const OCMatchGroups groups = OCMatchColorsAt(&matched, match->pane, static_cast<uint32_t>(match->entry),
                                                 match->source.dataOffset, match->target.dataOffset);
    if (groups.toolMask == 0 && groups.curveMask == 0) return {};
    for (const TKSection& section : TKSections())
        if ((section.toolMask & groups.toolMask || section.curveMask & groups.curveMask) && IsMarked(matched, section))
            SwitchOn(&matched, section);
    const OCSettings before = session->liveSettings;
    if (std::memcmp(&matched, &before, sizeof before) == 0) return {};
    const bool opened = TKCommandUndo(session);
    session->liveSettings = matched;
    TK_UI(session, switchesChanged);
    TKShowViews(session);
    UpdateAllControls(session, &session->liveSettings, groups.toolMask, groups.curveMask, &before, false);
    RecomputeAndRefresh(session, true);
    TKStoreUndo(session);
    return {.changed = true, .opensUndo = opened, .rerenders = true};
}
