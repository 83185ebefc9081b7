// Keys: what is not an accelerator of the command table.
#include "src/support/TKKeys.h"

#include "src/support/TKCommands.h"
#include "src/support/TKTransport.h"

namespace {

// Left pane, split pane, single-view pane: the last visible one has the keys.
constexpr uint32_t kPaneTransports = kTKTransportSingle + 1;

TKTransport* TransportOfKeys(TKSession* session)
{
    for (uint32_t i = kPaneTransports; i > 0; --i)
        if (session->transport[i - 1].visible) return &session->transport[i - 1];
    return nullptr;
}

struct TransportKey {
    uint32_t virtualKey;
    bool movesThrough; ///< an edit and a control with arrow keys want it for themselves
    bool consumed;
    void (*run)(TKSession* session, TKTransport* transport);
};

constexpr TransportKey kTransportKeys[] = {
    {kTKKeySpace, false, false, TKTogglePlay}, // goes on to the window
    {kTKKeyEnd, true, true, [](TKSession* session, TKTransport*) { TKGoToLastFrame(session); }},
    {kTKKeyHome, true, true, [](TKSession* session, TKTransport*) { TKGoToFirstFrame(session); }},
    {kTKKeyLeft, true, true, [](TKSession* session, TKTransport*) { TKStepFrames(session, -1); }},
    {kTKKeyRight, true, true, [](TKSession* session, TKTransport*) { TKStepFrames(session, 1); }},
};

bool SlotKey(TKSession* session, uint32_t slot, uint32_t modifiers)
{
    if (modifiers != 0 && modifiers != bpShiftKey) return false;
    if (!SlotStoreOrRecall(session, slot, modifiers == bpShiftKey)) session->platform->alert.beep();
    RefreshDisplaysOnly(session, true);
    return true;
}

bool BelongsElsewhere(const TKSession* session, const TransportKey& key, TKKeyFocus focus)
{
    if (focus == tkFocusText) return true;
    return key.movesThrough && (focus == tkFocusArrows || session->controls.openSlider);
}

#define TK_SETTINGS(character, whenCurrent, ...)                                                                       \
    {                                                                                                                  \
        character, 0, whenCurrent,                                                                                     \
        {                                                                                                              \
            __VA_ARGS__                                                                                                \
        }                                                                                                              \
    }
constexpr TKShortcutRow kSettingsRows[] = {
    // The ranges of the tool that is in front; those of HSL stand inside its first tab.
    TK_SETTINGS('a', 0, 0, 0, 0),
    TK_SETTINGS('a', 1, 1, 0, -1),
    TK_SETTINGS('a', 3, 3, 0, -1),
    TK_SETTINGS('a', 2, 2, 0, -1),
    TK_SETTINGS('a', 5, 5, 0, -1),
    TK_SETTINGS('h', 0, 0, 0, 1),
    TK_SETTINGS('h', 1, 1, 1, -1),
    TK_SETTINGS('h', 3, 3, 1, -1),
    TK_SETTINGS('h', 2, 2, 1, -1),
    TK_SETTINGS('m', 0, 0, 0, 2),
    TK_SETTINGS('m', 1, 1, 2, -1),
    TK_SETTINGS('m', 3, 3, 2, -1),
    TK_SETTINGS('m', 2, 2, 2, -1),
    TK_SETTINGS('s', 0, 0, 0, 3),
    TK_SETTINGS('s', 1, 1, 3, -1),
    TK_SETTINGS('s', 3, 3, 3, -1),
    TK_SETTINGS('s', 2, 2, 3, -1),
    // The channels of Levels.
    TK_SETTINGS('r', 5, 5, 1, -1),
    TK_SETTINGS('g', 5, 5, 2, -1),
    TK_SETTINGS('b', 5, 5, 3, -1),
    // The tools.
    TK_SETTINGS('u', -1, 0, -1, -1),
    TK_SETTINGS('w', -1, 0, 1, -1),
    TK_SETTINGS('p', -1, 1, -1, -1),
    TK_SETTINGS('t', -1, 2, -1, -1),
    TK_SETTINGS('y', -1, 3, -1, -1),
    TK_SETTINGS('c', -1, 4, -1, -1),
    TK_SETTINGS('v', -1, 5, -1, -1),
    TK_SETTINGS('n', -1, 6, -1, -1),
    TK_SETTINGS('d', -1, 7, -1, -1),
    TK_SETTINGS('l', -1, 8, -1, -1),
};

#define TK_PANE(character, tab)                                                                                        \
    {                                                                                                                  \
        character, bpShiftKey, -1,                                                                                     \
        {                                                                                                              \
            tab, -1, -1                                                                                                \
        }                                                                                                              \
    }
constexpr TKShortcutRow kRightPaneRows[] = {TK_PANE('R', 0), TK_PANE('S', 1), TK_PANE('F', 2),
                                            TK_PANE('I', 3), TK_PANE('T', 4), TK_PANE('L', 5)};
constexpr TKShortcutRow kLeftPaneRows[] = {TK_PANE('C', 0), TK_PANE('E', 1),  TK_PANE('Q', 3),  TK_PANE('P', 4),
                                           TK_PANE('B', 5), TK_PANE('A', 6),  TK_PANE('M', 7),  TK_PANE('O', 8),
                                           TK_PANE('V', 9), TK_PANE('H', 10), TK_PANE('N', 11), TK_PANE('G', 12)};

const TKShortcutRow* Find(std::span<const TKShortcutRow> rows, uint32_t character, uint32_t modifiers, int32_t current)
{
    for (const TKShortcutRow& row : rows)
        if (row.character == character && row.modifiers == modifiers &&
            (row.whenCurrent == -1 || row.whenCurrent == current))
            return &row;
    return nullptr;
}

/// No character is meant for two tables, nor for two rows of one that count at the same time.
constexpr bool ShortcutsAreSound()
{
    const std::span<const TKShortcutRow> tables[] = {kSettingsRows, kRightPaneRows, kLeftPaneRows};
    uint32_t clashes = 0;
    for (const auto& table : tables)
        for (const TKShortcutRow& row : table)
            for (const auto& other : tables)
                for (const TKShortcutRow& twin : other)
                    if (row.character == twin.character && row.modifiers == twin.modifiers &&
                        (row.whenCurrent == -1 || twin.whenCurrent == -1 || row.whenCurrent == twin.whenCurrent))
                        ++clashes;
    return clashes == std::size(kSettingsRows) + std::size(kRightPaneRows) + std::size(kLeftPaneRows); // itself
}
static_assert(ShortcutsAreSound());

} // namespace

