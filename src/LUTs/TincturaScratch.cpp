// Scratch: a shaper line and rows of 10 bits.
#include "src/LUTs/TincturaLUT.h"

BPStatus OCWriteScratchLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutRunningSum,
                                        .logName = "Scratch",
                                        .source = "TincturaScratch"},
                                       &cube);
        err != bpNoErr)
        return err;

    OCAppendShaper(text, 10, parameters.cubeIntervals);
    *text += "\n";
    OCAppendLUTRows(cube, {.scale = 1023.0, .offset = 0, .maximum = 1023},
                    {.width = 4, .between = "   ", .indexed = false}, text);
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}
