// Floats in the fewest digits: short files, and what is read back is what the pipeline gave.
#include "src/LUTs/TincturaLUTFloats.h"

#include <algorithm>
#include <charconv>

float OCLUTFloat(float value)
{
    if (!(value == value)) return 0;
    return std::clamp(value, -kOCLUTFloatLimit, kOCLUTFloatLimit);
}

void OCAppendLUTFloats(const OCLUTCube& cube, std::string* text)
{
    text->reserve(text->size() + size_t{cube.count} * 36);
    char row[128];
    for (uint32_t i = 0; i < cube.count; ++i) {
        char* out = row;
        for (uint32_t plane = 0; plane < 3; ++plane) {
            out = std::to_chars(out, row + sizeof row - 1, OCLUTFloat(cube.plane[plane][i])).ptr;
            *out++ = plane < 2 ? ' ' : '\n';
        }
        text->append(static_cast<const char*>(row), static_cast<const char*>(out));
    }
}

std::string OCLUTAttribute(const char* fileName)
{
    std::string escaped;
    for (const char character : OCLUTFileNameText(fileName)) {
        switch (character) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        default: escaped += character;
        }
    }
    return escaped;
}
