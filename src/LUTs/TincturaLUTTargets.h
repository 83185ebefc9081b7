// The table of targets: every system a grade can be baked for, with its menu entry, its dialog and its fixed values.
#pragma once

#include "src/LUTs/TincturaLUT.h"

#include <span>

struct OCLUTTarget {
    const char* name;        ///< on the command line: lower case, no blanks
    uint32_t command;        ///< menu command; 0 has no menu entry
    const char* menuText;    ///< of the entry; empty without one
    const char* title;       ///< of the save dialog
    const char* defaultName; ///< suggested there, without extension
    const char* filterText;
    const char* extension; ///< without the point
    OCLUTParameters parameters;
    BPStatus (*write)(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
    // How the target's rows lie, for whoever evaluates a table.
    OCLUTOrder order;
    OCLUTEncoding encoding; ///< scale 0: floats
};

/// The twelve targets in the order of the menu, then those that only the command line offers.
std::span<const OCLUTTarget> OCLUTTargets();
inline constexpr size_t kOCLUTMenuTargets = 12;

/// The target of a menu command or of a name, or null.
const OCLUTTarget* OCLUTTargetOfCommand(uint32_t command);
const OCLUTTarget* OCLUTTargetOfName(std::string_view name);

/// Bakes for a target and writes the file whole or not at all. `job.fileName` is replaced by the last component of the
/// path. Returns the error of the sampler or of BPWriteFile.   Thread: main.
BPStatus OCExportLUT(const OCLUTTarget& target, const OCLUTJob& job, const char* path);
