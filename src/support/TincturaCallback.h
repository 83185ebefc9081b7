// The host's side of a session: attaching to the shared block, taking frames out of it, asking for more.
//
// Everything runs on the main thread; waits are plain sleeps in which no event is handled. Nothing that the block says
// about sizes is used before it is checked against the mapping, in 64 bits, from one reading.
#pragma once

#include "src/support/TKSession.h"

/// What a frame in interchange memory measures.
struct TKFrameShape {
    uint32_t width, height; ///< pixels, rows
    uint32_t rowBytes;
    FBPixelFormat format;
    uint32_t planes;    ///< 1, or 3 planes of rowBytes times height each
    uint64_t leastRow;  ///< bytes of a row without padding
    uint64_t byteCount; ///< of all of it, the last row without padding
};

/// Reads the geometry of the block once and checks it by itself: sides, format, row bytes. bpParamErr, with one line in
/// the log, for a frame that could not be.
BPStatus TKReadFrameShape(const TKUIComm* block, TKFrameShape* shape);

/// The address of the frame that a host in this process has put into the block: a word of this machine's addresses, or of
/// 32 bits where the block has room for no more. Null when there is no frame.
void* TKPixelAddress(const TKSession* session);

/// Value of `status`, read once with acquire order; and stored with release order.
uint32_t TKReadStatus(const TKUIComm* block);
void TKStoreStatus(TKUIComm* block, uint32_t status);

/// Maps the host's block. Null without one, or when signature or version do not match after one more look 50 ms later.
TKUIComm* TKOpenCommBlock(TKSession* session);

/// Unmaps the block and clears it. Nobody touches it afterwards.
void TKCloseCommBlock(TKSession* session);

enum TKAttachResult : uint32_t {
    tkAttached,
    tkNoHost,          ///< the user has been told; the process ends
    tkVersionMismatch, ///< status 2 has been stored; the process ends
};

/// The first attach, once at start-up.
TKAttachResult TKAttachHost(TKSession* session);

/// The first attach from the moment at which the block is mapped; the session has a block. A block of the other byte
/// order is turned, pixels and all.
TKAttachResult TKAdoptBlock(TKSession* session);

/// One look for a new block of a resident application, on each tick while detached. True when it attached.
bool TKReattachHost(TKSession* session);

/// The end of a resident application: state saved, main window asked to close. May run twice.
void TKDetachAndQuit(TKSession* session);

/// Whether the host has taken its block back while we are attached: removed it, or cut it short.
bool TKHostTookItsBlock(const TKSession* session);

/// Hands the clips of the host's list to the interface, as "Project footage": at most 200, those without a path left out.
/// A negative count is an assertion failure and no clip. Returns how many there were. Once, at the start.
uint32_t TKAddHostClips(TKSession* session);

/// Whether the host of this session still lives. True for one that gave no process id: the high half of an identity alone
/// names no process, so that host is served as any other, its waits have an end, and no application stays resident for it.
bool TKHostIsAlive(const TKSession* session);

/// Starts listening for frames under a title of its own, which goes into the block. -50 when that fails.
BPStatus TKCommWindowCreate(TKSession* session, TKUIComm* block);
void TKCommWindowClose(TKSession* session);

/// The sizes that a frame of the host may have. Without a maximum none is taken.
struct TKAnswerRange {
    uint32_t minimumBytes, maximumBytes;
};

/// Takes what waits in the channel; a frame replaces the one that nobody took. A message of another size, or one for
/// which memory is short, is passed over.
void TKCommWindowPoll(TKSession* session, TKAnswerRange range);

/// Asks the host for the frame at frameTime and waits for it. *buffer is the frame, owned by the caller until BPFree, or
/// null when the host has none. Returns bpNoErr always.
BPStatus OCCB_GetClipFrame(TKSession* session, uint8_t** buffer, uint32_t* byteCount);

/// Fits the display surfaces to the frame of the block. bpParamErr for a frame that could not be, or bpMemFullErr.
BPStatus TKPrepareFrameWorlds(TKSession* session);

/// Takes the frame out of the block into the source frame and computes the first result. A frame that does not fit its
/// mapping, or whose host ends before all chunks came, gives bpParamErr; memory bpMemFullErr.
BPStatus TKLoadFrameFromHost(TKSession* session);

/// What follows a frame request: the buffer (released here; null leaves the picture as it is) becomes the source frame
/// and the displays follow. With a caller's name the log tells the release, which comes between transfer and render.
void TKTakeFrame(TKSession* session, uint8_t* buffer, uint32_t byteCount, const char* caller = nullptr);

/// Request and taking in one: for the transport.
void TKRequestAndTakeFrame(TKSession* session);

/// Takes the settings out of the block: copied when they carry the signature, otherwise a reset. True when the live
/// settings changed. The controls are not told.
bool TKTakeSettingsFromBlock(TKSession* session);

/// Changes the byte order of the block's fields, or of each word of some pixels. Both do nothing unless the host is of
/// the other byte order.
void TKSwapCommBlock(const TKSession* session, TKUIComm* block);
void TKSwapPixels(const TKSession* session, uint8_t* pixels, uint64_t byteCount);
