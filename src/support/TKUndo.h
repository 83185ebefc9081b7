// The undo ring: one step is a whole copy of the settings record.
//
// The protocol of every edit: UndoPush with the settings as they are, the change, UndoStore with the settings as they
// are now. Every operation accepts a null ring and then does nothing.
#pragma once

#include "src/OCSettings.h"

struct TKUndoRing {
    uint32_t undoSlotCount; ///< depth plus 1; 0 when the memory could not be had: undo is then off
    uint32_t undoHead;      ///< index of the current state; its slot is undoHead modulo undoSlotCount
    uint32_t undoTop;       ///< highest undoHead that redo reaches
    uint32_t undoAvailable; ///< steps that can be undone, at most undoSlotCount - 1
    OCSettings* undoRecords;
};

/// Makes a ring whose slots all hold `settings`. Null for a depth of 0, and when not even the record could be had; a
/// ring without slots when only its records could not. Owned by the caller until UndoDispose.   Thread: main.
TKUndoRing* UndoCreate(uint32_t depth, const OCSettings& settings);
void UndoDispose(TKUndoRing* ring);

/// Forgets all steps.
void UndoReset(TKUndoRing* ring);

/// Saves the state before a change and drops what could be redone.
void UndoPush(TKUndoRing* ring, const OCSettings& settings);

/// Saves the state after a change.
void UndoStore(TKUndoRing* ring, const OCSettings& settings);

/// Copies the state one step back (forward) into `settings`. False, with nothing changed, when there is none.
bool UndoStepBack(TKUndoRing* ring, OCSettings* settings);
bool UndoStepForward(TKUndoRing* ring, OCSettings* settings);

bool UndoCanStepBack(const TKUndoRing* ring);
bool UndoCanStepForward(const TKUndoRing* ring);
