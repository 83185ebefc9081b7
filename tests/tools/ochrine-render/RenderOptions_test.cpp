// The command line and the notes that pictures carry.
#include "tools/ochrine-render/RenderOptions.h"

#include "tools/ochrine-render/RenderNotes.h"
#include "tools/ochrine-render/RenderReport.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

bool Parse(const std::vector<const char*>& words, RenderOptions* options, std::string* error)
{
    return ParseRenderOptions(static_cast<int>(words.size()), words.data(), options, error);
}

} // namespace

TEST(RenderOptions, AreReadInBothSpellings)
{
    RenderOptions options;
    std::string error;
    ASSERT_TRUE(Parse({"--grade=g", "--frames", "3-9", "--chunk=2/5", "--threads", "7", "--rate=23.976", "--json",
                       "--stats", "--skip-existing", "--no-audio", "--alpha=drop", "--compression=none",
                       "--bad-frames=hold", "in.mov", "out_##.exr"},
                      &options, &error))
        << error;
    EXPECT_EQ(options.grade, "g");
    EXPECT_EQ(options.clip, "in.mov");
    EXPECT_EQ(options.output, "out_%02d.exr");
    EXPECT_STREQ(options.format.name, "exr-half");
    EXPECT_TRUE(options.hasFirst && options.hasLast);
    EXPECT_EQ(options.first, 3);
    EXPECT_EQ(options.last, 9);
    EXPECT_EQ(options.chunk, 2u);
    EXPECT_EQ(options.chunkCount, 5u);
    EXPECT_EQ(options.threads, 7);
    EXPECT_EQ(options.rate.numerator, 24000);
    EXPECT_EQ(options.progress, ProgressKind::json);
    EXPECT_EQ(options.badFrames, BadFrames::hold);
    EXPECT_TRUE(options.showStats && options.skipExisting && !options.keepAudio && !options.keepAlpha);
    EXPECT_FALSE(options.isZipped);
    ASSERT_TRUE(Parse({"--grade", "g", "--", "--in", "out.mov"}, &options, &error)) << error;
    EXPECT_EQ(options.clip, "--in");
}

TEST(RenderOptions, SuffixesChooseFormatsInAnyCase)
{
    OutputFormat format = {};
    const std::pair<const char*, const char*> cases[] = {
        {"a.EXR", "exr-half"}, {"a.dpx", "dpx10"}, {"a.b.Png", "png16"}, {"a.raw", "raw"}, {"a.MOV", "prores422hq"}};
    for (const auto& [path, name] : cases) {
        ASSERT_TRUE(OutputFormatByPath(path, &format)) << path;
        EXPECT_STREQ(format.name, name);
        EXPECT_TRUE(OutputFormatFits(format, path));
    }
    for (const char* path : {"a", "exr", ".exr", "a.tif", "a.exr.bak"}) EXPECT_FALSE(OutputFormatByPath(path, &format));
    for (const OutputFormat& row : kOutputFormats) {
        ASSERT_TRUE(OutputFormatByName(row.name, &format));
        EXPECT_STREQ(format.name, row.name);
        EXPECT_NE(std::string(kRenderHelp).find(row.name), std::string::npos) << row.name;
    }
}

TEST(RenderOptions, HashesStandForDigits)
{
    EXPECT_EQ(PatternFromHashes("a/b.####.exr"), "a/b.%04d.exr");
    EXPECT_EQ(PatternFromHashes("#.png"), "%01d.png");
    for (const char* path : {"a#b#.png", "a%04d#.png", "a.png", "a#/b.png", "a###################.png"}) {
        EXPECT_EQ(PatternFromHashes(path), path);
    }
}

TEST(RenderNotes, TimecodesCountOn)
{
    EXPECT_EQ(TimecodeAfter("01:00:00:00", {25, 1}, 27), "01:00:01:02");
    EXPECT_EQ(TimecodeAfter("00:00:59;29", {30000, 1001}, 1), "00:01:00;02");
    EXPECT_EQ(TimecodeAfter("00:09:59;29", {30000, 1001}, 1), "00:10:00;00");
    EXPECT_EQ(TimecodeAfter("23:59:59:24", {25, 1}, 1), "00:00:00:00");
    EXPECT_EQ(TimecodeAfter("00:00:00:00", {24, 1}, int64_t{86400} * 24 * 1000 + 5), "00:00:00:05");
    EXPECT_EQ(TimecodeAfter("00:00:00;00", {30000, 1001}, int64_t{2589408} * 7 + 5), "00:00:00;05");
    for (const char* bad : {"", "noon", "1:2:3", "99:99:99:99:99"})
        EXPECT_EQ(TimecodeAfter(bad, {25, 1}, 1), "") << bad;
    EXPECT_EQ(TimecodeAfter("01:00:00:00", {0, 0}, 1), "");
}