bool TKKeyDown(TKSession* session, uint32_t virtualKey, uint32_t modifiers, TKKeyFocus focus)
{
    TKTransport* transport = TransportOfKeys(session);
    if (session->fullScreenPreview || !transport || virtualKey < kTKKeySpace || virtualKey > kTKKeyF8) return false;
    const uint32_t held = modifiers & kTKHeldKeys;
    if (virtualKey >= kTKKeyF1) return SlotKey(session, virtualKey - kTKKeyF1 + 1, held);
    if (held != 0) return false;
    for (const TransportKey& key : kTransportKeys) {
        if (key.virtualKey != virtualKey) continue;
        if (BelongsElsewhere(session, key, focus)) return false;
        key.run(session, transport);
        return key.consumed;
    }
    return false;
}

std::span<const TKShortcutRow> TKSettingsShortcuts()
{
    return kSettingsRows;
}

std::span<const TKShortcutRow> TKRightPaneShortcuts()
{
    return kRightPaneRows;
}

std::span<const TKShortcutRow> TKLeftPaneShortcuts()
{
    return kLeftPaneRows;
}

bool TKShortcutKey(TKSession* session, uint32_t character, uint32_t modifiers, TKKeyFocus focus)
{
    if (session->controls.openSlider || session->fullScreenPreview || focus == tkFocusText) return false;
    if (const TKShortcutRow* row = Find(kSettingsRows, character, modifiers, session->settingsTab)) {
        TK_UI(session, selectSettingsTab, row->select[0], row->select[1], row->select[2]);
        return true;
    }
    if (const TKShortcutRow* row = Find(kRightPaneRows, character, modifiers, session->imagePaneMode)) {
        TK_UI(session, selectRightPane, row->select[0]);
        return true;
    }
    // What the left pane shows is the window's business: none of its rows asks for it.
    if (const TKShortcutRow* row = Find(kLeftPaneRows, character, modifiers, -1)) {
        TK_UI(session, selectLeftPane, row->select[0]);
        return true;
    }
    return false;
}
