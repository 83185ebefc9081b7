// Preview tables: our own, those of files, and the text that is saved.
#include "src/OCPreviewLUT.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

namespace {

std::span<const uint8_t> Bytes(std::string_view text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

/// A table of bytes that no reader writes by itself.
struct Table {
    OCPreviewTable bytes;
    Table() { std::fill_n(bytes, sizeof bytes, uint8_t{0xA5}); }
    bool Untouched() const
    {
        return std::all_of(bytes, bytes + sizeof bytes, [](uint8_t b) { return b == 0xA5; });
    }
};

/// A Discreet text: value(channel, entry) for each.
std::string Discreet(uint32_t channels, uint32_t entries, const std::function<int(uint32_t, uint32_t)>& value,
                     const char* lineEnd = "\n", const char* head = "# a comment\nLUT: ")
{
    std::string text = head + std::to_string(channels) + " " + std::to_string(entries) + lineEnd;
    for (uint32_t c = 0; c < channels; ++c)
        for (uint32_t i = 0; i < entries; ++i) text += std::to_string(value(c, i)) + lineEnd;
    return text;
}

std::string Quantel(int type, int gmax, int gsize, int rows, const std::function<int(int, int)>& value)
{
    std::string text = "Quantel\nTable Sample " + std::to_string(type) + "\nwhatever 1\nGSize " +
                       std::to_string(gsize) + "\nGMax " + std::to_string(gmax) + "\n\nr g b\n";
    for (int i = 0; i < rows; ++i)
        text +=
            std::to_string(value(0, i)) + " " + std::to_string(value(1, i)) + "\t" + std::to_string(value(2, i)) + "\n";
    return text;
}

#define EXPECT_READ(read, wantedStatus, wantedAlert)                                                                   \
    do {                                                                                                               \
        const OCLUTRead result = (read);                                                                               \
        EXPECT_EQ(result.status, wantedStatus);                                                                        \
        EXPECT_STREQ(result.alert, wantedAlert);                                                                       \
    } while (false)

} // namespace

TEST(PreviewTables, NoneIsTheIdentityWithAndWithoutTraditionalGamma)
{
    for (const uint32_t index : {50u, 55u}) {
        Table table;
        ASSERT_TRUE(OCPreviewBuiltIn(index, table.bytes));
        EXPECT_TRUE(OCPreviewIsIdentity(table.bytes)) << index;
    }
}

TEST(PreviewTables, CameraCurvesAreThoseOfTheirStandards)
{
    Table bt601, bt709, smpte;
    ASSERT_TRUE(OCPreviewBuiltIn(51, bt601.bytes));
    ASSERT_TRUE(OCPreviewBuiltIn(52, bt709.bytes));
    ASSERT_TRUE(OCPreviewBuiltIn(53, smpte.bytes));
    EXPECT_TRUE(std::equal(bt601.bytes, bt601.bytes + 768, bt709.bytes));
    for (const uint32_t channel : {0u, 256u, 512u}) {
        EXPECT_EQ(bt709.bytes[channel + 0], 0);
        EXPECT_EQ(bt709.bytes[channel + 2], 9);     // 4.5 * 2
        EXPECT_EQ(bt709.bytes[channel + 4], 18);    // 4.5 * 4, below 0.018 * 255 = 4.59
        EXPECT_EQ(bt709.bytes[channel + 128], 180); // 255 * (1.099 * 0.501961^0.45 - 0.099) = 180.25
        EXPECT_EQ(bt709.bytes[channel + 255], 255);
        EXPECT_EQ(smpte.bytes[channel + 5], 20);    // 4 * 5, below 0.0228 * 255 = 5.81
        EXPECT_EQ(smpte.bytes[channel + 128], 179); // 255 * (1.1115 * 0.501961^0.45 - 0.1115) = 179.46
        EXPECT_EQ(smpte.bytes[channel + 255], 255);
    }
}

TEST(PreviewTables, InvertTurnsTheScaleRound)
{
    Table table;
    ASSERT_TRUE(OCPreviewBuiltIn(54, table.bytes));
    for (uint32_t i = 0; i < 768; ++i) EXPECT_EQ(table.bytes[i], 255 - (i & 255)) << i;
}

TEST(PreviewTables, OtherPositionsHaveNone)
{
    for (const uint32_t index : {0u, 1u, 49u, 56u, 57u, 0xFFFFFFFFu}) {
        Table table;
        EXPECT_FALSE(OCPreviewBuiltIn(index, table.bytes)) << index;
        EXPECT_TRUE(table.Untouched());
    }
}

TEST(PreviewTables, TheMenuSkips55AndIsCheckedByPosition)
{
    const std::pair<const char*, uint32_t> rows[] = {
        {"None", 50},   {"ITU.R 601 Gamma", 51}, {"ITU.R 709 Gamma", 52}, {"SMPTE 240M Gamma", 53},
        {"Invert", 54}, {"Other...", 56}};
    ASSERT_EQ(OCPreviewEntries().size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_STREQ(OCPreviewEntries()[i].text, rows[i].first);
        EXPECT_EQ(OCPreviewEntries()[i].index, rows[i].second);
        EXPECT_EQ(OCPreviewEntryPosition(rows[i].second), static_cast<int>(i));
    }
    EXPECT_EQ(OCPreviewEntryPosition(55), -1);
    EXPECT_EQ(OCPreviewEntryPosition(0), -1);
}

TEST(PreviewTables, FiftyIsServedBy55UnlessTraditionalGammaIsWanted)
{
    EXPECT_EQ(OCPreviewTableIndex(50, false), 55u);
    EXPECT_EQ(OCPreviewTableIndex(50, true), 50u);
    for (const uint32_t index : {51u, 54u, 55u, 56u, 3u}) {
        EXPECT_EQ(OCPreviewTableIndex(index, false), index);
        EXPECT_EQ(OCPreviewTableIndex(index, true), index);
    }
}

TEST(PreviewFiles, TheDialogOffersFourKindsInOrder)
{
    const std::pair<const char*, const char*> rows[] = {{".lut", "Ochrine Preview LUT Files"},
                                                        {".amp", "Arbitrary Map Files"},
                                                        {".txt", "Quantel iQ 1D LUT Files"},
                                                        {".lut", "Autodesk 1D LUT Files"}};
    ASSERT_EQ(OCPreviewKinds().size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_STREQ(OCPreviewKinds()[i].extension, rows[i].first);
        EXPECT_STREQ(OCPreviewKinds()[i].type, rows[i].second);
    }
    EXPECT_EQ(OCPreviewKinds()[0].read, OCReadDiscreetLUT);
    EXPECT_EQ(OCPreviewKinds()[1].read, OCReadArbitraryMap);
    EXPECT_EQ(OCPreviewKinds()[2].read, OCReadQuantelLUT);
    EXPECT_EQ(OCPreviewKinds()[3].read, OCReadDiscreetLUT);
}

// Discreet -------------------------------------------------------------------------------------------------------------

TEST(DiscreetLUT, OfTenBitsAveragesFourEntriesAndDividesByFour)
{
    LogCatch log;
    Table table;
    const std::string text = Discreet(3, 1024, [](uint32_t c, uint32_t i) {
        return static_cast<int>(c == 0 ? i : c == 1 ? 1023 - i : i / 2);
    });
    EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(log.Text(), "bitDepth = 1024, sampleMerge = 4\n");
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(table.bytes[i], (16 * i + 6) / 4 / 4) << i; // 4i + 4i+1 + 4i+2 + 4i+3
        EXPECT_EQ(table.bytes[256 + i], (4 * 1023 - 16 * i - 6) / 4 / 4) << i;
        EXPECT_EQ(table.bytes[512 + i], (8 * i + 2) / 4 / 4) << i;
    }
}

