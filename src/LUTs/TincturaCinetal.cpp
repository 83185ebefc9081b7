// Cinetal: indexed rows of 16 bits.
#include "src/LUTs/TincturaLUT.h"

BPStatus OCWriteCinetalLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutRunningSum,
                                        .logName = "Cinetal",
                                        .source = "TincturaCinetal"},
                                       &cube);
        err != bpNoErr)
        return err;

    OCAppendMegaGammaHead(text, job, "MegaGamma file", cube.count);
    OCAppendLUTRows(cube, {.scale = 65535.0, .offset = 0, .maximum = 65535},
                    {.width = 5, .between = " ", .indexed = true}, text);
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}
