// Cinetal: indexed rows of 16 bits.
#include "src/LUTs/TincturaLUT.h"

namespace {

void AppendHead(const OCLUTJob& job, const OCLUTParameters&, uint32_t count, std::string* text)
{
    OCAppendMegaGammaHead(text, job, "MegaGamma file", count);
}

constexpr OCLUTCodeTarget kTarget = {.logName = "Cinetal",
                                     .source = "TincturaCinetal",
                                     .appendHead = AppendHead,
                                     .encoding = {.scale = 65535.0, .offset = 0, .maximum = 65535},
                                     .layout = {.width = 5, .between = " ", .indexed = true}};

} // namespace

BPStatus OCWriteCinetalLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    return OCWriteCodeLUT(job, parameters, kTarget, text);
}
