// The table of targets: what menus and dialogs show, what is found by number and name, how files are written.
#include "tests/LUTs/LUTTest.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

TEST(LUTTargets, MenusAndDialogsShowTheirTexts)
{
    struct Row {
        uint32_t command;
        const char *menu, *title, *name, *filter, *extension;
        uint32_t intervals;
    };
    const Row rows[] = {
        {14105, "Settings to Academy 3D LUT...", "Save LUT File As", "LUT_untitled_AcademyLUT", "Academy LUT (*.lut)",
         "lut", 16},
        {14901, "Lustre...", "Save Lustre 3D LUT File As", "LUT_Untitled_Lustre", "3D LUTs (*.3dl)", "3dl", 16},
        {14902, "Flame...", "Save Flame 3D LUT File As", "LUT_Untitled_Flame", "3D LUTs (*.3dl)", "3dl", 16},
        {14903, "Smoke...", "Save Smoke 3D LUT File As", "LUT_Untitled_Smoke", "3D LUTs (*.3dl)", "3dl", 16},
        {14904, "Generic .3dl...", "Save Autodesk 3D LUT File As", "LUT_Untitled_Autodesk", "3D LUTs (*.3dl)", "3dl",
         16},
        {14107, "Settings to Cinetal 3D LUT...", "Save LUT File As", "LUT_Untitled_Cinetal",
         "Cinetal LUT Files (*.a3d)", "a3d", 16},
        {14109, "Settings to HDLink Pro 3D LUT...", "Save HDLinkPro 3D LUT File As", "LUT_Untitled_HDLinkPro",
         "3D LUTs (*.3dl)", "3dl", 16},
        {14110, "Settings to LUTher 3D LUT...", "Save LUT File As", "LUT_Untitled_LUTher", "LUTher LUT Files (*.txt)",
         "txt", 16},
        {14111, "Settings to Panavision GDP 3D LUT...", "Save LUT File As", "LUT_Untitled_PanaGDP",
         "Panavision GDP LUT Files (*.txt)", "txt", 16},
        {14112, "Settings to Pogle 3D LUT...", "Save LUT File As", "LUT_Untitled_Pogle", "Pogle LUT Files (*.m3d)",
         "m3d", 16},
        {14113, "Settings to Scratch 3D LUT...", "Save LUT File As", "LUT_Untitled_Scratch", "LUT Files (*.lut)", "lut",
         16},
        {14114, "Settings to Truelight 3D LUT...", "Save Truelight Cube File As", "LUT_Untitled_Truelight",
         "Truelight Cube Files (*.cube)", "cube", 15},
    };
    ASSERT_EQ(std::size(rows), kOCLUTMenuTargets);
    for (const Row& row : rows) {
        const OCLUTTarget* target = OCLUTTargetOfCommand(row.command);
        ASSERT_NE(target, nullptr) << row.command;
        EXPECT_STREQ(target->menuText, row.menu);
        EXPECT_STREQ(target->title, row.title);
        EXPECT_STREQ(target->defaultName, row.name);
        EXPECT_STREQ(target->filterText, row.filter);
        EXPECT_STREQ(target->extension, row.extension);
        EXPECT_EQ(target->parameters.cubeIntervals, row.intervals) << row.menu;
        EXPECT_EQ(target->parameters.inBits, 10u);
        EXPECT_EQ(target->parameters.outBits, 12u);
        EXPECT_EQ(OCLUTTargetOfName(target->name), target);
    }
}

TEST(LUTTargets, OtherNumbersAndNamesHaveNone)
{
    for (const uint32_t command : {0u, 14104u, 14106u, 14108u, 14115u, 14900u, 14905u})
        EXPECT_EQ(OCLUTTargetOfCommand(command), nullptr) << command;
    for (const char* name : {"", "Lustre", "lustr", "lustree"}) EXPECT_EQ(OCLUTTargetOfName(name), nullptr) << name;
}

TEST(LUTTargets, AutodeskNumbersOutsideTheirRangeAreTheGenericOne)
{
    EXPECT_EQ(OCAutodeskVariantOf(0), autodeskGeneric);
    EXPECT_EQ(OCAutodeskVariantOf(8), autodeskGeneric);
    EXPECT_EQ(OCAutodeskVariantOf(0xFFFFFFFF), autodeskGeneric);
    const char* const words[] = {"Lustre", "Flame", "Smoke", "Autodesk", "Autodesk Pre-3.0", "HDLinkPro", "Autodesk"};
    for (uint32_t number = 1; number <= 7; ++number) {
        EXPECT_EQ(OCAutodeskVariantOf(number), number);
        EXPECT_STREQ(OCAutodeskWord(static_cast<OCAutodeskVariant>(number)), words[number - 1]);
    }
}

TEST(LUTTargets, AnExportedFileHoldsTheTextUnderItsOwnName)
{
    LogCatch quiet;
    char folder[] = "/tmp/luts-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/night.a3d";
    Bake bake(WarmGrade(), "other");
    const OCLUTTarget& target = *OCLUTTargetOfName("cinetal");
    EXPECT_EQ(OCExportLUT(target, bake.job, path.c_str()), bpNoErr);
    std::ifstream file(path, std::ios::binary);
    std::stringstream seen;
    seen << file.rdbuf();
    Bake same(WarmGrade(), "night.a3d");
    EXPECT_EQ(seen.str(), same.Write(target));
    EXPECT_NE(seen.str().find("#filename:\tnight.a3d\n"), std::string::npos);
    EXPECT_EQ(OCExportLUT(target, bake.job, (path + "/x.a3d").c_str()) == bpNoErr, false);
    std::filesystem::remove_all(folder);
}

TEST(LUTTargets, WritingTwiceGivesTheSameBytes)
{
    for (const OCLUTTarget& target : OCLUTTargets()) {
        Bake bake(WarmGrade());
        EXPECT_EQ(bake.Write(target), bake.Write(target)) << target.name;
    }
}
