// The chunks of settings files: which words of the record each stands for, and how older shapes become today's.
#pragma once

#include "src/OCSettings.h"

#include <cstdint>
#include <span>

/// A chunk of today: its records lie side by side in OCSettings.
struct OCChunkRow {
    uint32_t id;
    uint32_t records;
    uint32_t recordBytes;
    uint32_t offset;        ///< of the first record in OCSettings
    bool wholeOnly = false; ///< a chunk that is cut changes nothing
};

/// In the order in which they are written.
std::span<const OCChunkRow> OCCurrentChunks();

enum class OCLegacyMove : uint8_t {
    word,  ///< as it is
    fixed, ///< signed, in 65536ths, becomes a float
    flag,  ///< 1 when non-zero, else 0
    set,   ///< the constant `word`, whatever the file holds
};

/// One word of today's record and where it comes from. Words that no row names keep what they hold.
struct OCLegacyWord {
    uint8_t to;        ///< word of today's record
    uint8_t from;      ///< word of the older record
    OCLegacyMove move; ///
    uint32_t constant; ///< for OCLegacyMove::set
};

/// A chunk that only older files have.
struct OCLegacyChunkRow {
    uint32_t id;
    uint32_t records;
    uint32_t recordBytes; ///< in the file
    uint32_t offset;      ///< of today's first record in OCSettings
    uint32_t stride;      ///< from one of today's records to the next
    std::span<const OCLegacyWord> words;
    bool marksSecondaryInUse; ///< a record whose first word is non-zero sets bit 0 of `secondaryInUse`
};

std::span<const OCLegacyChunkRow> OCLegacyChunks();
