// Loading and saving of the live settings: settings files, user presets, colour decision lists and their dialogs.
//
// A load is one undo step, and redraws only the controls whose values changed. Nothing here is called while another
// dialog is open.   Thread: main.
#pragma once

#include "src/support/TKSession.h"

#include <string>

/// Lays a settings file over `settings`. A refused one shows "Invalid settings file"; one that cannot be opened is only
/// logged. After an error the record is untouched.
BPStatus TKLoadSettings(TKSession* session, const char* path, OCSettings* settings);

/// The same with a dialog. False when it was cancelled, the load failed, or the session has ended meanwhile.
bool LoadSettingsDialog(TKSession* session, OCSettings* settings);

/// Asks for a path and saves. A file in the folder of the user's presets makes the gallery rebuild.
void SaveSettingsDialog(TKSession* session, const OCSettings& settings);

/// Lays a colour decision list over `settings`. A missing element is shown. False when nothing was loaded.
bool TKLoadCDL(TKSession* session, const char* path, OCSettings* settings);

/// The same with a dialog. `path`, when given, receives the file after a successful load.
bool ASCCDL_LoadDialog(TKSession* session, OCSettings* settings, std::string* path);

/// Asks for a path and saves a list. It names the source clip when the host's list holds exactly one.
void ASCCDL_SaveDialog(TKSession* session, const OCSettings& settings);

/// Loads a settings file into the live settings as one undo step; controls and picture follow. For presets of the
/// gallery and files that are handed over. After an error there is no step.
BPStatus TKApplySettingsFile(TKSession* session, const char* path);

/// The folder of the user's presets, without a slash at its end, made or not. Empty when there is no home.
std::string TKUserPresetFolder();

/// Saves the live settings among the user's presets, under a name without a folder; ".ocpreset" is added when missing.
/// bpParamErr for a name that cannot be one of a file.
BPStatus TKSaveUserPreset(TKSession* session, const std::string& name);
