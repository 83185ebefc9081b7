// The platform for tests: every operation is scripted and recorded through one record.
//
// A test resets `gBPFake`, sets the world up in it (blocks, processes, screens, messages, keys), fills a table with
// BPFillFakePlatform and runs the code under test; then it reads from the record what was done. Nothing here waits: a
// sleep moves the clock and calls `onSleep`, in which the test plays the other side.
//
//     BPFakeReset();
//     gBPFake.alive[500] = true;
//     gBPFake.failCall[bpFakeSharedOpen] = 2;          // the second open fails
//     gBPFake.onSleep = [](void* context, uint32_t) { static_cast<Host*>(context)->Answer(); };
//     gBPFake.hookContext = &host;
//
// Memory, threads and the log are the real ones. Messages are received into memory from BPAllocate, so BPFailAllocation
// works on them; the other records of this file do not count as requests.   Thread: one.
#pragma once

#include "src/platform/BPPlatform.h"

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// One value for each operation, in the order of the tables.
enum BPFakeOp : uint32_t {
    bpFakeSharedCreate,
    bpFakeSharedOpen,
    bpFakeSharedClose,
    bpFakeSharedIsWhole,
    bpFakeSharedRemove,
    bpFakeChannelListen,
    bpFakeChannelReceive,
    bpFakeChannelRelease,
    bpFakeChannelClose,
    bpFakeChannelConnect,
    bpFakeChannelSend,
    bpFakeChannelAwaitEnd,
    bpFakeChannelDisconnect,
    bpFakeCurrentId,
    bpFakeProcessorCount,
    bpFakeProcessorSuffices,
    bpFakeWatch,
    bpFakeIsAlive,
    bpFakeUnwatch,
    bpFakeSpawn,
    bpFakeReap,
    bpFakeEndRequested,
    bpFakeWallSeconds,
    bpFakeMonotonicMs,
    bpFakeSleepMs,
    bpFakeStoreOpen,
    bpFakeStoreClose,
    bpFakeReadNumber,
    bpFakeReadString,
    bpFakeReadBlock,
    bpFakeWriteNumber,
    bpFakeWriteString,
    bpFakeWriteBlock,
    bpFakeBegin,
    bpFakeCommit,
    bpFakeStateOpen,
    bpFakeStateRead,
    bpFakeStateWrite,
    bpFakeStateClose,
    bpFakeStateDiscard,
    bpFakeStatePrune,
    bpFakeModifierWord,
    bpFakeMouseButtonDown,
    bpFakeAlert,
    bpFakeMessageBox,
    bpFakeBeep,
    bpFakeClipboardPut,
    bpFakeClipboardHas,
    bpFakeClipboardGet,
    bpFakeScreenCount,
    bpFakeScreenBounds,
    bpFakeScreenWorkArea,
    bpFakeAllowForeground,
    bpFakeShellOpenFile,
    bpFakeShellOpenAddress,
    bpFakeFileOpen,
    bpFakeFileSave,
    bpFakeAskName,
    bpFakeOpCount,
};

/// A shared memory object: zeroed at first, on a page boundary, alive as long as the name or a mapping is.
struct BPFakeBlock {
    std::shared_ptr<uint8_t> bytes;
    uint64_t byteCount = 0;
    std::vector<uint8_t> atLastClose; ///< a copy of the bytes, made when a mapping was closed; see BPFakeWrittenSince
};

/// A message of a host. `byteCount` is what the host claims, `bytes` what its descriptor really holds.
struct BPFakeMessage {
    uint32_t dataWord = 0;
    uint32_t byteCount = 0;
    std::vector<uint8_t> bytes;
};

/// A box that was shown. An alert has an empty title, a message box has severity 2.
struct BPFakeShownAlert {
    BPSeverity severity = bpStop;
    std::string title;
    std::string text;
};

/// A dialog for a file or a name that was shown.
struct BPFakeFileQuestion {
    BPFakeOp op = bpFakeFileOpen;
    std::string title, button, filter, defaultName, defaultExtension; ///< for a name: its suggestion is defaultName
    std::vector<std::string> types{};                                 ///< ".ext description"
    int32_t h = -1, v = -1;                                           ///< for a name: the place that was asked for
};

enum BPFakeKind : uint32_t { bpFakeNumber = 1, bpFakeString = 2, bpFakeBlob = 3 };

/// A value of a keyed store; the field of its kind counts.
struct BPFakeValue {
    BPFakeKind kind = bpFakeNumber;
    uint32_t number = 0;
    std::string text;
    std::vector<uint8_t> block;

    bool operator==(const BPFakeValue&) const = default;
};

using BPFakeStore = std::map<std::string, BPFakeValue>;