TEST(DiscreetLUT, Of256EntriesIsTakenAsItIs)
{
    LogCatch log;
    Table table;
    const std::string text =
        Discreet(3, 256, [](uint32_t c, uint32_t i) { return static_cast<int>((i * 7 + c) & 255); });
    EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(log.Text(), "bitDepth = 256, sampleMerge = 1\n");
    for (uint32_t i = 0; i < 768; ++i) EXPECT_EQ(table.bytes[i], ((i & 255) * 7 + i / 256) & 255) << i;
}

TEST(DiscreetLUT, TheLargestValueTellsTheDepth)
{
    const std::pair<int, int> rows[] = {{255, 256},   {256, 1024},   {1023, 1024},  {1024, 4096},
                                        {4095, 4096}, {4096, 65536}, {65535, 65536}};
    for (const auto& [largest, depth] : rows) {
        LogCatch log;
        Table table;
        const std::string text =
            Discreet(3, 256, [largest = largest](uint32_t c, uint32_t i) { return c == 2 && i == 255 ? largest : 0; });
        EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
        EXPECT_EQ(log.Text(), "bitDepth = " + std::to_string(depth) + ", sampleMerge = 1\n");
        EXPECT_EQ(table.bytes[767], largest / (depth / 256));
    }
}

TEST(DiscreetLUT, AveragingIsOneFlatRunOverTheChannels)
{
    LogCatch log;
    Table table;
    // 300 entries: the merge is 1, so that green begins with the 256th number, which is still red.
    const std::string text = Discreet(3, 300, [](uint32_t c, uint32_t i) { return static_cast<int>(c * 50 + i % 50); });
    EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    for (uint32_t i = 0; i < 768; ++i) EXPECT_EQ(table.bytes[i], i / 300 * 50 + i % 300 % 50) << i;
}

