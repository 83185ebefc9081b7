// The grade on disk: the record as it lies in memory, 33,556 bytes, little-endian.
#pragma once

#include "src/OCSettings.h"
#include "src/platform/BPStatus.h"

#include <cstddef>
#include <string>

/// Takes a grade out of the bytes of a file: exactly sizeof(OCSettings) of them, with the signature in front.
/// bpInvalidSettingsErr for anything else, with *grade untouched. Values are not judged; the engine bears all of them.
BPStatus GradeFromBytes(const void* bytes, size_t byteCount, OCSettings* grade);

/// Reads a grade file. error receives one sentence after a failure.
BPStatus ReadGradeFile(const std::string& path, OCSettings* grade, std::string* error);

/// Writes a grade file whole or not at all.
BPStatus WriteGradeFile(const std::string& path, const OCSettings& grade);
