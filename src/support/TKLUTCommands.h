// Commands around tables: the exports of the File menu, the choice of preview tables, loading and saving of curves.
// Each asks for a path and calls the reader or writer.
#pragma once

#include "src/LUTs/TincturaLUTTargets.h"
#include "src/support/TKCommands.h"

/// Asks for a path and bakes the live settings for a target. A cancelled dialog and a file that cannot be made end the
/// command without a word, with bpNoErr; otherwise the error of the sampler, or bpDiskFullErr.   Thread: main.
BPStatus TKExportLUT(TKSession* session, const OCLUTTarget& target);

/// Asks for a path and saves the live settings as a preview LUT of kOCPreviewSaveSize entries.
BPStatus TKSavePreviewLUT(TKSession* session);

/// Asks for a curve file and loads it into the live settings; what is wrong with it is shown. Without a file, or with one
/// that is none, they stay as they are. The undo step around it, and what follows on the screen, are the caller's.
void CVLoadCurrentCurves(TKSession* session);

/// Asks for a path and saves the four curves, a loaded table among them as a straight line. Nothing happens while all
/// four are loaded tables.
void TKSaveCurves(TKSession* session);

// For the command table.
template <uint32_t command> void TKRunExportLUT(TKSession* session, const TKCommandSource*)
{
    if (const OCLUTTarget* target = OCLUTTargetOfCommand(command)) (void)TKExportLUT(session, *target);
}
void TKRunSavePreviewLUT(TKSession* session, const TKCommandSource* source);
void TKRunSelectPreviewLUT(TKSession* session, const TKCommandSource* source); ///< by session->commandID
void TKRunLoadCurves(TKSession* session, const TKCommandSource* source); ///< one undo step, also when nothing loads
void TKRunSaveCurves(TKSession* session, const TKCommandSource* source);
