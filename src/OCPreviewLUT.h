// Preview tables: what a picture of 8 bits goes through on its way to a screen. They lie beside the correction and
// never enter it.
//
// A table is 768 bytes: 256 each of red, green and blue; index is the input, value the output. FBApplyLUT applies it.
// The readers take any bytes: after an error the table is as it was, and memory is bounded by the size of the file.
#pragma once

#include "src/MPTasks.h"

#include <span>
#include <string>
#include <vector>

inline constexpr size_t kOCPreviewTableBytes = 768;
using OCPreviewTable = uint8_t[kOCPreviewTableBytes];

// Tables of our own ----------------------------------------------------------------------------------------------------

/// Positions in the list of tables; a menu command is its base plus one of them.
enum OCPreviewIndex : uint32_t {
    previewNone = 50,
    preview601 = 51,
    preview709 = 52,
    preview240M = 53,
    previewInvert = 54,
    previewNoneAdjusted = 55, ///< stands in for previewNone; has no entry of its own
    previewOther = 56,        ///< from a file
};

/// An entry of the preview menus.
struct OCPreviewEntry {
    const char* text;
    uint32_t index;
};

/// "None" to "Other...", in the order of the menus.
std::span<const OCPreviewEntry> OCPreviewEntries();

/// Where the entry of a choice stands in that list, from 0; -1 for an index without an entry.
int OCPreviewEntryPosition(uint32_t index);

/// The list position whose table serves a choice: 55 for 50, unless traditional gamma is wanted; otherwise itself.
uint32_t OCPreviewTableIndex(uint32_t index, bool traditionalGamma);

/// Fills the table of a list position from 50 to 55; false, with the table untouched, for others. With v = i / 255 the
/// entry is floor(255 f(v) + 0.5), the same for all three colours:
///
///     50, 55   f(v) = v. The systems that we run on show 8-bit values as they are, so that there is nothing to adjust.
///     51, 52   the camera curve that ITU-R BT.601 and BT.709 both print: 4.5 v below 0.018, else 1.099 v^0.45 - 0.099
///     53       that of SMPTE 240M: 4 v below 0.0228, else 1.1115 v^0.45 - 0.1115
///     54       f(v) = 1 - v
///
/// Linear pictures are thus seen as on a video system, negatives as positives.
bool OCPreviewBuiltIn(uint32_t index, OCPreviewTable table);

/// True when the table changes nothing.
bool OCPreviewIsIdentity(const OCPreviewTable table);

// Files ----------------------------------------------------------------------------------------------------------------

/// A kind of file that a dialog offers.
struct OCLUTFileKind {
    const char* extension; ///< with the point
    const char* type;      ///< text of the type
};

/// What a reader says besides its status. `alert` is the text of a box titled "Ochrine 3 UI", or null for none.
struct OCLUTRead {
    BPStatus status;
    const char* alert;
};

/// The kinds of the "Load LUT" dialog and their reader.
struct OCPreviewKind : OCLUTFileKind {
    OCLUTRead (*read)(std::span<const uint8_t> bytes, OCPreviewTable table);
};
std::span<const OCPreviewKind> OCPreviewKinds();

/// The Discreet text file: a line "lut: channels entries", then one whole number a line, channel after channel. The
/// average of entries / 256 numbers makes one entry, in one run over all three channels; numbers are held between 0 and
/// 65,535, blank lines and comments among them are skipped.
OCLUTRead OCReadDiscreetLUT(std::span<const uint8_t> bytes, OCPreviewTable table);

/// The Quantel iQ text file: lines "table NAME 2", "gmax N" and "gsize N" in any order, a line "r g", then gsize rows.
OCLUTRead OCReadQuantelLUT(std::span<const uint8_t> bytes, OCPreviewTable table);

/// The arbitrary map: tables of 256 bytes; see OCMapTables.
OCLUTRead OCReadArbitraryMap(std::span<const uint8_t> bytes, OCPreviewTable table);

/// The readers for files. A file that cannot be read is bpFileNotFoundErr, logged.   Thread: any, own table.
OCLUTRead ReadDiscreetLUT(const char* path, OCPreviewTable table);
OCLUTRead ReadQuantelLUT(const char* path, OCPreviewTable table);
OCLUTRead ReadArbitraryMap(const char* path, OCPreviewTable table);

inline constexpr char kOCLUTTooShort[] =
    "LUT file is too short. End of file encountered before all required data was found.";
inline constexpr char kOCLUTTooFewChannels[] =
    "LUT file contains too few channels. At least three color channels must be defined.";
inline constexpr char kOCLUTUnsupported[] = "LUT file is of unsupported type.";
inline constexpr char kOCLUTError[] = "Error encountered while reading LUT file.";

/// The largest file that is read.
inline constexpr size_t kOCLUTFileLimit = size_t{16} << 20;

// What preview tables and curves share ---------------------------------------------------------------------------------

/// The numbers of a text table: three channels of `entries` numbers, one after the other.
struct OCLUTNumbers {
    std::vector<uint16_t> values{};
    uint32_t entries = 0;
    uint32_t depth = 0; ///< numbers lie below it
};

/// Read the numbers of a file, and nothing of it where the result is an error. They log what they found, except the
/// depth and merge of Discreet files.
OCLUTRead OCReadDiscreetNumbers(std::span<const uint8_t> bytes, OCLUTNumbers* numbers);
OCLUTRead OCReadQuantelNumbers(std::span<const uint8_t> bytes, OCLUTNumbers* numbers);

/// The tables of an arbitrary map. `count` is the number that they count as: 0 below 256 bytes, 1 below 512, 4 below
/// 768, and 2 from there on. What the file does not fill is 0.
struct OCMapTables {
    uint32_t count = 0;
    uint8_t table[4][256] = {};
};
OCMapTables OCReadMapTables(std::span<const uint8_t> bytes);

/// The status and alert of a text table that is no such table, logged.
OCLUTRead OCLUTReadError();

// Saving ---------------------------------------------------------------------------------------------------------------

inline constexpr uint32_t kOCPreviewSaveSize = 4096; ///< entries of the menu command's file
inline constexpr uint32_t kOCPreviewSaveLimit = 1u << 20;

struct OCPreviewStamp {
    double wallSeconds;
    uint32_t systemMajor, systemMinor;
};

/// The text of a preview LUT that holds the grade: a ramp of `size` grays through the pipeline. bpParamErr below 2 and
/// above kOCPreviewSaveLimit entries, bpMemFullErr after an assertion.   Thread: main, with no band in flight.
BPStatus OCWritePreviewLUT(OCEngine* engine, const OCSettings* settings, uint32_t size, const OCPreviewStamp& stamp,
                           uint32_t taskCount, MPTask* tasks, std::string* text);

/// The same into a file, whole or not at all. bpOpenErr when it cannot be written; a null path is an assertion.
BPStatus SavePreviewLUT(OCEngine* engine, const OCSettings* settings, const char* path, uint32_t size,
                        const OCPreviewStamp& stamp, uint32_t taskCount, MPTask* tasks);
