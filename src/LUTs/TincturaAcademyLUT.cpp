// Academy: XML with the rows of one 3D table inside.
#include "src/BPXML2Support.h"
#include "src/LUTs/TincturaLUT.h"
#include "src/LUTs/TincturaLUTFloats.h"
#include "src/OCVersion.h"

namespace {

/// An element whose sentence, line end included, stands indented on a line of its own.
void Sentence(BPXML2Writer* writer, const char* name, const std::string& sentence)
{
    BPXML2_OpenTag(writer, name, "");
    BPXML2_WriteIndent(writer, 0);
    BPXML2_WriteEscaped(writer, sentence);
    BPXML2_CloseTag(writer, name);
}

std::string Range(uint32_t bits)
{
    return "Rec709 primaries and gamma. Black at 0, white at " + std::to_string((1u << bits) - 1) + ".\n";
}

} // namespace

BPStatus OCWriteAcademyLUT(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    text->clear();
    if (parameters.inBits > kOCLUTBitLimit || parameters.outBits > kOCLUTBitLimit) return bpParamErr;
    OCLUTCube cube;
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutRunningSum,
                                        .logName = "Academy",
                                        .source = "TincturaAcademyLUT"},
                                       &cube);
        err != bpNoErr)
        return err;

    BPXML2Writer writer;
    BPXML2_WriteText(&writer, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    BPXML2_OpenTag(&writer, "ProcessList",
                   "xmlns=\"urn:NATAS:ASC:LUT:v0.95\" id=\"" + OCLUTAttribute(job.fileName) + "\" name=\"\"");
    Sentence(&writer, "Description", std::string("LUT Creator:\tBrindlepath Ochrine v") + kOCVersion + "\n");
    Sentence(&writer, "InputDescriptor", Range(parameters.inBits));
    Sentence(&writer, "OutputDescriptor", Range(parameters.outBits));
    BPXML2_OpenTag(&writer, "LUT3D",
                   "id=\"\" name=\"\" interpolation=\"trilinear\" inBitDepth=\"" + std::to_string(parameters.inBits) +
                       "i\" outBitDepth=\"" + std::to_string(parameters.outBits) + "i\"");
    BPXML2_OpenTag(&writer, "Description", "");
    BPXML2_CloseTag(&writer, "Description");
    const std::string points = std::to_string(cube.points);
    BPXML2_OpenTag(&writer, "Array", "dim=\"" + points + " " + points + " " + points + " 3\"");
    const uint32_t white = (1u << parameters.outBits) - 1;
    OCAppendLUTRows(cube, {.scale = static_cast<double>(white), .offset = 0, .maximum = white},
                    {.width = 4, .between = " ", .indexed = false}, &writer.text);
    BPXML2_CloseTag(&writer, "Array");
    BPXML2_CloseTag(&writer, "LUT3D");
    BPXML2_CloseTag(&writer, "ProcessList");
    OCDisposeLUTCube(&cube);
    *text = std::move(writer.text);
    return bpNoErr;
}
