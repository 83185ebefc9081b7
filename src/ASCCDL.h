// ASC Color Decision Lists: slope, offset, power and saturation of a grade, exchanged with other systems as XML.
//
// Loading writes the three values of each channel into the channels of the RGB master block, and the saturation into
// the HSL master block; nothing else changes. Saving folds the gains, pedestals and gammas of both master blocks into
// one slope, offset and power a channel. A load followed by a save gives the same numbers only when what loading leaves
// alone is neutral.
#pragma once

#include "src/OCSettings.h"
#include "src/platform/BPStatus.h"

#include <cstddef>
#include <string>

/// What ends a load early. The record is then untouched.
enum class ASCCDLProblem {
    none,
    noDocument, ///< no well-formed XML; the log tells more, the user is told nothing
    noColorDecisionList,
    noColorCorrection,
    noSOPNode,
};

/// What to show the user, such as "Invalid CDL - Missing SOPNode element"; null when there is nothing to show.
const char* ASCCDL_ProblemText(ASCCDLProblem problem);

/// Lays the first correction of a list over a record: what the correction does not name keeps its value. Numbers are
/// not checked; a power of 0 gives an infinite gamma. `name` stands in the parser's messages.
/// Thread: any, own record.
ASCCDLProblem ASCCDL_LoadCDL(const void* bytes, size_t byteCount, const char* name, OCSettings* settings);

/// The same for a file.
ASCCDLProblem ASCCDL_LoadCDLFileFromRef(const char* path, OCSettings* settings);

/// The ten numbers of a correction, as a record of the grade gives them.
struct ASCCDLValues {
    double slope[3], offset[3], power[3]; ///< R, G, B
    double saturation;                    ///< 1 is neutral
};
ASCCDLValues ASCCDL_ValuesOf(const OCSettings& settings);

/// What a saved list says beside its numbers.
struct ASCCDLLabels {
    std::string date{};                ///< as OCFileDate writes it
    const char* clipPath = nullptr;    ///< the source clip; null or empty when it is not known
    const char* description = nullptr; ///< the name of the file; null gives an empty element
    uint32_t number = 0;               ///< of the correction
};

/// The text of a list. A description with a tilde holds "&tilde;", which strict readers refuse: see
/// BPXML2_Utf8Element.   Thread: any.
std::string ASCCDL_CDLText(const OCSettings& settings, const ASCCDLLabels& labels);

/// Saves a list, whole or not at all. labels.number is replaced by the number of lists that this process has saved
/// before. Nothing is logged.   Thread: main.
BPStatus ASCCDL_SaveCDLFile(const OCSettings& settings, const char* path, ASCCDLLabels labels);
