// The platform: one table of operations for each subject. The application fills it from linux/ and qt/, tests from
// fake/. Functions that need an operation receive the table; nobody keeps a second copy.
#pragma once

#include "src/platform/BPAlert.h"
#include "src/platform/BPClipboard.h"
#include "src/platform/BPClock.h"
#include "src/platform/BPFileDialog.h"
#include "src/platform/BPFrameChannel.h"
#include "src/platform/BPKeyboard.h"
#include "src/platform/BPKeyedStore.h"
#include "src/platform/BPProcess.h"
#include "src/platform/BPScreen.h"
#include "src/platform/BPSharedMemory.h"
#include "src/platform/BPShell.h"
#include "src/platform/BPStateFile.h"

struct BPPlatform {
    BPSharedMemoryOps sharedMemory;
    BPFrameChannelOps frameChannel;
    BPProcessOps process;
    BPClockOps clock;
    BPKeyedStoreOps keyedStore;
    BPStateFileOps stateFile;
    BPKeyboardOps keyboard;
    BPAlertOps alert;
    BPClipboardOps clipboard;
    BPScreenOps screen;
    BPShellOps shell;
    BPFileDialogOps fileDialog;
};

/// Fills the operations that need no window system: shared memory, frame channel, process, clock, keyed
/// store, state files. The
/// others report to the log and answer with nothing (no modifiers, no screen).
void BPFillLinuxPlatform(BPPlatform* platform);
