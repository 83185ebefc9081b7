// Rows of floats and names inside attributes, for the formats of today's systems.
#pragma once

#include "src/LUTs/TincturaLUT.h"

/// The largest magnitude that is written, that of half floats: what reads the table may hold no more.
inline constexpr float kOCLUTFloatLimit = 65504.0f;

/// What a table holds in place of a value: the same, 0 for what is no number, the limit beyond it.
float OCLUTFloat(float value);

/// One row a point: three floats in the fewest digits that read back as the same bits.
void OCAppendLUTFloats(const OCLUTCube& cube, std::string* text);

/// A file name as the value of an attribute: OCLUTFileNameText with entities.
std::string OCLUTAttribute(const char* fileName);
