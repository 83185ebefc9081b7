// A grade from a file of any kind that holds one: for programs that take what they are given.
//
// The kind is told by the content, never by the name of the file: a settings file by its header, the raw record (of the
// clipboard and of hosts) by its length and signature, and everything else is read as a colour decision list.
#pragma once

#include "src/OCSettings.h"
#include "src/platform/BPStatus.h"

#include <cstddef>
#include <string>

enum class OCGradeKind {
    settingsFile, ///< .ocpreset
    decisionList, ///< ASC CDL: .cdl, .ccc, .xml
    record,       ///< 33,556 bytes as they lie in memory
};

/// Lays a grade over a record; a raw record replaces it whole. Values are not judged; the engine bears all of them.
///
/// name    stands in error and in the messages of the XML parser, such as the path
/// kind    receives what the bytes are; also after a failure, as far as that was clear
/// error   receives one sentence after a failure
///
/// Returns bpInvalidSettingsErr, with the record untouched, when there is no grade in the bytes.
/// Thread: any, own record.
BPStatus OCLoadGradeBytes(const void* bytes, size_t byteCount, const char* name, OCSettings* settings,
                          OCGradeKind* kind, std::string* error);

/// The same for a file; the status of the platform when it cannot be read.
BPStatus OCLoadGradeFile(const char* path, OCSettings* settings, OCGradeKind* kind, std::string* error);
