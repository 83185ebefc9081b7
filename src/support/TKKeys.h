// The keyboard: accelerators of commands, the keys of transport and slots, and the letters that select panes and tabs.
//
// The message loop offers a key press in this order: accelerators, TKKeyDown, and, when it gives a character,
// TKShortcutKey. What nobody consumes goes on to the window.
#pragma once

#include "src/platform/BPKeyboard.h"

#include <span>

struct TKSession;

/// Virtual key codes that the logic knows; letters and digits are their upper-case character.
enum : uint32_t {
    kTKKeyBack = 8,
    kTKKeyTab = 9,
    kTKKeyReturn = 13,
    kTKKeyEscape = 27,
    kTKKeySpace = 32,
    kTKKeyPageUp = 33,
    kTKKeyPageDown = 34,
    kTKKeyEnd = 35,
    kTKKeyHome = 36,
    kTKKeyLeft = 37,
    kTKKeyUp = 38,
    kTKKeyRight = 39,
    kTKKeyDown = 40,
    kTKKeyInsert = 45,
    kTKKeyDelete = 46,
    kTKKeyF1 = 112,
    kTKKeyF8 = 119,
};

/// The keys of the modifier word that are held; caps lock is toggled instead.
inline constexpr uint32_t kTKHeldKeys = bpShiftKey | bpAltKey | bpControlKey;

/// What has the keyboard's focus, as far as the keys care. An open edit of a slider is known to the session.
enum TKKeyFocus : uint32_t {
    tkFocusElsewhere,
    tkFocusText,  ///< a text field of its own, such as the search of the gallery: letters and Space are its own
    tkFocusArrows ///< a control that moves by arrow keys, Home and End: a curve editor, a wheel
};

// --- Accelerators -----------------------------------------------------------------------------------------------------

/// A key of a command.
struct TKAccelerator {
    uint32_t virtualKey;
    uint32_t modifiers; ///< of the held keys, exactly
    uint32_t command;
};

/// All of them, in the order of their commands.
std::span<const TKAccelerator> TKAccelerators();

/// The command of a key, or 0. Caps lock does not count.
uint32_t TKAcceleratorCommand(uint32_t virtualKey, uint32_t modifiers);

// --- Transport and slots ----------------------------------------------------------------------------------------------

/// Offers a key that was pressed. True when it is consumed; Space is carried out but goes on to the window. Nothing
/// happens in a full-screen preview or while no image pane with a transport is visible. F1 to F8 recall a slot, with
/// shift they store it; a recall that fails beeps.
bool TKKeyDown(TKSession* session, uint32_t virtualKey, uint32_t modifiers, TKKeyFocus focus = tkFocusElsewhere);

// --- Panes and tabs ---------------------------------------------------------------------------------------------------

struct TKShortcutRow {
    uint32_t character;  ///< as the keyboard gives it: with shift a capital
    uint32_t modifiers;  ///< the whole modifier word; with caps lock on no row fits
    int32_t whenCurrent; ///< selection at which the row counts; -1 any
    int32_t select[3];   ///< tab, the tab inside it, the tab inside that; -1 leaves one alone
};

/// By the tabs of the settings, counted from 0: HSL, RGB, CMY, YCbCr, Curves, Levels, Luma Range, Secondary, Limiting.
std::span<const TKShortcutRow> TKSettingsShortcuts();
/// By the list of the image pane, counted from 0.
std::span<const TKShortcutRow> TKRightPaneShortcuts();
/// By the tabs of the analysis pane, counted from 0.
std::span<const TKShortcutRow> TKLeftPaneShortcuts();

/// Offers a character with the modifier word: to the settings' table, then the right pane's, then the left pane's. True
/// when a row consumed it. No table is asked while a text is edited or in a full-screen preview.
bool TKShortcutKey(TKSession* session, uint32_t character, uint32_t modifiers, TKKeyFocus focus = tkFocusElsewhere);
