// Moving through the clip of the host, and the text that tells the position.
#pragma once

#include "src/support/TKSession.h"

/// The transport that keys act on: the last visible one, or null.
TKTransport* TKActiveTransport(TKSession* session);

void TKTogglePlay(TKSession* session, TKTransport* transport);

/// Stops all transports.
void TKStopPlayback(TKSession* session);

/// Whether any transport runs.
bool TKIsPlaying(const TKSession* session);

// Each clamps frameTime to 0 and frameTimeMax, asks for the frame and takes it. Nothing happens while detached.
void TKStepFrames(TKSession* session, int32_t frames);
void TKGoToFirstFrame(TKSession* session);
void TKGoToLastFrame(TKSession* session);
void TKLocate(TKSession* session, int64_t frameTime);
/// The same for the position control of the image pane, which logs what it does.
void TKLocateFromPane(TKSession* session, int64_t frameTime);

/// Advances every running transport by one frame; at the end of the clip they stop.
void TKPlaybackStep(TKSession* session);

/// Writes the text of the block's position into the transports and tells the interface.
void TKUpdatePositionText(TKSession* session);
