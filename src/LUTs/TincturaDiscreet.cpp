// The Autodesk family: Lustre, Flame, Smoke, generic .3dl and HDLink Pro.
#include "src/LUTs/TincturaLUT.h"
#include "src/OCVersion.h"

namespace {

struct VariantRow {
    const char* word;
    bool shaper;
};

constexpr VariantRow kVariants[] = {
    {},                                            // there is no variant 0
    {.word = "Lustre", .shaper = true},            // autodeskLustre
    {.word = "Flame", .shaper = true},             // autodeskFlame
    {.word = "Smoke", .shaper = true},             // autodeskSmoke
    {.word = "Autodesk", .shaper = true},          // autodeskGeneric
    {.word = "Autodesk Pre-3.0", .shaper = false}, // autodeskPre30
    {.word = "HDLinkPro", .shaper = true},         // autodeskHDLinkPro
    {.word = "Autodesk", .shaper = false},         // autodeskRows
};

void AppendMesh(std::string* text, uint32_t outBits)
{
    // Deliberate: the 4 does not follow the grid; readers of these files take the grid from the shaper line.
    *text += "3DMESH\nMesh 4 " + std::to_string(outBits) + "\n";
}

void AppendHead(std::string* text, OCAutodeskVariant variant, const OCLUTParameters& parameters, uint32_t count)
{
    const std::string creator = std::string("LUT created by Brindlepath Ochrine 3 ") + kOCVersion + "\n";
    switch (variant) {
    case autodeskLustre:
        *text += "#" + creator + "# 3 columns rgb\n# " + std::to_string(count) + " rows\n";
        *text += "# input [0.." + std::to_string((1u << parameters.inBits) - 1) + "]\n";
        *text += "# output [0.." + std::to_string((1u << parameters.outBits) - 1) + "]\n\n";
        break;
    case autodeskGeneric:
        *text += "#Do not edit\n# " + creator + "\n";
        AppendMesh(text, parameters.outBits);
        break;
    case autodeskPre30: AppendMesh(text, parameters.outBits); break;
    case autodeskFlame:
    case autodeskSmoke:
    case autodeskHDLinkPro:
    case autodeskRows: break;
    }
}

} // namespace

OCAutodeskVariant OCAutodeskVariantOf(uint32_t number)
{
    return number >= autodeskLustre && number <= autodeskRows ? static_cast<OCAutodeskVariant>(number)
                                                              : autodeskGeneric;
}

const char* OCAutodeskWord(OCAutodeskVariant variant)
{
    return kVariants[OCAutodeskVariantOf(variant)].word;
}

BPStatus OCWriteAutodeskLUT(const OCLUTJob& job, const OCLUTParameters& parameters, OCAutodeskVariant variant,
                            std::string* text)
{
    text->clear();
    if (parameters.inBits > kOCLUTBitLimit || parameters.outBits > kOCLUTBitLimit) return bpParamErr;
    variant = OCAutodeskVariantOf(variant);
    OCLUTCube cube;
    // Deliberate: the log calls the whole family Lustre.
    if (BPStatus err = OCSampleLUTCube(job,
                                       {.cubeIntervals = parameters.cubeIntervals,
                                        .order = lutBlueFastest,
                                        .axis = lutRunningSum,
                                        .logName = "Lustre",
                                        .source = "TincturaDiscreet"},
                                       &cube);
        err != bpNoErr)
        return err;

    AppendHead(text, variant, parameters, cube.count);
    if (kVariants[variant].shaper) {
        OCAppendShaper(text, parameters.inBits, parameters.cubeIntervals);
        *text += "\n\n";
    }
    const uint32_t white = (1u << parameters.outBits) - 1;
    OCAppendLUTRows(cube, {.scale = static_cast<double>(white), .offset = 0, .maximum = white},
                    {.width = 4, .between = " ", .indexed = false}, text);
    OCDisposeLUTCube(&cube);
    return bpNoErr;
}
