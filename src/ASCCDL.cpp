// Reading and writing of ASC Color Decision Lists.
#include "src/ASCCDL.h"

#include "src/BPNumbers.h"
#include "src/BPXML2Support.h"
#include "src/OCVersion.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <cstdio>

namespace {

ASCCDLProblem LoadDocument(BPXML2Document* document, OCSettings* settings)
{
    BPXML2Node* list = BPXML2_FindElement(BPXML2_DocumentNode(document), "ColorDecisionList");
    if (list == nullptr) return ASCCDLProblem::noColorDecisionList;
    BPXML2Node* correction = BPXML2_FindElement(list, "ColorCorrection");
    if (correction == nullptr) return ASCCDLProblem::noColorCorrection;
    BPXML2Node* sop = BPXML2_FindElement(correction, "SOPNode");
    if (sop == nullptr) return ASCCDLProblem::noSOPNode;

    if (const char* description = BPXML2_GetString(sop, "Description"))
        BPDebugLog("Description = \"%s\"\n", description);

    // Deliberate: one buffer for the three elements, so a text with too few numbers takes the rest from the element
    // before it.
    float values[3] = {};
    OCTriple* channel = settings->rgb.master.channel;
    if (const char* slope = BPXML2_GetString(sop, "Slope")) {
        BPScanFloats(slope, values, 3);
        for (int i = 0; i < 3; ++i) channel[i].gain = values[i];
    }
    if (const char* offset = BPXML2_GetString(sop, "Offset")) {
        BPScanFloats(offset, values, 3);
        for (int i = 0; i < 3; ++i) channel[i].pedestal = values[i];
    }
    if (const char* power = BPXML2_GetString(sop, "Power")) {
        BPScanFloats(power, values, 3);
        for (int i = 0; i < 3; ++i) channel[i].gamma = 1 / values[i];
    }
    settings->rgbOn = 1;
    settings->rgb.master.on = 1;

    if (BPXML2Node* sat = BPXML2_FindElement(correction, "SatNode")) {
        settings->hsl.master.saturation = BPXML2_GetFloat(sat, "Saturation") * 100;
        settings->hsl.master.on = 1;
        settings->primaryOn = 1;
        settings->hslOn = 1;
    }
    return ASCCDLProblem::none;
}

/// Takes the document over.
ASCCDLProblem Load(BPXML2Document* document, OCSettings* settings)
{
    if (document == nullptr) {
        BPDebugLog("ASCCDL_LoadCDLFileFromRef: BPXML2_ReadXMLDocIntoMemoryFSRef returned NULL\n");
        return ASCCDLProblem::noDocument;
    }
    const ASCCDLProblem problem = LoadDocument(document, settings);
    BPXML2_FreeDocument(document);
    return problem;
}

void WriteTriple(BPXML2Writer* writer, const char* name, const double values[3])
{
    std::string text;
    for (int i = 0; i < 3; ++i) {
        if (i > 0) text += ' ';
        BPAppendFixed(&text, values[i], 4);
    }
    BPXML2_TextElement(writer, name, text);
}

uint32_t gSavedLists = 0; // main thread

} // namespace

const char* ASCCDL_ProblemText(ASCCDLProblem problem)
{
    switch (problem) {
    case ASCCDLProblem::none:
    case ASCCDLProblem::noDocument: break;
    case ASCCDLProblem::noColorDecisionList: return "Invalid CDL - Missing ColorDecisionList element";
    case ASCCDLProblem::noColorCorrection: return "Invalid CDL - Missing ColorCorrection element";
    case ASCCDLProblem::noSOPNode: return "Invalid CDL - Missing SOPNode element";
    }
    return nullptr;
}

ASCCDLProblem ASCCDL_LoadCDL(const void* bytes, size_t byteCount, const char* name, OCSettings* settings)
{
    return Load(BPXML2_ReadXMLDocument(bytes, byteCount, name), settings);
}

ASCCDLProblem ASCCDL_LoadCDLFileFromRef(const char* path, OCSettings* settings)
{
    return Load(BPXML2_ReadXMLDocIntoMemory(path), settings);
}

ASCCDLValues ASCCDL_ValuesOf(const OCSettings& settings)
{
    ASCCDLValues values;
    const OCHSLBlock& hsl = settings.hsl.master;
    const OCTriple& group = settings.rgb.master.group;
    for (int i = 0; i < 3; ++i) {
        const OCTriple& channel = settings.rgb.master.channel[i];
        values.slope[i] = double{channel.gain} * double{group.gain} * double{hsl.gain};
        values.offset[i] = double{channel.pedestal} + double{group.pedestal} + double{hsl.pedestal};
        values.power[i] = 1 / (double{channel.gamma} * double{group.gamma} * double{hsl.gamma});
    }
    values.saturation = double{hsl.saturation} / 100;
    return values;
}

std::string ASCCDL_CDLText(const OCSettings& settings, const ASCCDLLabels& labels)
{
    const ASCCDLValues values = ASCCDL_ValuesOf(settings);
    BPXML2Writer writer;
    BPXML2_WriteText(&writer, std::string("<!-- Creator: Brindlepath Ochrine v") + kOCVersion + "   -->\n");
    BPXML2_WriteText(&writer, "<!-- Date:    " + labels.date + "         -->\n");
    BPXML2_OpenTag(&writer, "ColorDecisionList", "xmlns=\"urn:ASC:CDL:v1.01\"");
    BPXML2_OpenTag(&writer, "ColorDecision", "");
    if (labels.clipPath != nullptr && labels.clipPath[0] != 0) {
        std::string path;
        // A path that escapes to more than twice its length is cut; the list is sound all the same.
        (void)BPXML2_Escape(BPXML2_ValidUtf8(labels.clipPath), &path);
        BPXML2_EmptyTag(&writer, "MediaRef", "ref=\"" + path + "\"");
    }
    char reference[64];
    snprintf(reference, sizeof reference, "ref=\"urn:BrindlepathOC:cdl:cc%08u\"", labels.number);
    BPXML2_OpenTag(&writer, "ColorCorrection", reference);
    BPXML2_OpenTag(&writer, "SOPNode", "");
    BPXML2_Utf8Element(&writer, "Description", labels.description);
    WriteTriple(&writer, "Slope", values.slope);
    WriteTriple(&writer, "Offset", values.offset);
    WriteTriple(&writer, "Power", values.power);
    BPXML2_CloseTag(&writer, "SOPNode");
    BPXML2_OpenTag(&writer, "SatNode", "");
    BPXML2_FloatElement(&writer, "Saturation", values.saturation);
    BPXML2_CloseTag(&writer, "SatNode");
    BPXML2_CloseTag(&writer, "ColorCorrection");
    BPXML2_CloseTag(&writer, "ColorDecision");
    BPXML2_CloseTag(&writer, "ColorDecisionList");
    return writer.text;
}

BPStatus ASCCDL_SaveCDLFile(const OCSettings& settings, const char* path, ASCCDLLabels labels)
{
    labels.number = gSavedLists;
    const std::string text = ASCCDL_CDLText(settings, labels);
    const BPStatus err = BPWriteFile(path, text.data(), text.size());
    if (err == bpNoErr) ++gSavedLists;
    return err;
}