TEST(DiscreetLUT, EveryLineEndAndAnyLettersWillDo)
{
    LogCatch quiet;
    const auto value = [](uint32_t, uint32_t i) { return static_cast<int>(i); };
    for (const char* const end : {"\n", "\r", "\r\n", "\n\r"}) {
        Table table;
        EXPECT_READ(OCReadDiscreetLUT(Bytes(Discreet(3, 256, value, end)), table.bytes), bpNoErr, nullptr);
        EXPECT_TRUE(OCPreviewIsIdentity(table.bytes));
    }
    for (const char* const head : {"lut: ", "Lut: ", "# LUT: 1 2\nnothing\n\n  LUT:   "}) {
        Table table;
        EXPECT_READ(OCReadDiscreetLUT(Bytes(Discreet(3, 256, value, "\n", head)), table.bytes), bpNoErr, nullptr);
        EXPECT_TRUE(OCPreviewIsIdentity(table.bytes)) << head;
    }
}

TEST(DiscreetLUT, AFourthChannelIsNotRead)
{
    LogCatch log;
    Table table;
    std::string text = Discreet(4, 256, [](uint32_t c, uint32_t i) { return c == 3 ? 60000 : static_cast<int>(i); });
    text += "not a number\n";
    EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(log.Text(), "bitDepth = 256, sampleMerge = 1\n");
    EXPECT_TRUE(OCPreviewIsIdentity(table.bytes));
}

TEST(DiscreetLUT, ALastLineWithoutAnEndCounts)
{
    LogCatch quiet;
    Table table;
    std::string text = Discreet(3, 256, [](uint32_t, uint32_t i) { return static_cast<int>(i); });
    text.pop_back();
    EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(table.bytes[767], 255);
}

TEST(DiscreetLUT, AShortFileIsTooShortAndLeavesTheTable)
{
    LogCatch quiet;
    std::string text = Discreet(3, 256, [](uint32_t, uint32_t i) { return static_cast<int>(i); });
    for (const size_t cut : {size_t{4}, text.size() / 2, text.size() - 20}) {
        Table table;
        EXPECT_READ(OCReadDiscreetLUT(Bytes(text.substr(0, text.size() - cut)), table.bytes), bpEndOfFileErr,
                    kOCLUTTooShort);
        EXPECT_TRUE(table.Untouched());
    }
    for (const char* const none : {"", "# nothing\n", "lut 3 256\n0\n"}) {
        Table table;
        EXPECT_READ(OCReadDiscreetLUT(Bytes(none), table.bytes), bpEndOfFileErr, kOCLUTTooShort);
        EXPECT_TRUE(table.Untouched());
    }
}

TEST(DiscreetLUT, FewerThanThreeChannelsAreTooFew)
{
    LogCatch quiet;
    for (const uint32_t channels : {0u, 1u, 2u}) {
        Table table;
        const std::string text = Discreet(channels, 1024, [](uint32_t, uint32_t i) { return static_cast<int>(i); });
        EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpParamErr, kOCLUTTooFewChannels);
        EXPECT_TRUE(table.Untouched());
    }
    Table table;
    EXPECT_READ(OCReadDiscreetLUT(Bytes("LUT: -3 256\n0\n"), table.bytes), bpParamErr, kOCLUTTooFewChannels);
}

