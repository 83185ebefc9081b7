// The frame channel: on request a host sends one frame to the application.
//
// A local datagram-preserving socket named after the channel in the runtime folder. A message is two 32-bit words,
// the data word and the byte count, and one file descriptor of sealed or plain memory that holds the bytes. The
// receiver reads the bytes out of the descriptor into memory of its own; it never maps them. The connection stays open
// until the application calls `release`: its end tells the host that the request is over.
#pragma once

#include "src/platform/BPStatus.h"

struct BPFrameChannel {
    uint64_t handle; ///< 0 when closed
};

struct BPFrameMessage {
    uint32_t dataWord;
    uint32_t byteCount;
    uint8_t* bytes; ///< from BPAllocate, owned by the receiver; null when memory was short or nothing was asked for
};

struct BPFrameConnection {
    uint64_t handle; ///< 0 when closed
};

struct BPFrameChannelOps {
    // The application's side. Thread: main; none of these waits.

    /// Starts listening under `name`: at most 63 characters, no slash. Replaces a stale name of a dead process, and
    /// removes others of dead processes that are older than ten seconds;
    /// bpFileExistsErr when somebody listens under it, or the name belongs to something else.
    BPStatus (*listen)(const char* name, BPFrameChannel* channel);

    /// Takes one waiting message. bpNotFoundErr when none waits. A message whose data word is not `wantedWord`, or
    /// whose count is above maximumBytes or above what its descriptor holds, is taken with null bytes; so is one whose
    /// descriptor is missing, is one of several, or is no file in memory. A peer whose message is not two words loses
    /// its connection.
    BPStatus (*receive)(BPFrameChannel* channel, uint32_t wantedWord, uint32_t maximumBytes, BPFrameMessage* message);

    /// Closes the accepted connections, and those that wait to be accepted: the end of the request for the hosts behind
    /// them. Messages that nobody took are gone.
    void (*release)(BPFrameChannel* channel);

    /// Stops listening, removes the name, clears the record.
    void (*close)(BPFrameChannel* channel);

    // The host's side.

    /// Connects to the application's channel. bpFileNotFoundErr when nobody listens.
    BPStatus (*connect)(const char* name, BPFrameConnection* connection);

    /// Sends one message; the bytes are copied. bpMemFullErr, bpFileBusyErr when the application takes nothing for two
    /// seconds, bpEndOfFileErr when it has closed the connection.
    BPStatus (*send)(BPFrameConnection* connection, uint32_t dataWord, const void* bytes, uint32_t byteCount);

    /// Waits until the application ends the request, or ends itself: bpNoErr, or bpNotFoundErr after timeoutMs.
    BPStatus (*awaitEnd)(BPFrameConnection* connection, uint32_t timeoutMs);

    void (*disconnect)(BPFrameConnection* connection);
};