TEST(RenderNotes, TimecodesAreCodedInDigits)
{
    TimecodeDigits digits = {};
    uint32_t word = 0;
    ASSERT_TRUE(TimecodeFromText("12:34:56;21", &digits));
    EXPECT_TRUE(digits.isDrop);
    ASSERT_TRUE(TimecodeToBCD(digits, &word));
    EXPECT_EQ(word, 0x12345621u);
    ASSERT_TRUE(TimecodeFromBCD(word | 0x40, &digits));
    EXPECT_EQ(TimecodeToText(digits), "12:34:56;21");
    for (const char* bad : {"24:00:00:00", "00:60:00:00", "00:00:60:00", "0:00:00:000", "00:00:00-00", "aa:00:00:00"}) {
        EXPECT_FALSE(TimecodeFromText(bad, &digits)) << bad;
    }
    EXPECT_FALSE(TimecodeFromBCD(0x0a000000, &digits));
    EXPECT_FALSE(TimecodeFromBCD(0xffffffff, &digits));
}

TEST(RenderNotes, DamagedHeadersEndTheReading)
{
    const std::vector<uint8_t> exr = {0x76, 0x2f, 0x31, 1, 2, 0,   0, 0,   'a', 0,   'i', 'n', 't', 0,   4,   0, 0,
                                      0,    9,    8,    7, 6, 'b', 0, 'i', 'n', 't', 0,   255, 255, 255, 255, 1};
    for (size_t size = 0; size <= exr.size(); ++size) {
        PictureNotes notes;
        NotesFromEXR(exr.data(), size, &notes);
        EXPECT_EQ(notes.attributes.size(), size >= 22 ? 1u : 0u) << size;
    }
    PictureNotes notes;
    std::vector<uint8_t> dpx(2047, 0);
    std::memcpy(dpx.data(), "SDPX", 4);
    NotesFromDPX(dpx.data(), dpx.size(), &notes);
    EXPECT_TRUE(notes.dpxHeader.empty());
}

TEST(RenderNotes, AttributesThatReadersRelyOnMustBeOfTheirKind)
{
    std::vector<uint8_t> exr = {0x76, 0x2f, 0x31, 1, 2, 0, 0, 0};
    for (const char* name : {"screenWindowWidth", "width"}) {
        exr.insert(exr.end(), name, name + std::strlen(name) + 1);
        for (const uint8_t byte : std::initializer_list<uint8_t>{'i', 'n', 't', 0, 2, 0, 0, 0, 7, 7})
            exr.push_back(byte);
    }
    exr.push_back(0);
    PictureNotes notes;
    NotesFromEXR(exr.data(), exr.size(), &notes);
    ASSERT_EQ(notes.attributes.size(), 1u);
    EXPECT_EQ(notes.attributes[0].name, "width");
}

TEST(RenderNotes, ADPXOfEitherByteOrderTellsTheSame)
{
    std::vector<uint8_t> big(2048, 0xff);
    std::memcpy(big.data(), "SDPX", 4);
    const auto put = [&](size_t offset, uint32_t word) {
        for (size_t i = 0; i < 4; ++i) big[offset + i] = static_cast<uint8_t>(word >> (24 - 8 * i));
    };
    put(28, 384);
    put(1920, 0x01020304);
    put(1940, 0x41c80000); // 25.0
    std::vector<uint8_t> little = big;
    std::memcpy(little.data(), "XPDS", 4);
    for (const size_t offset : {28u, 1920u, 1940u})
        std::reverse(little.begin() + static_cast<ptrdiff_t>(offset),
                     little.begin() + static_cast<ptrdiff_t>(offset) + 4);
    for (const std::vector<uint8_t>& bytes : {big, little}) {
        PictureNotes notes;
        NotesFromDPX(bytes.data(), bytes.size(), &notes);
        EXPECT_EQ(notes.timecode, "01:02:03:04");
        EXPECT_EQ(notes.rate.numerator, 25);
        ASSERT_EQ(notes.dpxHeader.size(), 2048u);
        EXPECT_EQ(notes.dpxHeader[1920], 1);
    }
}

TEST(RenderReport, TextsBecomeSoundJSON)
{
    EXPECT_EQ(JSONText("a\"b\\c\n\x7f"), "\"a\\\"b\\\\c\\u000a\\u007f\"");
    EXPECT_EQ(JSONText("Bl\xc3\xa4tter \xf0\x9f\x8e\xac"), "\"Bl\xc3\xa4tter \xf0\x9f\x8e\xac\"");
    // Bytes that are no UTF-8: alone, cut, too long a form, half of a pair.
    EXPECT_EQ(JSONText("\xff"), "\"\xef\xbf\xbd\"");
    EXPECT_EQ(JSONText("x\xc3"), "\"x\xef\xbf\xbd\"");
    EXPECT_EQ(JSONText("\xc0\xaf"), "\"\xef\xbf\xbd\xef\xbf\xbd\"");
    EXPECT_EQ(JSONText("\xed\xa0\x80"), "\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\"");
}
