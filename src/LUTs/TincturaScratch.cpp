// Scratch: a shaper line and rows of 10 bits.
#include "src/LUTs/TincturaLUT.h"

namespace {

void AppendHead(const OCLUTJob&, const OCLUTParameters& parameters, uint32_t, std::string* text)
{
    OCAppendShaper(text, 10, parameters.cubeIntervals);
    *text += "\n";
}

constexpr OCLUTCodeTarget kTarget = {.logName = "Scratch",
                                     .source = "TincturaScratch",
                                     .appendHead = AppendHead,
                                     .encoding = {.scale = 1023.0, .offset = 0, .maximum = 1023},
                                     .layout = {.width = 4, .between = "   ", .indexed = false}};

} // namespace

BPStatus OCWriteScratchLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    return OCWriteCodeLUT(job, parameters, kTarget, text);
}