struct BPFakeState {
    // Failures. An operation without a status never fails; the others fail once at the call with this number (1 is the
    // first since the reset, 0 none), or at all calls from that number on. A failing call changes nothing.
    uint32_t failCall[bpFakeOpCount] = {};
    uint32_t failFrom[bpFakeOpCount] = {};
    BPStatus failStatus[bpFakeOpCount] = {}; ///< what it fails with; bpNoErr means the error most usual for it

    // What was called.
    uint32_t calls[bpFakeOpCount] = {};
    std::vector<BPFakeOp> journal; ///< every call but looks at the clock and at whole objects, in order

    // Hooks; each may be null. `onCall` comes before an operation does anything, `onSleep` after the clock was moved.
    void (*onCall)(void* context, BPFakeOp op) = nullptr;
    void (*onSleep)(void* context, uint32_t milliseconds) = nullptr;
    void* hookContext = nullptr;

    // Shared memory.
    std::map<std::string, BPFakeBlock> blocks;
    uint32_t openMappings = 0;

    // Frame channel, the application's side. As in life, `release` drops the messages that nobody took.
    std::string channelName;            ///< where the application listens; empty when nowhere
    std::deque<BPFakeMessage> messages; ///< those waiting
    uint32_t releases = 0;

    // Processes. Without an entry there is none; false is one that has ended and was not reaped.
    std::map<uint32_t, bool> alive;
    std::map<uint32_t, int32_t> exitCodes; ///< for `reap`: children that have ended, taken out when reaped
    uint32_t currentId = 4711;
    uint32_t processorCount = 4;
    bool processorSuffices = true;
    uint32_t nextProcessId = 9000;                 ///< the id of the next child
    std::vector<std::vector<std::string>> spawned; ///< argument vectors
    uint32_t openWatches = 0;
    bool endRequested = false;

    // Clock.
    double wallSeconds = 1000000000.0;
    uint64_t monotonicMs = 1000;
    std::vector<uint32_t> sleeps; ///< each sleep, in milliseconds
    size_t sleepLimit = 100000;   ///< more sleeps than this end the program: the code under test waits forever

    // Keyed stores by name.
    std::map<std::string, BPFakeStore> stores;
    uint32_t openStores = 0;

    // State files by name.
    std::map<std::string, std::vector<uint8_t>> stateFiles;
    std::string stateHeldElsewhere;       ///< name of a file that another process holds
    uint64_t stateRoom = UINT64_MAX;      ///< bytes that the disk has for all of them; a write takes what fits
    std::vector<std::string> statePruned; ///< "suffix limit", a call each
    uint32_t openStateFiles = 0;

    // Keyboard and mouse.
    uint32_t modifierWord = 0;
    bool mouseButtonDown = false;

    // Alerts.
    std::vector<BPFakeShownAlert> alerts;
    uint32_t beeps = 0;

    // Clipboard: one block. A put that fails leaves it empty.
    std::string clipboardFormat; ///< empty when the clipboard is
    std::vector<uint8_t> clipboard;

    // Screens, the primary one first.
    std::vector<BPRect> screens = {{.left = 0, .top = 0, .right = 1920, .bottom = 1080}};
    BPRect workArea = {.left = 0, .top = 0, .right = 1920, .bottom = 1080};
    std::vector<uint32_t> allowedForeground; ///< process ids

    // The desktop: files and addresses that were opened, in order.
    std::vector<std::string> opened;

    // Dialogs for files and names: the answers of the next ones, and those that were shown. An empty answer cancels a
    // dialog for a file; without an answer every dialog is cancelled.
    std::deque<std::string> fileAnswers;
    std::vector<BPFakeFileQuestion> fileQuestions;
    int32_t nameWindowH = 300, nameWindowV = 200; ///< where the user leaves the dialog for a name

    // The log, when BPFakeCaptureLog was called: all lines, and the reports of assertions and fatal errors.
    std::string log;
    std::vector<BPFakeShownAlert> reports; ///< title and text
};

/// The world of the running test.   Thread: the test's. The log may be written by others.
extern BPFakeState gBPFake;

/// Sets everything back to what BPFakeState says, releases all handles, and ends the capture of the log.
void BPFakeReset();

/// Sends the log and the reports to gBPFake until the next reset.
void BPFakeCaptureLog();

/// Makes a block as a host would, without counting a call, and returns its bytes. An existing one is replaced; its
/// mappings live on.
uint8_t* BPFakeMakeBlock(const char* name, uint64_t byteCount);

/// True when bytes of the block differ from what they were when a mapping of it was last closed: somebody wrote to it
/// since.
bool BPFakeWrittenSinceClose(const char* name);

/// Puts a sound message, as a host would send it, at the end of the queue.
void BPFakeQueueMessage(uint32_t dataWord, const void* bytes, uint32_t byteCount);

/// Fills all tables with the fakes.
void BPFillFakePlatform(BPPlatform* platform);
