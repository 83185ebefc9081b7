// The .cube that most programs read today: a size, the domain, rows of floats, red fastest.
#include "src/LUTs/TincturaLUT.h"
#include "src/LUTs/TincturaLUTFloats.h"
#include "src/OCVersion.h"

#include <algorithm>

BPStatus OCWriteCubeLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutRedFastest,
                                        .axis = lutQuotient,
                                        .logName = "Cube",
                                        .source = "TincturaCube"},
                                       &cube);
        err != bpNoErr)
        return err;

    std::string title = OCLUTFileNameText(job.fileName);
    std::replace(title.begin(), title.end(), '"', '\''); // a title ends at its second quote
    *text += std::string("# Created by Brindlepath Ochrine 3 ") + kOCVersion + "\n";
    *text += "TITLE \"" + title + "\"\n\nLUT_3D_SIZE " + std::to_string(cube.points);
    *text += "\nDOMAIN_MIN 0.0 0.0 0.0\nDOMAIN_MAX 1.0 1.0 1.0\n\n";
    OCAppendLUTFloats(cube, text);
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}
