// The journal of a clip's grade, as bytes: what must not be lost when a session ends without OK or Cancel.
//
// A journal is a header that names the clip, then kTKJournalSlots places for records, each a whole grade with its own
// checksum. Record n of a session lies in place n modulo kTKJournalSlots, so the file is bounded, and a record that was
// torn by the end of the process costs no older one. What counts is the sound record with the highest number.
//
// Numbers are in the machine's order: a journal never leaves its machine. It is read as foreign bytes all the same.
#pragma once

#include "src/platform/BPStatus.h"
#include "src/support/TKUIComm.h"

#include <cstddef>

inline constexpr uint32_t kTKJournalSlots = 32;
inline constexpr char kTKJournalSuffix[] = ".ocjournal";

/// What tells one clip from another. A host whose list has one path names its clip by it, and by its range of frames,
/// whatever size the frames come in. A list of several, a project's, does not say which one is meant: then the whole list
/// and all that is known of the frames have to agree, as they have without a list.
struct TKJournalClip {
    char path[260]; ///< the only one of the host's list, ended by zeros; empty when there is none, or are several
    uint32_t frames, startFrame;
    uint32_t width, height, frameRate100, hostApp; ///< 0 with a path
    uint32_t listCheck;                            ///< of the paths in their order; 0 with a path, or without any
};
static_assert(sizeof(TKJournalClip) == 288);

struct TKJournalHeader {
    uint8_t magic[8]; ///< "OCJRNL02"
    uint32_t recordBytes, slotCount;
    TKJournalClip clip;
    uint32_t reserved;
    uint32_t checksum; ///< of all before it
};
static_assert(sizeof(TKJournalHeader) == 312 && offsetof(TKJournalHeader, clip) == 16);

struct TKJournalRecord {
    uint32_t magic;    ///< kTKJournalRecordMagic
    uint32_t sequence; ///< 1 is the first record of a file
    uint64_t seconds;  ///< since 1970, when it was written
    OCSettings settings;
    uint32_t checksum; ///< of all before it
};
static_assert(sizeof(TKJournalRecord) == 33576 && offsetof(TKJournalRecord, settings) == 16);

inline constexpr uint32_t kTKJournalRecordMagic = 0x3147524F; ///< "ORG1" in memory
inline constexpr uint32_t kTKJournalBytes = sizeof(TKJournalHeader) + kTKJournalSlots * sizeof(TKJournalRecord);

/// What a journal holds for whoever opens it.
struct TKJournalContent {
    uint32_t sequence; ///< of the newest sound record; 0 when there is none
    uint64_t seconds;
    OCSettings settings;
};

/// CRC-32 of some bytes, as in the zip format.   Thread: any, here and below.
uint32_t TKJournalChecksum(const void* bytes, size_t byteCount);

/// Reads from a block which clip it holds. Each field is read once; none is trusted.
void TKJournalClipOf(const TKUIComm* block, TKJournalClip* clip);

/// The journal's file name: 16 hexadecimal digits and the suffix. `length` is at least 32.
void TKJournalName(const TKJournalClip& clip, char* name, size_t length);

/// The clip's name for a person: the last part of the path, control characters replaced; "this clip" without one.
void TKJournalTitle(const TKJournalClip& clip, char* title, size_t length);

void TKJournalMakeHeader(const TKJournalClip& clip, TKJournalHeader* header);
void TKJournalMakeRecord(const OCSettings& settings, uint32_t sequence, uint64_t seconds, TKJournalRecord* record);

/// Where a record stands in the file.
uint64_t TKJournalPosition(uint32_t sequence);

/// Reads a journal out of the bytes of a file. bpInvalidSettingsErr when they are none, or of another clip or kind;
/// bpNotFoundErr when there is no sound record in them. *content is cleared then. Values of the grade are not judged;
/// the engine bears all of them.
BPStatus TKJournalRead(const void* bytes, size_t byteCount, const TKJournalClip& clip, TKJournalContent* content);
