// When the journal of a session is written, offered and removed.
//
// The tick compares the live grade with what is safe already. So every change counts, wherever it came from, and
// whoever changes the grade needs to know nothing of this.
#include "src/support/TKRecovery.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr uint64_t kGestureMs = 1000;     // a change that goes on is saved this often
constexpr uint64_t kRetryMs = 3000;       // after a record that could not be written
constexpr uint32_t kBusyTries = 200;      // ticks in which another application may let go of the clip's journal
constexpr uint32_t kJournalsAllowed = 64; // files that wait for their clips

/// Nothing more is written. What was written stays open, so that OK and Cancel still remove it.
void GiveUp(TKSession* session, BPStatus error)
{
    BPDebugLog("No journal is kept of this session, error %d\n", error);
    session->recovery.phase = tkRecoveryOff;
}

BPStatus WriteHeader(TKSession* session)
{
    TKJournalHeader header;
    TKJournalMakeHeader(session->recovery.clip, &header);
    return session->platform->stateFile.write(&session->recovery.file, 0, &header, sizeof header);
}

/// Takes in what an earlier session left. bpNotFoundErr when that is nothing.
BPStatus ReadJournal(TKSession* session, TKJournalContent* content)
{
    TKRecovery& recovery = session->recovery;
    // One byte more than a journal can have, so that a larger file is found out.
    const uint32_t capacity = kTKJournalBytes + 1;
    auto* bytes = static_cast<uint8_t*>(BPAllocate(capacity));
    if (!bytes) return bpMemFullErr;
    uint32_t byteCount = 0;
    BPStatus err = session->platform->stateFile.read(&recovery.file, bytes, capacity, &byteCount);
    if (err == bpNoErr)
        err = byteCount <= kTKJournalBytes ? TKJournalRead(bytes, byteCount, recovery.clip, content)
                                           : bpInvalidSettingsErr;
    BPFree(bytes);
    return err;
}

/// Whether a reading tells that nothing is lost with the file, not merely that it could not be read.
bool HoldsNothing(BPStatus err)
{
    return err == bpNotFoundErr || err == bpInvalidSettingsErr;
}

/// Begins a file, or goes on behind the records that another application left in it since we looked.
BPStatus BeginFile(TKSession* session)
{
    auto* content = static_cast<TKJournalContent*>(BPAllocate(sizeof(TKJournalContent)));
    if (!content) return bpMemFullErr;
    const BPStatus err = ReadJournal(session, content);
    session->recovery.sequence = content->sequence;
    BPFree(content);
    return HoldsNothing(err) ? WriteHeader(session) : err;
}

/// Opens the journal for writing, made when missing.
BPStatus OpenForWriting(TKSession* session)
{
    TKRecovery& recovery = session->recovery;
    if (recovery.file.handle != 0) return bpNoErr;
    const BPStateFileOps& ops = session->platform->stateFile;
    char name[64];
    TKJournalName(recovery.clip, name, sizeof name);
    ops.prune(kTKJournalSuffix, kJournalsAllowed - 1);
    if (BPStatus err = ops.open(name, true, &recovery.file); err != bpNoErr) {
        recovery.file = {};
        return err;
    }
    if (BPStatus err = BeginFile(session); err != bpNoErr) {
        ops.discard(&recovery.file);
        return err;
    }
    return bpNoErr;
}

/// What is not written now may be later: a disk does not stay full. One line tells of the first of several failures.
void PutOff(TKSession* session, BPStatus error)
{
    TKRecovery& recovery = session->recovery;
    if (recovery.retryAtMs == 0) BPDebugLog("No journal is kept of this session, error %d\n", error);
    recovery.retryAtMs = session->platform->clock.monotonicMs() + kRetryMs;
}

void Append(TKSession* session)
{
    TKRecovery& recovery = session->recovery;
    if (BPStatus err = OpenForWriting(session); err != bpNoErr) {
        PutOff(session, err);
        return;
    }
    auto* record = static_cast<TKJournalRecord*>(BPAllocate(sizeof(TKJournalRecord)));
    if (!record) {
        PutOff(session, bpMemFullErr);
        return;
    }
    const BPPlatform& platform = *session->platform;
    const uint32_t sequence = recovery.sequence + 1;
    TKJournalMakeRecord(session->liveSettings, sequence, static_cast<uint64_t>(platform.clock.wallSeconds()), record);
    const BPStatus err = platform.stateFile.write(&recovery.file, TKJournalPosition(sequence), record, sizeof *record);
    BPFree(record);
    if (err != bpNoErr) {
        // Without one sound record the file is of no use to anybody.
        if (recovery.sequence == 0) platform.stateFile.discard(&recovery.file);
        PutOff(session, err);
        return;
    }
    if (recovery.retryAtMs != 0) BPDebugLog("The journal is kept again\n");
    recovery.retryAtMs = 0;
    recovery.sequence = sequence;
    recovery.saved = session->liveSettings;
    recovery.savedAtMs = platform.clock.monotonicMs();
}

