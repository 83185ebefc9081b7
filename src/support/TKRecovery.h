// Nothing lost: each finished change of a session goes into a journal, and what a session left behind that ended without
// OK or Cancel is offered to the next session on the same clip.
//
// A journal is a convenience. Whatever goes wrong with it costs one line in the log and the journal, never the session,
// and nothing here ever makes a host wait.   Thread of everything here: main.
#pragma once

#include "src/support/TKSession.h"

/// How a session ends for its journal.
enum TKRecoveryEnd : uint32_t {
    tkRecoveryDone, ///< OK or Cancel: the journal is removed, unless its question is still open
    tkRecoveryKept, ///< any other end: the journal stays for the next session
};

/// Begins to watch the grade of a session that has just attached. Touches no file.
void TKRecoveryBegin(TKSession* session);

/// A step of the tick: looks for what an earlier session left, once; later appends the grade when a change is finished. A
/// change that goes on is appended once a second.
void TKRecoveryStep(TKSession* session);

/// Appends what is not in the journal yet, finished or not; before anything that may take long.
void TKRecoveryFlush(TKSession* session);

/// The answer to the question that the interface was asked to put. True takes the grade as one undo step, false drops
/// it. Without an open question nothing happens.
void TKRecoveryAnswer(TKSession* session, bool recover);

/// Ends the watch. What was changed last is appended before a journal is kept.
void TKRecoveryFinish(TKSession* session, TKRecoveryEnd end);
