// 3D tables for other systems: what the writers of all targets share.
//
// A regular cube of RGB points goes through the real pipeline as a picture of one row, so that a table holds exactly
// what the pipeline does, curves, secondaries and limiter included. A writer then turns the points into the text of its
// target. Writers fill a string; files are written by OCExportLUT, whole or not at all.
#pragma once

#include "src/MPTasks.h"

#include <string>
#include <string_view>

/// What is baked and for whom. The pointers belong to the caller.
struct OCLUTJob {
    OCEngine* engine;           ///< its parameters become those of `settings`
    const OCSettings* settings; ///< the grade
    uint32_t taskCount;         ///< of the pool; 1 without
    MPTask* tasks;
    const char* fileName; ///< last component of the path; stands in the texts of some targets
    double wallSeconds;   ///< since 1970, for the date in the texts
};

struct OCLUTParameters {
    uint32_t cubeIntervals; ///< the grid has one point more along each axis; 1 to kOCLUTIntervalLimit
    uint32_t inBits;        ///< depth of the input side where a text tells it; at most 16
    uint32_t outBits;       ///< depth of the output side; at most 16
};

inline constexpr uint32_t kOCLUTIntervalLimit = 128;
inline constexpr uint32_t kOCLUTBitLimit = 16;

/// Which axis changes fastest from one point to the next.
enum OCLUTOrder : uint32_t { lutBlueFastest, lutRedFastest };

/// How the points of an axis are found. Existing tables hold running sums, which may miss 1 by a rounding; tables for
/// systems that compute their own grid hold the quotients.
enum OCLUTAxis : uint32_t { lutRunningSum, lutQuotient };

/// The graded points of a cube.
struct OCLUTCube {
    uint32_t points = 0;        ///< along an axis
    uint32_t count = 0;         ///< points cubed
    const float* plane[3] = {}; ///< `count` values each of red, green, blue, in the order that was asked for
    FBFrame* frame = nullptr;   ///< what they lie in
};

struct OCLUTGrid {
    uint32_t cubeIntervals;
    OCLUTOrder order;
    OCLUTAxis axis;
    const char* logName; ///< of the target, for the log: "Academy"
    const char* source;  ///< of the writer, for assertions: "TincturaAcademyLUT"
};

/// Bakes a grade: logs the target's line, updates the engine's parameters and sends the grid through ProcessImage.
/// bpParamErr for a grid that is too small or too large, bpMemFullErr (after an assertion) without memory; the cube is
/// then empty. Release with OCDisposeLUTCube.   Thread: main, with no band in flight.
BPStatus OCSampleLUTCube(const OCLUTJob& job, const OCLUTGrid& grid, OCLUTCube* cube);
void OCDisposeLUTCube(OCLUTCube* cube);

/// A whole number for a table: floor(value * scale + offset + 0.5) in double, held between 0 and `maximum`; 0 for what
/// is no number.
uint32_t OCLUTCode(float value, double scale, double offset, uint32_t maximum);

/// How the values of a target's rows are written: codes, or with scale 0 the floats themselves.
struct OCLUTEncoding {
    double scale, offset;
    uint32_t maximum;
};

/// How one row of codes is laid out: width of each number, text between two, whether an index stands in front.
struct OCLUTRowLayout {
    uint32_t width;
    std::string_view between;
    bool indexed; ///< "%4ld " in front, counting from 0
};
void OCAppendLUTRows(const OCLUTCube& cube, const OCLUTEncoding& encoding, const OCLUTRowLayout& layout,
                     std::string* text);

/// "%*ld": blanks in front up to the width.
void OCAppendPadded(std::string* text, uint32_t value, uint32_t width);

/// The input values of a grid of an `inBits` system: 0, then steps of 2 to the inBits divided by the intervals, each
/// with a blank behind it; the end of the range, one beyond the scale, is written as the highest code.
void OCAppendShaper(std::string* text, uint32_t inBits, uint32_t cubeIntervals);

/// A file name as it may stand in one line of a text: valid UTF-8 without control characters.
std::string OCLUTFileNameText(const char* fileName);

// The writers, one file each. Each clears `text` first and leaves it empty after an error, which is that of the sampler.

BPStatus OCWriteAcademyLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
BPStatus OCWriteCinetalLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
BPStatus OCWriteLUTherLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
BPStatus OCWritePanavisionGDPLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
BPStatus OCWritePogleLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
BPStatus OCWriteScratchLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
BPStatus OCWriteTruelightLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);

/// The Autodesk family. The rows are the same in all variants; the head differs.
enum OCAutodeskVariant : uint32_t {
    autodeskLustre = 1,
    autodeskFlame = 2,
    autodeskSmoke = 3,
    autodeskGeneric = 4,
    autodeskPre30 = 5, ///< a head without shaper line
    autodeskHDLinkPro = 6,
    autodeskRows = 7, ///< neither head nor shaper line
};

/// Any number is a variant: 0 and those above 7 are the generic one.
OCAutodeskVariant OCAutodeskVariantOf(uint32_t number);

/// The word of a variant in titles and file names: "Lustre", "Autodesk".
const char* OCAutodeskWord(OCAutodeskVariant variant);

BPStatus OCWriteAutodeskLUT(const OCLUTJob& job, const OCLUTParameters& parameters, OCAutodeskVariant variant,
                            std::string* text);

/// What sets apart the targets whose whole text is a head and rows of codes.
struct OCLUTCodeTarget {
    const char* logName; ///< for the log: "Cinetal"
    const char* source;  ///< for assertions: "TincturaCinetal"
    void (*appendHead)(const OCLUTJob& job, const OCLUTParameters& parameters, uint32_t count, std::string* text);
    OCLUTEncoding encoding;
    OCLUTRowLayout layout;
};
BPStatus OCWriteCodeLUT(const OCLUTJob& job, const OCLUTParameters& parameters, const OCLUTCodeTarget& target,
                        std::string* text);

/// Heads that two writers each share.
void OCAppendMegaGammaHead(std::string* text, const OCLUTJob& job, const char* type, uint32_t count);
void OCAppendThomsonHead(std::string* text, const OCLUTJob& job, const char* target, uint32_t count);

// For today's systems: floats, the grid of quotients, values that are no numbers written as 0 or the ends of the range
// of half floats.

/// A `.cube` of the kind that most programs read, red fastest.
BPStatus OCWriteCubeLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);

/// The Common LUT Format, version 3, blue fastest, 32-bit floats on both sides.
BPStatus OCWriteCLF(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text);
