// The spine of the process: start-up, tick, the ends of a session, tear-down.
#pragma once

#include "src/support/TKSession.h"

enum TKStartResult : uint32_t {
    tkStartRun,    ///< run the message loop, then TKFinish
    tkStartFailed, ///< skip the loop, call TKFinish
    tkStartEnded,  ///< there is no host, or no fit processor: the process ends normally, with exit code 0
};

inline constexpr uint32_t kTKTickMs = 10;
inline constexpr uint32_t kTKSplashWidth = 351, kTKSplashHeight = 303;
inline constexpr int32_t kTKLeastScreenWidth = 1024, kTKLeastScreenHeight = 768; ///< physical pixels

/// Brings everything up, in its order, up to the message loop. Splash waits are sleeps.
TKStartResult TKStartUp(TKSession* session);

/// The text of a splash step; steps without a text give an empty one. `processors` counts for step 3.
void TKSplashText(uint32_t step, uint32_t processors, char* text, uint32_t length);

/// Stores the preferences when the process quits. A store that could not be read at the start keeps what it holds, which
/// the log tells: defaults would take its place.
void TKWritePreferences(TKSession* session);

/// The 10 ms tick.
void TKTick(TKSession* session);

/// OK, Cancel and Exit: `command` is 59001, 59002 or 59003. Either the application stays resident, or the main window is
/// asked to close.
void TKEndSession(TKSession* session, uint32_t command);

/// The end of a session whose host has taken its block back: the journal is kept, the user is told, the main window is
/// asked to close.
void TKEndLostSession(TKSession* session);

/// The application came to the front or left it. Once the interface is ready, leaving stops playback.
void TKApplicationActivated(TKSession* session, bool active);

/// The main window is about to close. With a block attached the command Exit runs and false is returned: the window
/// stays until it is asked again. Otherwise the loop is told to quit and true is returned.
bool TKMainWindowClose(TKSession* session);

/// After the loop, or after a failed start: waits for a scan, reports, tears down. Returns the exit code.
int32_t TKFinish(TKSession* session);

/// Releases pool, channel, surfaces and frames in their order; a host that is still attached gets status 4.
void TKTearDown(TKSession* session);
