// Numbered sequences: which files a name stands for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A file name cut at its number: prefix, digits, suffix.
struct SequenceName {
    std::string folder; ///< "" for the current one, otherwise ending in a slash
    std::string prefix, suffix;
    uint32_t digits = 0; ///< least count of digits; 1 for %d
    uint64_t number = 0; ///< of the file that was cut
};

/// Reads a pattern with one %d or %0Nd (N from 1 to 18) in its file name; %% stands for a percent sign.
bool SequenceFromPattern(const std::string& path, SequenceName* name);

/// Cuts the name of an existing file at its last run of digits (at most 18) before the suffix.
bool SequenceFromFile(const std::string& path, SequenceName* name);

/// The path of one number.
std::string SequencePath(const SequenceName& name, uint64_t number);

/// The numbers of all existing files of a row, rising, with its gaps. Empty when there is none, or more than 4,000,000.
std::vector<uint64_t> SequenceNumbers(const SequenceName& name);

/// The unbroken row of existing files around name.number, or with `fromFirst` from the lowest number on.
///
/// first   receives the number of the first file
/// Empty when there is none.
std::vector<std::string> SequenceFiles(const SequenceName& name, bool fromFirst, uint64_t* first);
