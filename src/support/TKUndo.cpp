// The undo ring. A push raises undoTop to the new undoHead, so a change after an undo drops what could be redone, and
// the oldest step is overwritten once the ring has wrapped.
#include "src/support/TKUndo.h"

#include "src/platform/BPMemory.h"

#include <algorithm>

namespace {

bool IsUsable(const TKUndoRing* ring)
{
    return ring && ring->undoSlotCount != 0;
}

OCSettings& SlotOf(TKUndoRing* ring)
{
    return ring->undoRecords[ring->undoHead % ring->undoSlotCount];
}

void RaiseAvailable(TKUndoRing* ring)
{
    ring->undoAvailable = std::min(ring->undoAvailable + 1, ring->undoSlotCount - 1);
}

} // namespace

TKUndoRing* UndoCreate(uint32_t depth, const OCSettings& settings)
{
    if (depth == 0 || depth >= 1000) return nullptr;
    auto* ring = static_cast<TKUndoRing*>(BPAllocate(sizeof(TKUndoRing)));
    if (!ring) return nullptr;
    *ring = {.undoSlotCount = depth + 1,
             .undoHead = depth * 2,
             .undoTop = depth * 2,
             .undoAvailable = 0,
             .undoRecords = static_cast<OCSettings*>(BPAllocate((size_t{depth} + 1) * sizeof(OCSettings)))};
    if (ring->undoRecords)
        std::fill_n(ring->undoRecords, ring->undoSlotCount, settings);
    else
        ring->undoSlotCount = 0;
    return ring;
}

void UndoDispose(TKUndoRing* ring)
{
    if (!ring) return;
    BPFree(ring->undoRecords);
    BPFree(ring);
}

void UndoReset(TKUndoRing* ring)
{
    if (!ring) return;
    ring->undoHead = 0;
    ring->undoTop = 0;
    ring->undoAvailable = 0;
}

void UndoPush(TKUndoRing* ring, const OCSettings& settings)
{
    if (!IsUsable(ring)) return;
    SlotOf(ring) = settings;
    ++ring->undoHead;
    ring->undoTop = ring->undoHead;
    RaiseAvailable(ring);
}

void UndoStore(TKUndoRing* ring, const OCSettings& settings)
{
    if (IsUsable(ring)) SlotOf(ring) = settings;
}

bool UndoStepBack(TKUndoRing* ring, OCSettings* settings)
{
    if (!UndoCanStepBack(ring)) return false;
    --ring->undoHead;
    *settings = SlotOf(ring);
    --ring->undoAvailable;
    return true;
}

bool UndoStepForward(TKUndoRing* ring, OCSettings* settings)
{
    if (!UndoCanStepForward(ring)) return false;
    ++ring->undoHead;
    *settings = SlotOf(ring);
    RaiseAvailable(ring);
    return true;
}

bool UndoCanStepBack(const TKUndoRing* ring)
{
    return IsUsable(ring) && ring->undoAvailable > 0;
}

bool UndoCanStepForward(const TKUndoRing* ring)
{
    return IsUsable(ring) && ring->undoHead != ring->undoTop;
}
