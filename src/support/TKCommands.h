// Commands: what menus, accelerators, buttons and keys carry out.
#pragma once

#include "src/support/TKSession.h"

enum : uint32_t {
    kTKCommandResetGroup = 4,
    kTKCommandResetAll = 13201,
    kTKCommandOK = 59001,
    kTKCommandCancel = 59002,
    kTKCommandExit = 59003,
    kTKCommandUndo = 59004,
    kTKCommandRedo = 59005,
    kTKCommandCut = 59006,
    kTKCommandCopy = 59007,
};

inline constexpr char kTKSettingsFormat[] = "org.brindlepath.OC3SettingsFormat";

/// The control that sent a command, as far as commands want to know: the group that it stands in.
struct TKCommandSource {
    uint32_t toolMask, curveMask;
};

struct TKCommandRow {
    uint32_t id;
    const char* name;
    void (*run)(TKSession* session, const TKCommandSource* source);
};

/// The commands that are carried out, in the order of their numbers.
std::span<const TKCommandRow> TKCommands();

struct TKCommandRange {
    uint32_t first, last;
};

/// Known numbers that do nothing yet; numbers that are in neither table do nothing either.
std::span<const TKCommandRange> TKSilentCommands();

/// Carries out a command; `source` may be null. An unknown number does nothing.
void DoMenuCommand(TKSession* session, uint32_t commandID, const TKCommandSource* source);

/// A key of the accelerator table.
struct TKAccelerator {
    uint32_t virtualKey; ///< letters and digits by their upper-case character
    uint32_t modifiers;  ///< must match exactly; caps lock does not count
    uint32_t command;
};
std::span<const TKAccelerator> TKAccelerators();

/// The command of a key, or 0.
uint32_t TKAcceleratorCommand(uint32_t virtualKey, uint32_t modifiers);

/// Virtual key codes that the logic knows.
enum : uint32_t {
    kTKKeyBack = 8,
    kTKKeyTab = 9,
    kTKKeyReturn = 13,
    kTKKeyEscape = 27,
    kTKKeySpace = 32,
    kTKKeyEnd = 35,
    kTKKeyHome = 36,
    kTKKeyLeft = 37,
    kTKKeyUp = 38,
    kTKKeyRight = 39,
    kTKKeyDown = 40,
    kTKKeyF1 = 112,
    kTKKeyF8 = 119,
};

/// Offers a key that was pressed. True when it is consumed; Space is carried out but goes on to the window.
bool TKKeyDown(TKSession* session, uint32_t virtualKey, uint32_t modifiers);

/// Stores the live settings in a slot, or recalls one. False for a slot outside 1 to 8 and for recalling an unused one.
bool SlotStoreOrRecall(TKSession* session, uint32_t slot, bool store);

struct TKMenuState {
    bool undo, redo, cut, copy, paste, clear;
};
/// What of the Edit menu is enabled.
TKMenuState UpdateMenuState(const TKSession* session);

/// A reset of the selected groups as one undo step: controls and picture follow.
void TKResetGroups(TKSession* session, uint32_t toolMask, uint32_t curveMask);
