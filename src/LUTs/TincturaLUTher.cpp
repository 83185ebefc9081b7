// LUTher: rows of 10-bit video levels, black at 64, white at 940.
#include "src/LUTs/TincturaLUT.h"

BPStatus OCWriteLUTherLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutRunningSum,
                                        .logName = "LUTher",
                                        .source = "TincturaLUTher"},
                                       &cube);
        err != bpNoErr)
        return err;

    OCAppendThomsonHead(text, job, "Thomson LUTher", cube.count);
    OCAppendLUTRows(cube, {.scale = 876.0, .offset = 64.0, .maximum = 1019},
                    {.width = 4, .between = " ", .indexed = false}, text);
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}
