#include "src/platform/BPPlatform.h"

#include "src/platform/fake/BPFake.h"
#include "tests/platform/PlatformTest.h"

#include <cstring>

namespace {

class BPPlatformTable : public PlatformTest {};

/// The tables hold nothing but functions.
bool IsFull(const BPPlatform& platform)
{
    uintptr_t functions[sizeof platform / sizeof(uintptr_t)];
    static_assert(sizeof functions == sizeof platform);
    memcpy(functions, &platform, sizeof platform);
    for (const uintptr_t function : functions) {
        if (function == 0) return false;
    }
    return true;
}

} // namespace

TEST_F(BPPlatformTable, EveryOperationIsThere)
{
    BPPlatform platform = {};
    EXPECT_FALSE(IsFull(platform));
    BPFillLinuxPlatform(&platform);
    EXPECT_TRUE(IsFull(platform));
    platform = {};
    BPFillFakePlatform(&platform);
    EXPECT_TRUE(IsFull(platform));
}

TEST_F(BPPlatformTable, WithoutAWindowSystemTheLogSpeaks)
{
    EXPECT_EQ(platform_.keyboard.modifierWord(), 0u);
    EXPECT_FALSE(platform_.keyboard.mouseButtonDown());
    EXPECT_EQ(platform_.screen.count(), 0u);
    BPRect area = {.left = 1, .top = 1, .right = 1, .bottom = 1};
    EXPECT_EQ(platform_.screen.bounds(0, &area), bpNotFoundErr);
    EXPECT_EQ(area.right, 0);
    EXPECT_EQ(platform_.screen.workArea(&area), bpNotFoundErr);
    uint32_t byteCount = 9;
    EXPECT_EQ(platform_.clipboard.get("a", nullptr, 0, &byteCount), bpNotFoundErr);
    EXPECT_EQ(byteCount, 0u);
    EXPECT_FALSE(platform_.clipboard.has("a"));
    EXPECT_EQ(platform_.clipboard.put("a", "b", 1), bpNotFoundErr);
    std::string answer = "old";
    const BPFileQuestion question = {.title = "Load",
                                     .button = "Load",
                                     .filter = "",
                                     .types = nullptr,
                                     .typeCount = 0,
                                     .defaultName = nullptr,
                                     .defaultExtension = nullptr};
    EXPECT_FALSE(platform_.fileDialog.open(question, &answer));
    EXPECT_EQ(answer, "");
    EXPECT_FALSE(platform_.fileDialog.save(question, &answer));
    int32_t h = 3, v = -1;
    EXPECT_FALSE(platform_.fileDialog.askName("Name", "x", &h, &v, &answer));
    EXPECT_EQ(h, 3);
    EXPECT_EQ(v, -1);
    EXPECT_EQ(platform_.shell.openFile("/etc/passwd"), bpNotFoundErr);
    EXPECT_EQ(platform_.shell.openAddress("https://ochrine.example"), bpNotFoundErr);
    platform_.alert.beep();
    platform_.alert.alert(bpStop, "No data passed to UI.");
    platform_.alert.messageBox("Ochrine 3 UI", "text");
    EXPECT_EQ(log_,
              "There is no clipboard\nThere is no window for \"Load\"\nThere is no window for \"Load\"\n"
              "There is no window for \"Name\"\nThere is no desktop to open it\nThere is no desktop to open it\nBeep\n"
              "Alert (2): No data passed to UI.\nOchrine 3 UI: text\n");
}
