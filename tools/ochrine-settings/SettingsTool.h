// ochrine-settings: what its commands share.
#pragma once

#include "src/OCGradeFile.h"

#include <cstdint>
#include <string>
#include <vector>

/// How the program ends.
enum class ToolExit {
    done = 0,      ///< also: the grades are the same, the file is sound
    different = 1, ///< compare found differences, validate found errors
    usage = 2,     ///< wrong command line
    input = 3,     ///< a file cannot be read or holds no grade
    output = 4,    ///< a file cannot be written
};

struct ToolOptions {
    std::vector<std::string> files{};
    bool clean = false;  ///< no "&tilde;" in lists, and lists with it are read all the same
    bool strict = false; ///< warnings count as errors
    bool words = false;  ///< compare the words of state too
};

// One file for each command.
ToolExit PrintGrade(const ToolOptions& options);
ToolExit CompareGrades(const ToolOptions& options);
ToolExit ValidateGrade(const ToolOptions& options);
ToolExit UpgradeGrade(const ToolOptions& options);
ToolExit ConvertGrade(const ToolOptions& options);

/// A grade and where it came from.
struct ToolGrade {
    OCSettings settings{};
    OCGradeKind kind{};
    std::vector<uint8_t> bytes{}; ///< of the file; with --clean, of the file without "&tilde;"
};

/// Reads a grade of any kind over a reset record. After a failure everything has been said on standard error.
bool ReadGrade(const std::string& path, const ToolOptions& options, ToolGrade* grade);

/// Writes a file whole or not at all, or says why not.
ToolExit WriteBytes(const std::string& path, const void* bytes, size_t byteCount);

/// "settings file", "colour decision list" or "record".
const char* KindName(OCGradeKind kind);

/// Puts each "~" back where a text has "&tilde;". Returns how many there were.
int CleanTildes(std::string* text);

/// Sends a line to standard error: "ochrine-settings: warning: ...".
void Say(const char* severity, const std::string& text);

enum class FieldKind {
    number,  ///< float
    integer, ///< signed word
    flag,    ///< on when non-zero
};

/// A named word of the record.
struct Field {
    std::string group{}; ///< object that it stands in when printed; empty for the parameters by catalogue key
    std::string name{};
    uint32_t offset = 0;
    FieldKind kind = FieldKind::number;
};

/// Every named word: the parameters in the order of the catalogue, then what the catalogue leaves out. Curves are not
/// among them.
std::vector<Field> Fields();

/// The names of the seven curves, and the curve of that index: master, red, green, blue, hue, saturation, lightness.
inline constexpr int kCurveCount = 7;
extern const char* const kCurveNames[kCurveCount];
const HCurve& CurveOf(const OCSettings& settings, int index);

uint32_t WordAt(const OCSettings& settings, uint32_t offset);

/// A float so that it is read back bit for bit, "inf", "-inf" or "nan".
std::string FloatText(float value);

/// The value of a field as JSON; numbers that JSON does not have stand in quotes.
std::string ValueText(const OCSettings& settings, const Field& field);

/// A text in quotes, as JSON has them.
std::string Quoted(const std::string& text);
