// The one record of process state, and what the logic asks of the windows.
//
// Functions receive the session; there are no other globals. The main thread owns it.
#pragma once

#include "src/MPTasks.h"
#include "src/OCEngine.h"
#include "src/ScopeSurface.h"
#include "src/platform/BPPlatform.h"
#include "src/support/TKEyedropper.h"
#include "src/support/TKJournal.h"
#include "src/support/TKPalette.h"
#include "src/support/TKPreferences.h"
#include "src/support/TKUIComm.h"
#include "src/support/TKUndo.h"
#include "src/support/TKViews.h"
#include "src/support/TincturaUIControls.h"

/// What the logic asks the windows for. Each pointer may be null: nothing then happens. No function may run an event
/// loop or call back into the logic before it returns, except where it says so.   Thread: main.
struct TKUserInterface {
    void* context; ///< first argument of each function

    // Splash window.
    void (*showSplash)(void* context);
    void (*splashStep)(void* context, uint32_t step, const char* text); ///< step 0 is the picture, its text empty
    void (*hideSplash)(void* context);

    // Main window.
    /// Builds everything once, hidden; sliders are registered with the session. An error ends the start-up.
    BPStatus (*buildMainWindow)(void* context, TKSession* session);
    void (*showMainWindow)(void* context);  ///< maximised, active, painted
    void (*raiseMainWindow)(void* context); ///< to the foreground
    void (*hideMainWindow)(void* context);
    void (*closeMainWindow)(void* context); ///< posts a close, which later reaches TKMainWindowClose
    void (*quitLoop)(void* context);
    void (*startTimer)(void* context, uint32_t periodMs); ///< calls TKTick from then on
    void (*enableMenus)(void* context, bool enable);
    void (*setToolTips)(void* context, bool enable);
    void (*rememberForeground)(void* context); ///< the window that is in front now
    void (*restoreForeground)(void* context);  ///< gives it the foreground back
    void (*setCursor)(void* context, uint32_t resource);
    void (*paletteChanged)(void* context);
    void (*focusMainWindow)(void* context);
    void (*showAbout)(void* context);                   ///< the box with name and version; waits for the user
    void (*showViewMode)(void* context, uint32_t mode); ///< TKViewMode; null for a window with one layout
    /// Tabs of the settings: tab, the one inside it, the one inside that; -1 leaves one alone, and so does a number that
    /// is not there. The window keeps settingsTab.
    void (*selectSettingsTab)(void* context, int32_t tab, int32_t inner, int32_t innermost);
    void (*selectRightPane)(void* context, int32_t mode); ///< of imagePaneMode's list
    void (*selectLeftPane)(void* context, int32_t tab);   ///< of the analysis pane

    /// Puts the question whether a grade is to be recovered, and returns at once; ticks go on. The answer comes later by
    /// TKRecoveryAnswer.
    void (*askRecovery)(void* context, const char* text, const char* detail);
    void (*withdrawRecovery)(void* context); ///< takes the question back; no answer comes any more

    // Pictures.
    void (*surfacesReplaced)(void* context); ///< addresses of the session's surfaces and frames are new, or gone
    void (*pixelAspectChanged)(void* context, float aspect); ///< finite and above 0
    void (*refreshSource)(void* context);                    ///< the source surface has new pixels
    void (*refreshResult)(void* context, bool force);        ///< result and composed surfaces have new pixels
    void (*refreshDisplays)(void* context, bool force);      ///< what is held is to be shown anew
    void (*repaintPicture)(void* context, bool force);       ///< the image pane in use; with force before it returns
    void (*showAnalysis)(void* context, bool force);         ///< likewise the analysis pane
    void (*scopeWindowOpened)(void* context, bool open);     ///< show or hide the displays' own window
    void (*showScopeWindow)(void* context, bool force);      ///< as showAnalysis
    void (*repaintPanes)(void* context, uint32_t mask, bool force); ///< TKPaneBits: what else shows these pictures
    void (*updateGallery)(void* context); ///< its page comes to the front or leaves it; null so far
    void (*feedPreviews)(void* context);  ///< the pictures outside the window follow
    void (*setPositionText)(void* context, const char* text);
    void (*playingChanged)(void* context, bool playing);

    /// A clip of the host's list joins the folder `label` of the gallery.
    void (*addClip)(void* context, const char* label, const char* path);
    void (*rescanPresets)(void* context); ///< the folder of the user's presets has a new file

    // Controls.
    void (*sliderChanged)(void* context, SliderVars* slider); ///< repaint thumb and value
    void (*pickModeChanged)(void* context);                   ///< a pick began or ended; see TKEyedropper.h
    /// Asks for a colour, beginning with the one in `rgb`; true with the answer in it. Waits for the user: ticks go on.
    bool (*chooseColor)(void* context, const char* title, uint8_t rgb[3]);
    void (*editOpened)(void* context, SliderVars* slider); ///< show the edit with editText, all selected, focus
    void (*editClosed)(void* context, SliderVars* slider); ///< hide the edit, focus to the main panel
    void (*switchesChanged)(void* context);                ///< the tabs' checkboxes follow the live settings
    /// The controls that are not sliders follow `settings`; the arguments are those of UpdateAllControls.
    void (*updateOtherControls)(void* context, const OCSettings* settings, uint32_t toolMask, uint32_t curveMask,
                                const OCSettings* previous, bool force);
    void (*settleControls)(void* context); ///< controls that hold a render back make it now; see TKSettleControls
};

