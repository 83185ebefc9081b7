// Settings files (.ocpreset): the grade as a stream of big-endian chunks, in which every grade ever saved can be read.
//
// A file is a header (version, magic) and chunks (id, size, words). Writing uses today's chunks only. Reading takes each
// older shape too and converts it. Loading lays the file over the record that is passed in: what no chunk carries keeps
// its value, so the result of an old file is the old values on top of whatever the caller has prepared.
#pragma once

#include "src/OCSettings.h"
#include "src/platform/BPStatus.h"

#include <cstddef>
#include <cstdint>
#include <vector>

inline constexpr uint32_t kOCSettingsFileMagic = 0x11223344;
inline constexpr uint32_t kOCSettingsFileVersion = 2; ///< written; 1, 2, 3 and 5 are read

/// The largest settings file that is read; one of today's has 33,720 bytes.
inline constexpr size_t kOCSettingsFileLimit = size_t{64} << 20;

/// Lays a settings file over a record.
///
/// A chunk of today that is cut by the end of the bytes lands its whole words; an older chunk, or the extended records
/// of the secondaries, land whole or not at all. Unknown chunks are skipped by their size; the size of a known chunk is
/// not consulted. Values are not judged: the engine bears all of them.
///
/// Returns bpInvalidSettingsErr, with the record untouched, when the header is missing or of another kind; the end of
/// the bytes is no error.   Thread: any, own record.
BPStatus LoadSettingsBytes(const void* bytes, size_t byteCount, OCSettings* settings);

/// The settings file of a record, in today's chunks.
std::vector<uint8_t> SaveSettingsBytes(const OCSettings& settings);

/// Loads a file. A file that cannot be opened is logged, and its status returned; otherwise as LoadSettingsBytes.
BPStatus LoadSettingsFile(const char* path, OCSettings* settings);

/// Saves a file, whole or not at all. A file that cannot be written is logged, and its status returned.
BPStatus SaveSettingsFile(const char* path, const OCSettings& settings);

enum class OCChunkKind {
    current, ///< written today
    legacy,  ///< of older files, converted
    unknown, ///< skipped
};

/// A chunk as it lies in a file.
struct OCSettingsChunk {
    size_t position;     ///< of its header in the file
    uint32_t id, size;   ///< as the header tells
    size_t recordBytes;  ///< all records, by the table of chunks; the size for an unknown one
    size_t presentBytes; ///< of them, before the end of the file
    OCChunkKind kind;
};

/// Walks the chunks of a file for whoever wants to show or judge it. *position starts at 0. Returns false at the end;
/// a file with another header has no chunks.   Thread: any.
bool OCNextSettingsChunk(const void* bytes, size_t byteCount, size_t* position, OCSettingsChunk* chunk);
