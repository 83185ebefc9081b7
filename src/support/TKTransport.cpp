// Positions are the host's time units, computed in 64 bits from one reading of the block.
#include "src/support/TKTransport.h"

#include "src/platform/BPLog.h"
#include "src/support/BPTimecode.h"
#include "src/support/TincturaCallback.h"

#include <algorithm>
#include <cstring>

namespace {

int64_t Clamped(const TKUIComm* block, int64_t frameTime)
{
    const int64_t last = std::max(0, TKReadOnce(block->frameTimeMax));
    return std::clamp<int64_t>(frameTime, 0, last);
}

void NotifyPlaying(TKSession* session)
{
    TK_UI(session, playingChanged, TKIsPlaying(session));
}

/// What the position is shown with. A rate or a film length that no display could use falls back to frame numbers.
struct TimeDisplay {
    uint32_t format, rate, dropFlag, framesPerFoot;
};

TimeDisplay DisplayOf(const TKUIComm* block)
{
    TimeDisplay display = {.format = TKReadOnce(block->timeDisplayFormat),
                           .rate = TKReadOnce(block->frameRate100),
                           .dropFlag = TKReadOnce(block->dropFrameMode),
                           .framesPerFoot = TKReadOnce(block->framesPerFoot)};
    if (display.format == 0) { // the host gives none
        display.format = bpTimeTimecode;
        display.dropFlag = kBPDropFrame;
    }
    if (display.format == bpTimeTimecode && display.rate < 100) display.format = bpTimeFrames;
    if (display.format == bpTimeFeet && display.framesPerFoot == 0) display.format = bpTimeFrames;
    return display;
}

int32_t FrameNumber(const TKUIComm* block)
{
    const int64_t step = TKReadOnce(block->frameStep);
    if (step == 0) return 0;
    const int64_t number = int64_t{TKReadOnce(block->frameTime)} / step;
    return static_cast<int32_t>(std::clamp<int64_t>(number, INT32_MIN, INT32_MAX));
}

/// One frame of a running transport. False at the end of the clip.
bool AdvanceOneFrame(TKSession* session)
{
    TKUIComm* block = TKBlockOf(session);
    const int64_t wanted = int64_t{TKReadOnce(block->frameTime)} + TKReadOnce(block->frameStep);
    const int64_t position = Clamped(block, wanted);
    block->frameTime = static_cast<int32_t>(position);
    if (wanted > position) {
        TKStopPlayback(session);
        RefreshDisplaysOnly(session, true);
        TKUpdatePositionText(session);
        return false;
    }
    TKRequestAndTakeFrame(session);
    return true;
}

} // namespace

TKTransport* TKActiveTransport(TKSession* session)
{
    for (uint32_t i = kTKTransportLimit; i > 0; --i)
        if (session->transport[i - 1].visible) return &session->transport[i - 1];
    return nullptr;
}

void TKTogglePlay(TKSession* session, TKTransport* transport)
{
    transport->running = !transport->running;
    NotifyPlaying(session);
}

void TKStopPlayback(TKSession* session)
{
    if (!TKIsPlaying(session)) return;
    for (TKTransport& transport : session->transport) transport.running = false;
    NotifyPlaying(session);
}

bool TKIsPlaying(const TKSession* session)
{
    return std::any_of(std::begin(session->transport), std::end(session->transport),
                       [](const TKTransport& transport) { return transport.running; });
}

void TKStepFrames(TKSession* session, int32_t frames)
{
    const TKUIComm* block = TKBlockOf(session);
    if (!block) return;
    TKLocate(session, int64_t{TKReadOnce(block->frameTime)} + int64_t{frames} * TKReadOnce(block->frameStep));
}

void TKGoToFirstFrame(TKSession* session)
{
    TKLocate(session, 0);
}

void TKGoToLastFrame(TKSession* session)
{
    if (const TKUIComm* block = TKBlockOf(session)) TKLocate(session, TKReadOnce(block->frameTimeMax));
}

void TKLocate(TKSession* session, int64_t frameTime)
{
    TKUIComm* block = TKBlockOf(session);
    if (!block) return;
    block->frameTime = static_cast<int32_t>(Clamped(block, frameTime));
    TKRequestAndTakeFrame(session);
}

void TKLocateFromPane(TKSession* session, int64_t frameTime)
{
    TKUIComm* block = TKBlockOf(session);
    if (!block) return;
    block->frameTime = static_cast<int32_t>(Clamped(block, frameTime));
    BPDebugLog("ImagePaneWindowProc: doing OCCB_GetClipFrame\n");
    uint8_t* buffer = nullptr;
    uint32_t byteCount = 0;
    (void)OCCB_GetClipFrame(session, &buffer, &byteCount);
    TKTakeFrame(session, buffer, byteCount, "ImagePaneWindowProc");
}

void TKPlaybackStep(TKSession* session)
{
    for (TKTransport& transport : session->transport) {
        if (!transport.running || !TKBlockOf(session)) continue;
        if (!AdvanceOneFrame(session)) return;
    }
}

void TKUpdatePositionText(TKSession* session)
{
    const TKUIComm* block = TKBlockOf(session);
    if (!block) return;
    const TimeDisplay display = DisplayOf(block);
    char text[sizeof TKTransport::positionText];
    BPFramesToTimecodeCString(FrameNumber(block), display.rate, display.format, display.dropFlag, display.framesPerFoot,
                              TKReadOnce(block->startFrame), text, sizeof text);
    for (TKTransport& transport : session->transport) std::memcpy(transport.positionText, text, sizeof text);
    TK_UI(session, setPositionText, text);
}
