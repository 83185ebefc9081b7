// The command table: every number with its text, key, rule and function.
//
// A command whose tool is not here yet has no function, or asks by its rule for a layout that the window does not have:
// it does nothing, and TKSilentCommands lists it. When the tool comes, its row gets the function, or the window the
// layout, and nothing else has to change.
#include "src/support/TKCommandActions.h"
#include "src/support/TKLUTCommands.h"

#include <algorithm>
#include <array>

namespace {

constexpr uint32_t kControl = bpControlKey, kShiftControl = bpShiftKey | bpControlKey;
constexpr uint32_t kControlAlt = bpControlKey | bpAltKey, kAll = bpShiftKey | bpControlKey | bpAltKey;
constexpr uint32_t kBoth = kTKStopsPreview | kTKCommits;
constexpr void (*kLater)(TKSession*, const TKCommandSource*) = nullptr; // the tool comes later

/// A command that a menu shows.
constexpr TKCommandRow Item(uint32_t id, const char* text, uint32_t before,
                            void (*run)(TKSession*, const TKCommandSource*), TKEnabledRule enabled = tkEnabledAlways)
{
    return {.first = id,
            .last = id,
            .text = text,
            .virtualKey = 0,
            .modifiers = 0,
            .before = before,
            .enabled = enabled,
            .run = run};
}

/// The same with an accelerator, which the text names.
constexpr TKCommandRow Keyed(uint32_t id, const char* text, uint32_t virtualKey, uint32_t modifiers, uint32_t before,
                             void (*run)(TKSession*, const TKCommandSource*), TKEnabledRule enabled = tkEnabledAlways)
{
    TKCommandRow row = Item(id, text, before, run, enabled);
    row.virtualKey = virtualKey;
    row.modifiers = modifiers;
    return row;
}

/// Numbers that no menu of the table shows: buttons, lists that are filled at run time.
constexpr TKCommandRow Hidden(uint32_t first, uint32_t last, uint32_t before,
                              void (*run)(TKSession*, const TKCommandSource*))
{
    TKCommandRow row = Item(first, nullptr, before, run);
    row.last = last;
    return row;
}

constexpr TKCommandRow kCommands[] = {
    Hidden(3, 3, kTKFocusesMain | kTKCommits, TKRunResetPane),
    Hidden(4, 4, kTKCommits, TKRunResetGroup),
    Hidden(5, 5, kBoth, TKRunLoadSettings), // of a pane
    Hidden(6, 6, kTKStopsPreview, TKRunSaveSettings),
    Hidden(7, 7, kTKCommits, TKRunLoadCurves),
    Hidden(8, 8, 0, TKRunSaveCurves),
    Hidden(14, 14, kTKCommits, TKRunAutoExposure),
    Hidden(15, 15, kTKCommits, TKRunAutoColor),
    Hidden(12902, 12902, 0, TKRunNothing),
    Keyed(13101, "Single Ctrl+1", '1', kControl, kBoth, TKRunViewSingle, tkEnabledWithViews),
    Keyed(13102, "Normal Ctrl+2", '2', kControl, kBoth, TKRunViewNormal, tkEnabledWithViews),
    Hidden(13103, 13103, 0, TKRunNothing),
    Keyed(13201, "Reset All      Shift+Ctrl+Alt+R", 'R', kAll, kTKCommits, TKRunResetAll),
    Keyed(13202, "Load Settings...       Shift+Ctrl+Alt+L", 'L', kAll, kBoth, TKRunLoadSettings),
    Keyed(13203, "Save Settings...       Shift+Ctrl+Alt+S", 'S', kAll, kTKStopsPreview, TKRunSaveSettings),
    Keyed(13204, "Save User Preset...    Shift+Ctrl+Alt+P", 'P', kAll, kBoth, TKRunSaveUserPreset),
    Item(13205, "Load ASC CDL...", kTKCommits, TKRunLoadCDL),
    Item(13206, "Save ASC CDL...", 0, TKRunSaveCDL),
    Keyed(13304, "Save Reference Image   Ctrl+Alt+R", 'R', kControlAlt, kBoth, kLater),
    Keyed(13601, "View Ochrine User's Guide...", kTKKeyF1, 0, 0, TKRunUsersGuide),
    Item(13602, "View Ochrine Online Knowledge Base...", 0, TKRunKnowledgeBase),
    Item(14105, "Settings to Academy 3D LUT...", kBoth, TKRunExportLUT<14105>),
    Item(14107, "Settings to Cinetal 3D LUT...", kBoth, TKRunExportLUT<14107>),
    Item(14108, "Settings to Ochrine Preview LUT...", kBoth, TKRunSavePreviewLUT),
    Item(14109, "Settings to HDLink Pro 3D LUT...", kBoth, TKRunExportLUT<14109>),
    Item(14110, "Settings to LUTher 3D LUT...", kBoth, TKRunExportLUT<14110>),
    Item(14111, "Settings to Panavision GDP 3D LUT...", kBoth, TKRunExportLUT<14111>),
    Item(14112, "Settings to Pogle 3D LUT...", kBoth, TKRunExportLUT<14112>),
    Item(14113, "Settings to Scratch 3D LUT...", kBoth, TKRunExportLUT<14113>),
    Item(14114, "Settings to Truelight 3D LUT...", kBoth, TKRunExportLUT<14114>),
    Hidden(14501, 14557, 0, TKRunSelectPreviewLUT), // primary preview tables
    Hidden(14601, 14657, 0, TKRunSelectPreviewLUT), // secondary preview tables
    Hidden(14701, 14757, 0, TKRunSelectPreviewLUT), // external preview tables
    Item(14901, "Lustre...", kBoth, TKRunExportLUT<14901>),
    Item(14902, "Flame...", kBoth, TKRunExportLUT<14902>),
    Item(14903, "Smoke...", kBoth, TKRunExportLUT<14903>),
    Item(14904, "Generic .3dl...", kBoth, TKRunExportLUT<14904>),
    Hidden(59001, 59001, 0, TKRunOK), // the end of a session stops and commits in an order of its own
    Hidden(59002, 59002, 0, TKRunCancel),
    Keyed(59003, "Exit   Ctrl+Q", 'Q', kControl, 0, TKRunExit),
    Keyed(59004, "Undo   Ctrl+Z", 'Z', kControl, 0, TKRunUndo, tkEnabledWithUndo),
    Keyed(59005, "Redo   Shift+Ctrl+Z", 'Z', kShiftControl, 0, TKRunRedo, tkEnabledWithRedo),
    Keyed(59006, "Cut    Ctrl+X", 'X', kControl, 0, TKRunCopy), // Deliberate: Cut leaves the settings as they are.
    Keyed(59007, "Copy   Ctrl+C", 'C', kControl, 0, TKRunCopy),
    Keyed(59008, "Paste  Ctrl+V", 'V', kControl, 0, TKRunPaste, tkEnabledWithPaste),
    Item(59009, "Clear", 0, TKRunNothing), // Deliberate: enabled, and without effect.
    Item(59014, "Preferences...", kBoth, kLater),
    Item(59025, "About Ochrine...", kTKStopsPreview, TKRunAbout),
    Hidden(59026, 59030, 0, TKRunNothing),
};

constexpr bool TableIsSound()
{
    for (size_t i = 0; i < std::size(kCommands); ++i) {
        if (kCommands[i].last < kCommands[i].first) return false;
        if (i > 0 && kCommands[i].first <= kCommands[i - 1].last) return false;
        if (kCommands[i].text && kCommands[i].first != kCommands[i].last) return false;
    }
    return true;
}
static_assert(TableIsSound());

constexpr size_t kKeyCount = static_cast<size_t>(
    std::count_if(std::begin(kCommands), std::end(kCommands), [](const TKCommandRow& r) { return r.virtualKey != 0; }));
constexpr auto kAccelerators = [] {
    std::array<TKAccelerator, kKeyCount> keys = {};
    size_t count = 0;
    for (const TKCommandRow& row : kCommands)
        if (row.virtualKey != 0) keys[count++] = {row.virtualKey, row.modifiers, row.first};
    return keys;
}();
static_assert([] {
    for (const TKAccelerator& a : kAccelerators)
        for (const TKAccelerator& b : kAccelerators)
            if (a.command != b.command && a.virtualKey == b.virtualKey && a.modifiers == b.modifiers) return false;
    return true;
}());

} // namespace

std::span<const TKCommandRow> TKCommands()
{
    return kCommands;
}

const TKCommandRow* TKFindCommand(uint32_t commandID)
{
    for (const TKCommandRow& row : kCommands)
        if (commandID >= row.first && commandID <= row.last) return &row;
    return nullptr;
}

bool TKCommandIsSilent(const TKSession* session, const TKCommandRow& row)
{
    return !row.run || (row.enabled == tkEnabledWithViews && !session->ui.showViewMode);
}

std::vector<TKCommandRange> TKSilentCommands(const TKSession* session)
{
    std::vector<TKCommandRange> silent;
    for (const TKCommandRow& row : kCommands)
        if (TKCommandIsSilent(session, row)) silent.push_back({row.first, row.last});
    return silent;
}

std::span<const TKAccelerator> TKAccelerators()
{
    return kAccelerators;
}

uint32_t TKAcceleratorCommand(uint32_t virtualKey, uint32_t modifiers)
{
    for (const TKAccelerator& row : kAccelerators)
        if (row.virtualKey == virtualKey && row.modifiers == (modifiers & kTKHeldKeys)) return row.command;
    return 0;
}
