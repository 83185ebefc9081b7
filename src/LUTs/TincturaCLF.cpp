// The Common LUT Format, version 3: one 3D table of floats, blue fastest.
#include "src/BPXML2Support.h"
#include "src/LUTs/TincturaLUT.h"
#include "src/LUTs/TincturaLUTFloats.h"
#include "src/OCVersion.h"

BPStatus OCWriteCLF(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutQuotient,
                                        .logName = "CLF",
                                        .source = "TincturaCLF"},
                                       &cube);
        err != bpNoErr)
        return err;

    const std::string name = OCLUTAttribute(job.fileName);
    BPXML2Writer writer;
    BPXML2_WriteText(&writer, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    BPXML2_OpenTag(&writer, "ProcessList", "id=\"" + name + "\" name=\"" + name + "\" compCLFversion=\"3\"");
    BPXML2_TextElement(&writer, "Description", std::string("LUT Creator: Brindlepath Ochrine v") + kOCVersion);
    BPXML2_OpenTag(&writer, "LUT3D", "interpolation=\"trilinear\" inBitDepth=\"32f\" outBitDepth=\"32f\"");
    const std::string points = std::to_string(cube.points);
    BPXML2_OpenTag(&writer, "Array", "dim=\"" + points + " " + points + " " + points + " 3\"");
    OCAppendLUTFloats(cube, &writer.text);
    BPXML2_CloseTag(&writer, "Array");
    BPXML2_CloseTag(&writer, "LUT3D");
    BPXML2_CloseTag(&writer, "ProcessList");
    OCDisposeLUTCube(&cube);
    *text = std::move(writer.text);
    return bpNoErr;
}