void Ask(TKSession* session, uint64_t seconds)
{
    TKRecovery& recovery = session->recovery;
    char title[300], date[64] = "", text[400], detail[256];
    TKJournalTitle(recovery.clip, title, sizeof title);
    const auto when = static_cast<time_t>(seconds);
    tm local = {};
    if (localtime_r(&when, &local)) (void)std::strftime(date, sizeof date, "%d-%b-%Y %H:%M:%S", &local);
    std::snprintf(text, sizeof text, "Recover the grade of %s?", title);
    std::snprintf(detail, sizeof detail,
                  "A session on this clip ended without OK or Cancel. Its grade was last changed on %s.", date);
    BPDebugLog("A grade of an earlier session is offered\n");
    recovery.phase = tkRecoveryAsking;
    session->ui.askRecovery(session->ui.context, text, detail);
}

/// Looks for the journal of the clip. It is offered when it holds another grade than the session began with.
void Look(TKSession* session)
{
    TKRecovery& recovery = session->recovery;
    const BPStateFileOps& ops = session->platform->stateFile;
    char name[64];
    TKJournalName(recovery.clip, name, sizeof name);
    BPStatus err = ops.open(name, false, &recovery.file);
    if (err == bpFileBusyErr && ++recovery.busyTries < kBusyTries) return; // an application that is about to end
    recovery.phase = tkRecoveryWatching;
    if (err != bpNoErr) {
        recovery.file = {};
        if (err == bpFileBusyErr) GiveUp(session, err);
        return; // what else is wrong shows when there is something to write
    }
    auto* content = static_cast<TKJournalContent*>(BPAllocate(sizeof(TKJournalContent)));
    err = content ? ReadJournal(session, content) : bpMemFullErr;
    if (err == bpInvalidSettingsErr) BPDebugLog("The journal %s is damaged and is dropped\n", name);
    if (err == bpNoErr && std::memcmp(&content->settings, &recovery.saved, sizeof recovery.saved) != 0 &&
        session->ui.askRecovery) {
        recovery.sequence = content->sequence;
        recovery.offered = content->settings;
        Ask(session, content->seconds);
    } else if (err != bpNoErr && !HoldsNothing(err)) {
        ops.close(&recovery.file); // unread, it waits for the next session
        GiveUp(session, err);
    } else {
        ops.discard(&recovery.file);
    }
    BPFree(content);
}

bool IsSaved(const TKSession* session)
{
    return std::memcmp(&session->liveSettings, &session->recovery.saved, sizeof(OCSettings)) == 0;
}

} // namespace

void TKRecoveryBegin(TKSession* session)
{
    TKRecovery& recovery = session->recovery;
    session->platform->stateFile.close(&recovery.file); // none is open after a finished session
    recovery.saved = session->liveSettings;
    recovery.sequence = 0;
    recovery.busyTries = 0;
    recovery.retryAtMs = 0;
    TKJournalClipOf(TKBlockOf(session), &recovery.clip);
    recovery.phase = tkRecoveryFresh;
}

void TKRecoveryStep(TKSession* session)
{
    TKRecovery& recovery = session->recovery;
    if (recovery.phase == tkRecoveryFresh) Look(session);
    if (recovery.phase != tkRecoveryWatching || IsSaved(session)) return;
    const uint64_t now = session->platform->clock.monotonicMs();
    if (now < recovery.retryAtMs) return;
    if (session->controls.undoPending && now - recovery.savedAtMs < kGestureMs) return;
    Append(session);
}

void TKRecoveryFlush(TKSession* session)
{
    if (session->recovery.phase == tkRecoveryWatching && !IsSaved(session)) Append(session);
}

void TKRecoveryAnswer(TKSession* session, bool recover)
{
    TKRecovery& recovery = session->recovery;
    if (recovery.phase != tkRecoveryAsking) return;
    recovery.phase = tkRecoveryWatching;
    if (!recover) {
        session->platform->stateFile.discard(&recovery.file);
        recovery.sequence = 0;
        return;
    }
    (void)CommitOpenEdit(session, true);
    TKCommandUndo(session);
    session->liveSettings = recovery.offered;
    recovery.saved = recovery.offered; // it stands in the journal already
    UpdateAllControls(session, &session->liveSettings, kOCResetAll, kOCResetAll, nullptr, false);
    RecomputeAndRefresh(session, true);
    TKStoreUndo(session);
    BPDebugLog("The grade of an earlier session was taken\n");
}

void TKRecoveryFinish(TKSession* session, TKRecoveryEnd end)
{
    TKRecovery& recovery = session->recovery;
    const BPStateFileOps& ops = session->platform->stateFile;
    const bool asking = recovery.phase == tkRecoveryAsking;
    if (asking) TK_UI(session, withdrawRecovery);
    if (end == tkRecoveryKept) TKRecoveryFlush(session);
    if (end == tkRecoveryDone && !asking)
        ops.discard(&recovery.file);
    else
        ops.close(&recovery.file);
    recovery.file = {};
    recovery.phase = tkRecoveryOff;
}
