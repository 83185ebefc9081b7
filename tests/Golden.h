// Golden images: a folder each with a grade, a source and what the engine made of it, exact to the bit.
//
//     tests/golden/0003-hue-offset/settings   the raw record
//                                  source     three planes of floats: R, G, B
//                                  expected   four planes: R, G, B, luma
//
// Only tools/update-golden writes them. Whoever changes an expected picture says why in the commit.
#pragma once

#include "src/OCSettings.h"

#include <span>
#include <string>
#include <vector>

inline constexpr uint32_t kGoldenWidth = 48;
inline constexpr uint32_t kGoldenHeight = 27;
inline constexpr size_t kGoldenPlane = size_t{kGoldenWidth} * kGoldenHeight;

struct GoldenCase {
    const char* name; ///< of the folder
    void (*edit)(OCSettings& grade);
};

/// The cases in the order of their numbers.
std::span<const GoldenCase> GoldenCases();

struct Golden {
    OCSettings grade;
    std::vector<float> source;   ///< three planes
    std::vector<float> expected; ///< four planes
};

/// The grade and the source of a case as they are made, with the picture that the readable kernel makes of them.
Golden MakeGolden(const GoldenCase& which);

/// False when a file is missing or of another size.
bool ReadGolden(const std::string& folder, Golden* golden);
bool WriteGolden(const std::string& folder, const Golden& golden);
