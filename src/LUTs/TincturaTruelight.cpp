// Truelight: floats as they come out of the pipeline, neither scaled nor held in a range, red fastest.
#include "src/BPNumbers.h"
#include "src/LUTs/TincturaLUT.h"

BPStatus OCWriteTruelightLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutRedFastest,
                                        .axis = lutRunningSum,
                                        .logName = "Truelight",
                                        .source = "TincturaTruelight"},
                                       &cube);
        err != bpNoErr)
        return err;

    const std::string points = std::to_string(cube.points);
    *text += "# Truelight Cube v2.0\n# iDims          3\n# oDims          3\n";
    *text += "# width          " + points + " " + points + " " + points + "\n\n# Cube\n";
    text->reserve(text->size() + size_t{cube.count} * 32);
    for (uint32_t i = 0; i < cube.count; ++i) {
        BPAppendFixed(text, double{cube.plane[0][i]}, 6);
        *text += "   ";
        BPAppendFixed(text, double{cube.plane[1][i]}, 6);
        *text += "   ";
        BPAppendFixed(text, double{cube.plane[2][i]}, 6);
        *text += '\n';
    }
    *text += "\n# end\n";
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}