TEST(DiscreetLUT, FewerThan256EntriesAreAFailedRead)
{
    LogCatch log;
    Table table;
    const std::string text = Discreet(3, 255, [](uint32_t, uint32_t i) { return static_cast<int>(i); });
    EXPECT_READ(OCReadDiscreetLUT(Bytes(text), table.bytes), bpBadMagicErr, kOCLUTError);
    EXPECT_TRUE(table.Untouched());
    EXPECT_EQ(log.Text(), "bitDepth = 256, sampleMerge = 0\nunable to process LUT file, err=-2114\n");
    for (const char* const text2 : {"lut: 3 0\n", "lut: 3 -5\n", "lut: 3\n", "lut: 3 x\n"})
        EXPECT_READ(OCReadDiscreetLUT(Bytes(text2), table.bytes), bpBadMagicErr, kOCLUTError);
}

TEST(DiscreetLUT, HostileNumbersStayInsideTheTable)
{
    LogCatch quiet;
    Table table;
    EXPECT_READ(OCReadDiscreetLUT(Bytes("lut: 3 2147483647\n1\n2\n"), table.bytes), bpEndOfFileErr, kOCLUTTooShort);
    EXPECT_READ(OCReadDiscreetLUT(Bytes("lut: 99999999999999 256\n1\n"), table.bytes), bpEndOfFileErr, kOCLUTTooShort);
    EXPECT_TRUE(table.Untouched());
    const std::string wild = Discreet(3, 256, [](uint32_t c, uint32_t) {
        return c == 0 ? -5 : c == 1 ? 2000000000 : 7;
    });
    EXPECT_READ(OCReadDiscreetLUT(Bytes(wild), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(table.bytes[0], 0);
    EXPECT_EQ(table.bytes[256], 255);
    Table other;
    EXPECT_READ(OCReadDiscreetLUT(Bytes("lut: 3 1\n1\nx\n3\n" + std::string(40, '\n')), other.bytes), bpBadMagicErr,
                kOCLUTError);
    EXPECT_TRUE(other.Untouched());
}

// Quantel --------------------------------------------------------------------------------------------------------------

TEST(QuantelLUT, OfTenBitsMergesFourAndDividesByFour)
{
    LogCatch log;
    Table table;
    const std::string text = Quantel(2, 1023, 1024, 1024, [](int c, int i) {
        return c == 0 ? i : c == 1 ? 1023 - i : 512;
    });
    EXPECT_READ(OCReadQuantelLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(log.Text(), "tableType = 2, gMax = 1023, entryCount = 1024\n");
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(table.bytes[i], (16 * i + 6) / 4 / 4) << i;
        EXPECT_EQ(table.bytes[256 + i], (4 * 1023 - 16 * i - 6) / 4 / 4) << i;
        EXPECT_EQ(table.bytes[512 + i], 128) << i;
    }
}

TEST(QuantelLUT, WhatIsAboveWhiteIsWhite)
{
    // Divided by 3: 768 would be 256.
    const std::string text = Quantel(2, 1000, 256, 256, [](int, int i) {
        return i == 7 ? 768 : i == 8 ? 1000 : 70000;
    });
    Table table;
    EXPECT_READ(OCReadQuantelLUT(Bytes(text), table.bytes), bpNoErr, nullptr);
    EXPECT_EQ(table.bytes[7], 255);
    EXPECT_EQ(table.bytes[8], 255);
    EXPECT_EQ(table.bytes[9], 255);
}

TEST(QuantelLUT, KeywordsComeInAnyOrderWithAnyLinesAmongThem)
{
    LogCatch quiet;
    std::string rows = "R G B\n";
    for (int i = 0; i < 256; ++i) rows += std::to_string(i) + " " + std::to_string(i) + " " + std::to_string(i) + "\n";
    for (const char* const head :
         {"table a 2\ngmax 255\ngsize 256\n", "gsize 256\nx\nTABLE b 2 more\n# gmax 1\nGMAX 255 9\n",
          "gmax 255\r\ngsize 256\r\nr g b\r\ntable c 2\r\n"}) {
        Table table;
        EXPECT_READ(OCReadQuantelLUT(Bytes(head + rows), table.bytes), bpNoErr, nullptr);
        EXPECT_TRUE(OCPreviewIsIdentity(table.bytes)) << head;
    }
}

TEST(QuantelLUT, AWrongTypeShowsOnlyItsOwnAlert)
{
    LogCatch log;
    for (const int type : {0, 1, 3, -2}) {
        Table table;
        const std::string text = Quantel(type, 255, 256, 256, [](int, int i) { return i; });
        EXPECT_READ(OCReadQuantelLUT(Bytes(text), table.bytes), bpParamErr, "LUT file is of unsupported type.");
        EXPECT_TRUE(table.Untouched());
    }
    EXPECT_EQ(log.Text(), "");
}

TEST(QuantelLUT, WithoutAllThreeKeywordsOrTheRowsItIsTooShort)
{
    LogCatch quiet;
    const std::string whole = Quantel(2, 255, 256, 256, [](int, int i) { return i; });
    for (const std::string& text :
         {std::string(), std::string("table a 2\ngmax 255\nr g b\n0 0 0\n"), whole.substr(0, whole.find("r g")),
          whole.substr(0, whole.size() / 2), Quantel(2, 255, 256, 255, [](int, int i) { return i; })}) {
        Table table;
        EXPECT_READ(OCReadQuantelLUT(Bytes(text), table.bytes), bpEndOfFileErr, kOCLUTTooShort);
        EXPECT_TRUE(table.Untouched());
    }
}

TEST(QuantelLUT, AMergeOrDivisorOfZeroIsAFailedRead)
{
    LogCatch quiet;
    const auto value = [](int, int i) { return i; };
    for (const std::string& text :
         {Quantel(2, 255, 255, 255, value), Quantel(2, 254, 256, 256, value), Quantel(2, 0, 256, 256, value),
          Quantel(2, -1, 256, 256, value), Quantel(2, 255, 0, 256, value), Quantel(2, 255, -256, 256, value)}) {
        Table table;
        EXPECT_READ(OCReadQuantelLUT(Bytes(text), table.bytes), bpBadMagicErr, kOCLUTError);
        EXPECT_TRUE(table.Untouched());
    }
}

TEST(QuantelLUT, HostileNumbersStayInsideTheTable)
{
    LogCatch quiet;
    Table table;
    EXPECT_READ(OCReadQuantelLUT(Bytes("table a 2\ngmax 2147483647\ngsize 2147483647\nr g b\n1 1 1\n"), table.bytes),
                bpEndOfFileErr, kOCLUTTooShort);
    EXPECT_READ(OCReadQuantelLUT(Bytes(Quantel(2, 255, 256, 256, [](int c, int) { return c == 0 ? 999999 : -9; })),
                                 table.bytes),
                bpNoErr, nullptr);
    EXPECT_EQ(table.bytes[0], 255);
    EXPECT_EQ(table.bytes[256], 0);
    Table other;
    std::string broken = Quantel(2, 255, 256, 100, [](int, int i) { return i; }) + "1 2\n" + std::string(2000, ' ');
    EXPECT_READ(OCReadQuantelLUT(Bytes(broken), other.bytes), bpBadMagicErr, kOCLUTError);
    EXPECT_TRUE(other.Untouched());
}

// Arbitrary maps -------------------------------------------------------------------------------------------------------

namespace {

/// Tables that differ: entry i of table t is 3 i + 40 t.
std::vector<uint8_t> Map(size_t byteCount)
{
    std::vector<uint8_t> bytes(byteCount);
    for (size_t i = 0; i < byteCount; ++i) bytes[i] = static_cast<uint8_t>((i & 255) * 3 + i / 256 * 40);
    return bytes;
}

uint8_t Entry(uint32_t table, uint32_t i)
{
    return static_cast<uint8_t>(i * 3 + table * 40);
}

} // namespace

TEST(ArbitraryMap, CountsOneThenFourThenTwo)
{
    const std::pair<size_t, uint32_t> rows[] = {{0, 0},   {255, 0}, {256, 1},  {511, 1},  {512, 4},
                                                {767, 4}, {768, 2}, {1023, 2}, {1024, 2}, {5000, 2}};
    for (const auto& [size, count] : rows) EXPECT_EQ(OCReadMapTables(Map(size)).count, count) << size;
}

TEST(ArbitraryMap, BelowATableNothingChanges)
{
    LogCatch quiet;
    for (const size_t size : {size_t{0}, size_t{255}}) {
        Table table;
        EXPECT_READ(OCReadArbitraryMap(Map(size), table.bytes), bpEndOfFileErr, nullptr);
        EXPECT_TRUE(table.Untouched());
    }
}

TEST(ArbitraryMap, OneTableServesAllColours)
{
    for (const size_t size : {size_t{256}, size_t{511}}) {
        Table table;
        EXPECT_READ(OCReadArbitraryMap(Map(size), table.bytes), bpNoErr, nullptr);
        for (uint32_t i = 0; i < 768; ++i) EXPECT_EQ(table.bytes[i], Entry(0, i & 255)) << i;
    }
}

TEST(ArbitraryMap, TwoTablesCountAsFourWhoseMissingOnesAreZero)
{
    Table table;
    EXPECT_READ(OCReadArbitraryMap(Map(512), table.bytes), bpNoErr, nullptr);
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(table.bytes[i], Entry(1, Entry(0, i))) << i;
        EXPECT_EQ(table.bytes[256 + i], 0) << i;
        EXPECT_EQ(table.bytes[512 + i], 0) << i;
    }
}

TEST(ArbitraryMap, ThreeAndMoreTablesCountAsTwo)
{
    for (const size_t size : {size_t{768}, size_t{1024}, size_t{1500}}) {
        Table table;
        EXPECT_READ(OCReadArbitraryMap(Map(size), table.bytes), bpNoErr, nullptr);
        for (uint32_t i = 0; i < 256; ++i) {
            EXPECT_EQ(table.bytes[i], Entry(1, Entry(0, i))) << i;
            EXPECT_EQ(table.bytes[256 + i], Entry(0, i)) << i;
            EXPECT_EQ(table.bytes[512 + i], Entry(0, i)) << i;
        }
    }
}

TEST(PreviewFiles, AFileThatCannotBeReadIsLogged)
{
    Table table;
    {
        LogCatch log;
        EXPECT_READ(ReadDiscreetLUT("/nowhere/x.lut", table.bytes), bpFileNotFoundErr, kOCLUTError);
        EXPECT_READ(ReadQuantelLUT("/nowhere/x.txt", table.bytes), bpFileNotFoundErr, kOCLUTError);
        EXPECT_EQ(log.Text(), "unable to process LUT file, err=-43\nunable to process LUT file, err=-43\n");
    }
    {
        LogCatch log;
        EXPECT_READ(ReadArbitraryMap("/nowhere/x.amp", table.bytes), bpFileNotFoundErr, nullptr);
        EXPECT_EQ(log.Text(), "unable to open file, err=-43\n");
    }
    EXPECT_TRUE(table.Untouched());
}

// Saving ---------------------------------------------------------------------------------------------------------------

namespace {

constexpr OCPreviewStamp kStamp = {.wallSeconds = 1136214245.0, .systemMajor = 6, .systemMinor = 1};

std::string Saved(const OCSettings& grade, uint32_t size)
{
    setenv("TZ", "UTC0", 1);
    tzset();
    LogCatch quiet;
    const EnginePtr engine = MakeEngine();
    std::string text = "left over";
    EXPECT_EQ(OCWritePreviewLUT(engine.get(), &grade, size, kStamp, 1, nullptr, &text), bpNoErr);
    return text;
}

} // namespace

TEST(PreviewSave, WritesItsHeadAndARampOfEachColour)
{
    EXPECT_EQ(Saved(NeutralGrade(), 3), "#\n"
                                        "#   Preview LUT\n"
                                        "#\n"
                                        "#   Creator:  Brindlepath Ochrine 3.0.9(286)\n"
                                        "#   Platform: Windows 6.1\n"
                                        "#   Date:     02-Jan-2006 15:04:05\n"
                                        "#\n"
                                        "LUT: 3 3\n"
                                        "        0\n"
                                        "        1\n"
                                        "        2\n"
                                        "        0\n"
                                        "        1\n"
                                        "        2\n"
                                        "        0\n"
                                        "        1\n"
                                        "        2\n");
}

TEST(PreviewSave, SizesOfKnownDepthsAreNamed)
{
    const std::pair<uint32_t, const char*> rows[] = {{256, "8"},    {1024, "10"},  {4096, "12"},
                                                     {16384, "14"}, {32768, "15"}, {65536, "16"}};
    for (const auto& [size, bits] : rows) {
        const std::string text = Saved(NeutralGrade(), size);
        EXPECT_TRUE(text.starts_with(std::string("#\n#   Preview LUT to convert ") + bits + "-bit linear to " + bits +
                                     "-bit linear\n#\n"))
            << text.substr(0, 100);
    }
}

TEST(PreviewSave, WiderNumbersKeepTheirSixBlanks)
{
    const std::string text = Saved(NeutralGrade(), 1024);
    EXPECT_NE(text.find("\n      999\n      1000\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("      1022\n      1023\n"));
}

TEST(PreviewSave, EntriesStayInsideTheScale)
{
    OCSettings grade = NeutralGrade();
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[0].gain = 3;
    grade.rgb.master.channel[1].pedestal = -1;
    const std::string text = Saved(grade, 256);
    const std::string numbers = text.substr(text.find("LUT: 3 256\n") + 11);
    EXPECT_EQ(numbers.size(), 768u * 10);
    EXPECT_EQ(numbers.substr(2550, 10), "      255\n");
    EXPECT_EQ(numbers.substr(5110, 10), "        0\n");
    EXPECT_EQ(numbers.substr(7670, 10), "      255\n");
}

TEST(PreviewSave, WhatIsSavedReadsBackAsThePreviewOfTheGrade)
{
    OCSettings grade = NeutralGrade();
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[0].gain = 0.5f;
    Table table;
    LogCatch quiet;
    EXPECT_READ(OCReadDiscreetLUT(Bytes(Saved(grade, 4096)), table.bytes), bpNoErr, nullptr);
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_NEAR(table.bytes[i], i / 2.0, 1.0) << i;
        EXPECT_EQ(table.bytes[256 + i], i) << i;
    }
}

TEST(PreviewSave, FilesThatCannotBeMadeAndSizesThatAreNoneAreErrors)
{
    LogCatch log;
    const EnginePtr engine = MakeEngine();
    const OCSettings grade = NeutralGrade();
    EXPECT_EQ(SavePreviewLUT(engine.get(), &grade, "/nowhere/x.lut", 256, kStamp, 1, nullptr), bpOpenErr);
    EXPECT_EQ(static_cast<int>(bpOpenErr), -23);
    std::string text;
    for (const uint32_t size : {0u, 1u, kOCPreviewSaveLimit + 1})
        EXPECT_EQ(OCWritePreviewLUT(engine.get(), &grade, size, kStamp, 1, nullptr, &text), bpParamErr);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(SavePreviewLUT(engine.get(), &grade, nullptr, 256, kStamp, 1, nullptr), bpParamErr);
    ASSERT_EQ(log.reports.size(), 1u);
    EXPECT_NE(log.reports[0].find("Assert (name != 0) failed. [TincturaFileIO: "), std::string::npos);
}

TEST(PreviewSave, AMissingFrameIsAnAssertion)
{
    const EnginePtr engine = MakeEngine();
    const OCSettings grade = NeutralGrade();
    for (const uint64_t request : {uint64_t{1}, uint64_t{3}}) {
        LogCatch log;
        std::string text;
        BPFailAllocation(request);
        EXPECT_EQ(OCWritePreviewLUT(engine.get(), &grade, 256, kStamp, 1, nullptr, &text), bpMemFullErr);
        BPFailAllocation(0);
        ASSERT_EQ(log.reports.size(), 1u);
        const char* const expression = request == 1 ? "(framePtr != 0)" : "(dstFramePtr != 0)";
        EXPECT_NE(log.reports[0].find(expression), std::string::npos) << log.reports[0];
        EXPECT_EQ(text, "");
    }
}