/// The transport of an image pane.
struct TKTransport {
    bool visible;
    bool running;
    char positionText[64];
};

/// The three image panes that may have one, and room for others. The main window has one transport for both of its
/// layouts, the left one; an interface with a bar below each pane shows the others too, and the keys then go to the last
/// of the three that is visible.
enum : uint32_t { kTKTransportLeft = 0, kTKTransportSplit = 1, kTKTransportSingle = 2, kTKTransportLimit = 10 };

/// Where the journal of a session stands; see TKRecovery.h.
enum TKRecoveryPhase : uint32_t {
    tkRecoveryOff,      ///< no session, or no journal can be had
    tkRecoveryFresh,    ///< attached; nobody has looked for an older journal yet
    tkRecoveryAsking,   ///< an older grade is offered
    tkRecoveryWatching, ///< changes are appended
};

struct TKRecovery {
    TKRecoveryPhase phase;
    BPStateFile file; ///< open from the first record on, and while an older journal is offered
    TKJournalClip clip;
    OCSettings saved;   ///< the grade that is safe: the newest record, or what the host gave
    OCSettings offered; ///< while asking
    uint32_t sequence;  ///< of the newest record; 0 none
    uint32_t busyTries;
    uint64_t savedAtMs;
    uint64_t retryAtMs; ///< of a record that could not be written; 0 when all is well
};

struct TKSession {
    const BPPlatform* platform;
    TKUserInterface ui;

    // Host.
    BPSharedMemory commBlock; ///< address null when detached; see TKBlockOf
    bool hostSwapped;         ///< the block is in the opposite byte order
    bool hostPresent;         ///< a block was found at start-up
    bool hostInProcess;       ///< an embedder in this process vouches for pointers in the block; off in the application
    uint32_t hostProcessHigh, hostProcessID; ///< outlive the block
    bool hostIsSilent; ///< it cannot be watched and left a request unanswered: nothing more is asked of it
    BPProcessWatch hostWatch;
    BPSharedMemory uiBlock;
    BPFrameChannel frameChannel;
    char commWindowName[64];
    uint8_t* receivedFrame; ///< from BPAllocate; the last frame of the channel, or null
    uint32_t receivedBytes;
    OCPixelAdjust storedPixelAdjust; ///< for played frames
    OCImageTransfer imageTransfer;
    double uiDeadline; ///< seconds of the wall clock
    TKRecovery recovery;
    uint64_t randomState;

    // Grade.
    OCSettings liveSettings;
    OCSettings defaultSettings; ///< reset once; source of the controls' defaults
    TKUndoRing* undoRing;
    uint32_t lastSlot;
    uint32_t commandID; ///< the command that is carried out, for rows that serve several numbers
    OCEngine* engine;
    OCStageCache stageCache; ///< of the source frame; forgotten whenever its pixels change

    // Picture.
    FBFrame* sourceFrame;
    uint32_t sourceVersion; ///< another one whenever the source frame has other pixels
    FBFrame* resultFrame;
    FBFrame* comparisonFrame;
    ScopeSurface resultSurface, splitSurface, splitMask, secondarySurface;
    ScopeSurface sourceSurface;
    float pixelAspect; ///< finite and above 0
    uint32_t taskCount;
    MPTask* tasks;
    bool renderInProgress;
    bool updateSuspended; ///< by caps lock
    uint32_t renderCount; ///< runs of ProcessImage, for tests and the log
    bool resultIsStale;   ///< the source frame is newer than the result

    // Interface.
    TKPreferences prefs;
    bool prefsReset;  ///< shift and control were held at the start
    bool prefsUnread; ///< the store could not be read at the start: `prefs` is not what the user has stored
    TKPalette palette;
    TKControls controls;
    TKPickTarget pick;
    TKViews views;
    int32_t imagePaneMode; ///< -1 before the panes exist
    int32_t settingsTab;   ///< likewise
    uint32_t viewMode;     ///< TKViewMode
    TKTransport transport[kTKTransportLimit];
    bool fullScreenPreview;
    bool secondaryPaneExists; ///< the window of the second monitor
    bool externalDeviceOpen;  ///< the video output of the preferences
    bool interfaceReady;
    bool quitting;       ///< the main window has been asked to close; no host is served any more
    uint32_t updateFlag; ///< a preset scan is running; read and written atomically
    uint32_t abortScan;  ///< tells it to stop; likewise
    uint32_t pendingCursor, currentCursor;
    uint64_t tickCount; ///< since the last attach
    bool inTick;        ///< a tick runs; another one, out of a box that it shows, does nothing
    BPStatus startupError;
};

/// Makes a session in its initial state: an engine, live settings reset with fresh preferences, nothing attached.
/// `platform` must outlive it; `ui` is copied and may be null. bpMemFullErr leaves null.
BPStatus TKCreateSession(const BPPlatform* platform, const TKUserInterface* ui, TKSession** session);

/// Releases everything that the session still holds, without a word to a host. TKTearDown comes before.
void TKDisposeSession(TKSession* session);

/// The block, or null when detached.
inline TKUIComm* TKBlockOf(const TKSession* session)
{
    return reinterpret_cast<TKUIComm*>(session->commBlock.address);
}

/// Calls a function of the interface when it is there.
#define TK_UI(session, function, ...)                                                                                  \
    do {                                                                                                               \
        if ((session)->ui.function) (session)->ui.function((session)->ui.context __VA_OPT__(, ) __VA_ARGS__);          \
    } while (false)
