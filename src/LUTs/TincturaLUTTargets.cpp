// One row a target. All parameters are fixed; no dialog asks for them.
#include "src/LUTs/TincturaLUTTargets.h"

#include "src/platform/BPFiles.h"

#include <cstring>

namespace {

template <OCAutodeskVariant variant>
BPStatus WriteAutodesk(const OCLUTJob& job, const OCLUTParameters& parameters, std::string* text)
{
    return OCWriteAutodeskLUT(job, parameters, variant, text);
}

constexpr OCLUTParameters k17 = {.cubeIntervals = 16, .inBits = 10, .outBits = 12};
constexpr OCLUTParameters k16 = {.cubeIntervals = 15, .inBits = 10, .outBits = 12};
constexpr OCLUTParameters k33 = {.cubeIntervals = 32, .inBits = 10, .outBits = 12};
constexpr OCLUTEncoding kTwelveBits = {.scale = 4095, .offset = 0, .maximum = 4095};
constexpr OCLUTEncoding kSixteenBits = {.scale = 65535, .offset = 0, .maximum = 65535};
constexpr OCLUTEncoding kVideoBits = {.scale = 876, .offset = 64, .maximum = 1019};
constexpr OCLUTEncoding kTenBits = {.scale = 1023, .offset = 0, .maximum = 1023};
constexpr OCLUTEncoding kFloats = {.scale = 0, .offset = 0, .maximum = 0};

constexpr char kAutodeskFilter[] = "3D LUTs (*.3dl)";
constexpr char kSaveTitle[] = "Save LUT File As";

constexpr OCLUTTarget kTargets[] = {
    {"academy", 14105, "Settings to Academy 3D LUT...", kSaveTitle, "LUT_untitled_AcademyLUT", "Academy LUT (*.lut)",
     "lut", k17, OCWriteAcademyLUT, lutBlueFastest, kTwelveBits},
    {"lustre", 14901, "Lustre...", "Save Lustre 3D LUT File As", "LUT_Untitled_Lustre", kAutodeskFilter, "3dl", k17,
     WriteAutodesk<autodeskLustre>, lutBlueFastest, kTwelveBits},
    {"flame", 14902, "Flame...", "Save Flame 3D LUT File As", "LUT_Untitled_Flame", kAutodeskFilter, "3dl", k17,
     WriteAutodesk<autodeskFlame>, lutBlueFastest, kTwelveBits},
    {"smoke", 14903, "Smoke...", "Save Smoke 3D LUT File As", "LUT_Untitled_Smoke", kAutodeskFilter, "3dl", k17,
     WriteAutodesk<autodeskSmoke>, lutBlueFastest, kTwelveBits},
    {"generic", 14904, "Generic .3dl...", "Save Autodesk 3D LUT File As", "LUT_Untitled_Autodesk", kAutodeskFilter,
     "3dl", k17, WriteAutodesk<autodeskGeneric>, lutBlueFastest, kTwelveBits},
    {"cinetal", 14107, "Settings to Cinetal 3D LUT...", kSaveTitle, "LUT_Untitled_Cinetal", "Cinetal LUT Files (*.a3d)",
     "a3d", k17, OCWriteCinetalLUT, lutBlueFastest, kSixteenBits},
    {"hdlink", 14109, "Settings to HDLink Pro 3D LUT...", "Save HDLinkPro 3D LUT File As", "LUT_Untitled_HDLinkPro",
     kAutodeskFilter, "3dl", k17, WriteAutodesk<autodeskHDLinkPro>, lutBlueFastest, kTwelveBits},
    {"luther", 14110, "Settings to LUTher 3D LUT...", kSaveTitle, "LUT_Untitled_LUTher", "LUTher LUT Files (*.txt)",
     "txt", k17, OCWriteLUTherLUT, lutBlueFastest, kVideoBits},
    {"panavision", 14111, "Settings to Panavision GDP 3D LUT...", kSaveTitle, "LUT_Untitled_PanaGDP",
     "Panavision GDP LUT Files (*.txt)", "txt", k17, OCWritePanavisionGDPLUT, lutBlueFastest, kVideoBits},
    {"pogle", 14112, "Settings to Pogle 3D LUT...", kSaveTitle, "LUT_Untitled_Pogle", "Pogle LUT Files (*.m3d)", "m3d",
     k17, OCWritePogleLUT, lutBlueFastest, kSixteenBits},
    {"scratch", 14113, "Settings to Scratch 3D LUT...", kSaveTitle, "LUT_Untitled_Scratch", "LUT Files (*.lut)", "lut",
     k17, OCWriteScratchLUT, lutBlueFastest, kTenBits},
    {"truelight", 14114, "Settings to Truelight 3D LUT...", "Save Truelight Cube File As", "LUT_Untitled_Truelight",
     "Truelight Cube Files (*.cube)", "cube", k16, OCWriteTruelightLUT, lutRedFastest, kFloats},
    // For the command line alone.
    {"autodesk-pre-3.0", 0, "", "Save Autodesk Pre-3.0 3D LUT File As", "LUT_Untitled_Autodesk Pre-3.0",
     kAutodeskFilter, "3dl", k17, WriteAutodesk<autodeskPre30>, lutBlueFastest, kTwelveBits},
    {"cube", 0, "", kSaveTitle, "LUT_Untitled", "Cube Files (*.cube)", "cube", k33, OCWriteCubeLUT, lutRedFastest,
     kFloats},
    {"clf", 0, "", kSaveTitle, "LUT_Untitled", "Common LUT Format (*.clf)", "clf", k33, OCWriteCLF, lutBlueFastest,
     kFloats},
};

constexpr bool TargetsAreSound()
{
    for (size_t i = 0; i < std::size(kTargets); ++i) {
        if ((kTargets[i].command != 0) != (i < kOCLUTMenuTargets)) return false;
        for (size_t j = 0; j < i; ++j)
            if (std::string_view(kTargets[i].name) == kTargets[j].name) return false;
    }
    return true;
}
static_assert(TargetsAreSound());

} // namespace

std::span<const OCLUTTarget> OCLUTTargets()
{
    return kTargets;
}

const OCLUTTarget* OCLUTTargetOfCommand(uint32_t command)
{
    for (const OCLUTTarget& target : kTargets)
        if (command != 0 && target.command == command) return &target;
    return nullptr;
}

const OCLUTTarget* OCLUTTargetOfName(std::string_view name)
{
    for (const OCLUTTarget& target : kTargets)
        if (name == target.name) return &target;
    return nullptr;
}

BPStatus OCExportLUT(const OCLUTTarget& target, const OCLUTJob& job, const char* path)
{
    OCLUTJob named = job;
    const char* const slash = std::strrchr(path, '/');
    named.fileName = slash ? slash + 1 : path;
    std::string text;
    if (BPStatus err = target.write(named, target.parameters, &text); err != bpNoErr) return err;
    return BPWriteFile(path, text.data(), text.size());
}
