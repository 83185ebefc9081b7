// Settings files seen from outside: a builder of chunks and a reader of its own, both written in plain numbers (ids,
// sizes, offsets), so that the tables of the product are on trial.
#pragma once

#include "src/OCSettings.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Builds a file word by word.
struct SettingsFile {
    std::vector<uint8_t> bytes{};

    explicit SettingsFile(uint32_t version = 2, uint32_t magic = 0x11223344);
    SettingsFile& Word(uint32_t word);
    SettingsFile& Words(const std::vector<uint32_t>& words);
    /// Header of a chunk and its words; the size is that of the words.
    SettingsFile& Chunk(uint32_t id, const std::vector<uint32_t>& words);
    SettingsFile& Byte(uint8_t byte);
};

/// What loading the bytes must do to a record of `words`. Returns false for a file that is refused.
bool ModelLoad(const std::vector<uint8_t>& bytes, std::vector<uint32_t>* words);

/// The bytes that saving must write.
std::vector<uint8_t> ModelSave(const std::vector<uint32_t>& words);

/// Bytes of all records of a chunk that has a meaning, 0 for any other id.
uint32_t ModelChunkBytes(uint32_t id);

/// The record as words, and back.
std::vector<uint32_t> WordsOf(const OCSettings& settings);
OCSettings SettingsOf(const std::vector<uint32_t>& words);

/// Any 8,389 words.
std::vector<uint32_t> RandomWords(std::mt19937& random, size_t count = 8389);

/// "" when both are the same, else a sentence on the first word that differs.
std::string WordDifference(const std::vector<uint32_t>& seen, const std::vector<uint32_t>& wanted);
