// Commands: what menus, accelerators, buttons and keys carry out. The table is in TKCommandTable.cpp.
#pragma once

#include "src/support/TKKeys.h"
#include "src/support/TKSession.h"

#include <vector>

enum : uint32_t {
    kTKCommandResetPane = 3,
    kTKCommandResetGroup = 4,
    kTKCommandLoadCurves = 7,
    kTKCommandSaveCurves = 8,
    kTKCommandAutoExposure = 14,
    kTKCommandAutoColor = 15,
    kTKCommandViewSingle = 13101,
    kTKCommandViewNormal = 13102,
    kTKCommandResetAll = 13201,
    kTKCommandLoadSettings = 13202,
    kTKCommandSaveSettings = 13203,
    kTKCommandUsersGuide = 13601,
    kTKCommandKnowledgeBase = 13602,
    kTKPrimaryTables = 14501, ///< first of the list for preview tables; so are the next two
    kTKSecondaryTables = 14601,
    kTKExternalTables = 14701,
    kTKCommandOK = 59001,
    kTKCommandCancel = 59002,
    kTKCommandExit = 59003,
    kTKCommandUndo = 59004,
    kTKCommandRedo = 59005,
    kTKCommandCut = 59006,
    kTKCommandCopy = 59007,
    kTKCommandPaste = 59008,
    kTKCommandClear = 59009,
    kTKCommandAbout = 59025,
};

inline constexpr char kTKSettingsFormat[] = "org.brindlepath.OC3SettingsFormat";

inline constexpr char kTKUsersGuideName[] = "Ochrine 3 Plug-in Users Guide.pdf";
/// Whoever distributes the product sets this to a site of theirs.
inline constexpr char kTKKnowledgeBaseAddress[] = "https://ochrine.example/knowledge-base";

/// The control that sent a command, as far as commands want to know: the group that it stands in.
struct TKCommandSource {
    uint32_t toolMask, curveMask;
};

/// What is done before a command is carried out.
enum : uint32_t {
    kTKStopsPreview = 1, ///< playback and any preview end
    kTKCommits = 2,      ///< an open edit is committed
    kTKFocusesMain = 4,  ///< the focus goes to the main window first
};

/// When the item of a command is enabled.
enum TKEnabledRule : uint8_t {
    tkEnabledAlways,
    tkEnabledWithUndo,  ///< a step can be undone
    tkEnabledWithRedo,  ///< a step can be redone
    tkEnabledWithPaste, ///< the clipboard holds settings, and a picture is there to show them
    tkEnabledWithViews, ///< the window has both layouts
};

struct TKCommandRow {
    uint32_t first, last; ///< the numbers; more than one for the lists of tables
    const char* text;     ///< of the menu item, exactly; null when no menu of the table shows it
    uint32_t virtualKey;  ///< of its accelerator, 0 without
    uint32_t modifiers;   ///< of its accelerator
    uint32_t before;      ///< kTKStopsPreview and its like
    TKEnabledRule enabled;
    void (*run)(TKSession* session, const TKCommandSource* source); ///< null: its tool is not here yet
};

/// Every known number, in order.
std::span<const TKCommandRow> TKCommands();

/// The row of a number, or null.
const TKCommandRow* TKFindCommand(uint32_t commandID);

struct TKCommandRange {
    uint32_t first, last;
};

/// Whether the tool of a command is not here yet: its row has no function, or the window has only one layout and the
/// command would choose one.
bool TKCommandIsSilent(const TKSession* session, const TKCommandRow& row);

/// The one list of what is still to come, in order: the silent commands. They do nothing, and their menu items are
/// disabled. Numbers in no row of the table do nothing either.
std::vector<TKCommandRange> TKSilentCommands(const TKSession* session);

/// Carries out a command; `source` may be null. An unknown number does nothing.
void DoMenuCommand(TKSession* session, uint32_t commandID, const TKCommandSource* source);

/// Whether the menu item and the accelerator of a command act now. A silent or unknown command is never enabled.
bool TKCommandIsEnabled(const TKSession* session, uint32_t commandID);

/// What of the menus is enabled.
struct TKMenuState {
    bool undo, redo, cut, copy, paste, clear;
    bool secondaryLUT, externalLUT; ///< the submenus of their preview tables
};
TKMenuState UpdateMenuState(const TKSession* session);

/// Stores the live settings in a slot, or recalls one as an undo step of its own. False for a slot outside 1 to 8 and
/// for recalling one that is unused or holds no settings.
bool SlotStoreOrRecall(TKSession* session, uint32_t slot, bool store);

/// Stops playback and every preview that runs outside the panes.
void TKPreviewOff(TKSession* session);

/// The two halves of TKChangeAsOneStep: the first gives a copy of the live settings, or null; the second releases it.
OCSettings* TKBeginCommandStep(TKSession* session);
void TKEndCommandStep(TKSession* session, OCSettings* previous);

/// A change of the live settings by a command as one undo step: the state before, the change, then controls and picture
/// follow, then the state after. Without memory for a copy of the settings every control is redrawn.
template <class Change> void TKChangeAsOneStep(TKSession* session, Change change)
{
    OCSettings* previous = TKBeginCommandStep(session);
    change(&session->liveSettings);
    TKEndCommandStep(session, previous);
}

/// A reset of the selected groups as one undo step.
void TKResetGroups(TKSession* session, uint32_t toolMask, uint32_t curveMask);

/// Opens the user's guide beside the program with the system's viewer; a box tells when it cannot be had.
void TKOpenUsersGuide(TKSession* session, const char* programFolder);
