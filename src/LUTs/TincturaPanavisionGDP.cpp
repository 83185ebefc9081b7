// Panavision GDP: rows of 10-bit video levels, black at 64, white at 940.
#include "src/LUTs/TincturaLUT.h"

namespace {

void AppendHead(const OCLUTJob& job, const OCLUTParameters&, uint32_t count, std::string* text)
{
    OCAppendThomsonHead(text, job, "Panavision GDP", count);
}

constexpr OCLUTCodeTarget kTarget = {.logName = "PanaGDP",
                                     .source = "TincturaPanavisionGDP",
                                     .appendHead = AppendHead,
                                     .encoding = {.scale = 876.0, .offset = 64.0, .maximum = 1019},
                                     .layout = {.width = 4, .between = " ", .indexed = false}};

} // namespace

BPStatus OCWritePanavisionGDPLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    return OCWriteCodeLUT(job, parameters, kTarget, text);
}
