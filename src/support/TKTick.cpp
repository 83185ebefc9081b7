// The 10 ms tick: all background work of the main thread, in its order. kSteps is the order.
#include "src/support/TKRecovery.h"
#include "src/support/TKStartup.h"
#include "src/support/TKTransport.h"
#include "src/support/TincturaCallback.h"

namespace {

/// While detached: one look for a new block. False ends the tick.
bool AttachStep(TKSession* session)
{
    return TKBlockOf(session) || TKReattachHost(session);
}

/// A host that takes its block back ends the session, and the tick.
bool LostHostStep(TKSession* session)
{
    if (!TKHostTookItsBlock(session)) return true;
    TKEndLostSession(session);
    return false;
}

bool FirstTickStep(TKSession* session)
{
    if (session->tickCount == 1) TK_UI(session, refreshSource);
    return true;
}

bool DragStep(TKSession* session)
{
    TKControls& controls = session->controls;
    if (!(controls.undoPending || controls.updatePending) || session->platform->keyboard.mouseButtonDown()) return true;
    if (controls.updatePending) RecomputeAndRefresh(session, true);
    if (controls.undoPending) TKStoreUndo(session);
    controls.undoPending = false;
    return true;
}

bool CapsLockStep(TKSession* session)
{
    if (!session->updateSuspended || session->platform->keyboard.modifierWord() & bpCapsLock) return true;
    session->updateSuspended = false;
    RecomputeAndRefresh(session, true);
    return true;
}

bool CursorStep(TKSession* session)
{
    if (session->pendingCursor == 0) return true;
    if (session->pendingCursor != session->currentCursor) {
        session->currentCursor = session->pendingCursor;
        TK_UI(session, setCursor, session->currentCursor);
    }
    session->pendingCursor = 0;
    return true;
}

bool PlaybackTickStep(TKSession* session)
{
    TKPlaybackStep(session);
    return true;
}

/// After the drag, so that a finished gesture is saved at once.
bool JournalStep(TKSession* session)
{
    TKRecoveryStep(session);
    return true;
}

/// Frames that nobody asked for are taken off the channel, so that whoever sent them is not left waiting.
bool ChannelStep(TKSession* session)
{
    if (session->frameChannel.handle == 0) return true;
    TKCommWindowPoll(session, {});
    session->platform->frameChannel.release(&session->frameChannel);
    return true;
}

using TickStep = bool (*)(TKSession* session);
constexpr TickStep kSteps[] = {AttachStep,   LostHostStep, FirstTickStep,    DragStep,   JournalStep,
                               CapsLockStep, CursorStep,   PlaybackTickStep, ChannelStep};

} // namespace

void TKTick(TKSession* session)
{
    // A box that a step shows waits in an event loop, in which the timer goes on. What the step was about is half done.
    if (session->inTick) return;
    session->inTick = true;
    ++session->tickCount;
    for (const TickStep step : kSteps)
        if (!step(session)) break;
    session->inTick = false;
}
