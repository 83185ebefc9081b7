// Settings files: today's bytes, every older shape, and files that lie.
#include "src/TincturaFileIO.h"

#include "src/platform/BPFiles.h"
#include "tests/CoreTest.h"
#include "tests/SettingsModel.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr uint32_t kCurrentIds[] = {29, 30, 31, 32, 33, 6,  27, 8,  9,  35, 37, 39, 13, 14, 15, 16,
                                    17, 18, 19, 20, 21, 28, 36, 22, 23, 24, 25, 40, 41, 42, 43};
constexpr uint32_t kLegacyIds[] = {1, 2, 3, 4, 5, 7, 10, 12, 26};

/// Loads over `words`, and holds the result against the model.
void ExpectLoad(const std::vector<uint8_t>& bytes, const std::vector<uint32_t>& words, const std::string& what)
{
    std::vector<uint32_t> wanted = words;
    const bool taken = ModelLoad(bytes, &wanted);
    OCSettings settings = SettingsOf(words);
    // A block of exactly that size: whatever reads beyond it is caught by the sanitizers.
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size() + 1]);
    std::copy(bytes.begin(), bytes.end(), exact.get() + 1);
    EXPECT_EQ(LoadSettingsBytes(exact.get() + 1, bytes.size(), &settings), taken ? bpNoErr : bpInvalidSettingsErr)
        << what;
    const std::string difference = WordDifference(WordsOf(settings), wanted);
    EXPECT_EQ(difference, "") << what;
}

std::vector<uint32_t> Load(const std::vector<uint8_t>& bytes, const std::vector<uint32_t>& words)
{
    OCSettings settings = SettingsOf(words);
    EXPECT_EQ(LoadSettingsBytes(bytes.data(), bytes.size(), &settings), bpNoErr);
    return WordsOf(settings);
}

float FloatAt(const std::vector<uint32_t>& words, uint32_t offset)
{
    return std::bit_cast<float>(words[offset / 4]);
}

TEST(SettingsFile, AGradeIsWrittenByteForByte)
{
    std::mt19937 random(1);
    for (int i = 0; i < 8; ++i) {
        const std::vector<uint32_t> words = RandomWords(random);
        EXPECT_EQ(SaveSettingsBytes(SettingsOf(words)), ModelSave(words));
    }
}

TEST(SettingsFile, TheHeaderIsVersion2AndTheMagic)
{
    const OCSettings settings = {};
    const std::vector<uint8_t> bytes = SaveSettingsBytes(settings);
    const uint8_t head[] = {0, 0, 0, 2, 0x11, 0x22, 0x33, 0x44, 0, 0, 0, 29, 0, 0, 0, 160};
    ASSERT_EQ(bytes.size(), 33720u);
    EXPECT_EQ(std::memcmp(bytes.data(), head, sizeof head), 0);
}

TEST(SettingsFile, WriteReadWriteIsStable)
{
    std::mt19937 random(2);
    const std::vector<uint8_t> first = SaveSettingsBytes(SettingsOf(RandomWords(random)));
    OCSettings settings = SettingsOf(RandomWords(random));
    ASSERT_EQ(LoadSettingsBytes(first.data(), first.size(), &settings), bpNoErr);
    EXPECT_EQ(SaveSettingsBytes(settings), first);
}

TEST(SettingsFile, WhatNoChunkCarriesKeepsItsValue)
{
    std::mt19937 random(3);
    const std::vector<uint32_t> saved = RandomWords(random), before = RandomWords(random);
    const std::vector<uint32_t> after = Load(SaveSettingsBytes(SettingsOf(saved)), before);
    for (uint32_t offset = 0; offset < 33556; offset += 4) {
        // The signature, the unassigned words, the video levels and the source transfer.
        const bool carried = offset >= 4 && (offset < 33452 || offset >= 33540);
        ASSERT_EQ(after[offset / 4], (carried ? saved : before)[offset / 4]) << offset;
    }
}

TEST(SettingsFile, VersionFourIsRefusedEvenWithACorrectMagic)
{
    std::mt19937 random(4);
    const std::vector<uint32_t> before = RandomWords(random);
    for (const uint32_t version : {0u, 4u, 6u, 7u, 0x02000000u, 0xFFFFFFFFu}) {
        SettingsFile file(version);
        file.Chunk(14, {1});
        OCSettings settings = SettingsOf(before);
        EXPECT_EQ(LoadSettingsBytes(file.bytes.data(), file.bytes.size(), &settings), bpInvalidSettingsErr) << version;
        EXPECT_EQ(WordDifference(WordsOf(settings), before), "");
    }
    for (const uint32_t version : {1u, 2u, 3u, 5u}) {
        SettingsFile file(version);
        file.Chunk(14, {77});
        EXPECT_EQ(Load(file.bytes, before)[1], 77u) << version;
    }
}

TEST(SettingsFile, AWrongMagicIsRefused)
{
    OCSettings settings = {};
    for (const uint32_t magic : {0x44332211u, 0u, 0x11223345u}) {
        const SettingsFile file(2, magic);
        EXPECT_EQ(LoadSettingsBytes(file.bytes.data(), file.bytes.size(), &settings), bpInvalidSettingsErr);
    }
}

TEST(SettingsFile, AnEmptyFileIsRefusedAndAHeaderAloneLoadsNothing)
{
    std::mt19937 random(5);
    const std::vector<uint32_t> before = RandomWords(random);
    OCSettings settings = SettingsOf(before);
    EXPECT_EQ(LoadSettingsBytes(nullptr, 0, &settings), bpInvalidSettingsErr);
    const SettingsFile file;
    for (size_t length = 0; length < 8; ++length)
        EXPECT_EQ(LoadSettingsBytes(file.bytes.data(), length, &settings), bpInvalidSettingsErr);
    EXPECT_EQ(LoadSettingsBytes(file.bytes.data(), 8, &settings), bpNoErr);
    EXPECT_EQ(WordDifference(WordsOf(settings), before), "");
}

TEST(SettingsFile, EveryChunkAloneLandsInItsPlace)
{
    std::mt19937 random(6);
    for (const auto ids : {std::span<const uint32_t>(kCurrentIds), std::span<const uint32_t>(kLegacyIds)})
        for (const uint32_t id : ids) {
            SettingsFile file;
            file.Chunk(id, RandomWords(random, ModelChunkBytes(id) / 4));
            ExpectLoad(file.bytes, RandomWords(random), "chunk " + std::to_string(id));
        }
}

TEST(SettingsFile, UnknownChunksOfAnySizeAreSkipped)
{
    std::mt19937 random(7);
    const std::vector<uint32_t> before = RandomWords(random);
    for (const uint32_t id : {0u, 11u, 34u, 38u, 44u, 1000u, 0x80000000u, 0xFFFFFFFFu})
        for (const uint32_t length : {0u, 1u, 3u, 4u, 4097u}) {
            SettingsFile file;
            file.Word(id).Word(length);
            for (uint32_t i = 0; i < length; ++i) file.Byte(static_cast<uint8_t>(i));
            file.Chunk(15, {0xABCD});
            EXPECT_EQ(Load(file.bytes, before)[2], 0xABCDu) << id << " of " << length;
            ExpectLoad(file.bytes, before, "skip");
        }
}

TEST(SettingsFile, AnUnknownChunkThatClaimsMoreThanTheFileEndsIt)
{
    std::mt19937 random(8);
    const std::vector<uint32_t> before = RandomWords(random);
    for (const uint32_t size : {9u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF0u, 0xFFFFFFF8u, 0xFFFFFFFFu}) {
        SettingsFile file;
        file.Chunk(14, {5}).Word(99).Word(size).Chunk(14, {6});
        const std::vector<uint32_t> after = Load(file.bytes, before);
        EXPECT_EQ(after[1], 5u) << size;
    }
}

TEST(SettingsFile, TheSizeOfAKnownChunkIsNotConsulted)
{
    std::mt19937 random(9);
    const std::vector<uint32_t> before = RandomWords(random);
    for (const uint32_t size : {0u, 8u, 0xFFFFFFFFu}) {
        SettingsFile file;
        file.Word(14).Word(size).Word(123).Word(1).Word(size);
        file.Words(RandomWords(random, 36)).Chunk(15, {456});
        const std::vector<uint32_t> after = Load(file.bytes, before);
        EXPECT_EQ(after[1], 123u);
        EXPECT_EQ(after[2], 456u);
        ExpectLoad(file.bytes, before, "size");
    }
}

TEST(SettingsFile, Chunk22SetsTheSwitchOfTheTabTooAndALaterChunk41Overrides)
{
    const std::vector<uint32_t> before(8389, 9);
    SettingsFile file;
    file.Chunk(22, {0x100});
    EXPECT_EQ(Load(file.bytes, before)[1028 / 4], 0x100u);
    EXPECT_EQ(Load(file.bytes, before)[1032 / 4], 0x100u);
    file.Chunk(41, {0});
    EXPECT_EQ(Load(file.bytes, before)[1028 / 4], 0x100u);
    EXPECT_EQ(Load(file.bytes, before)[1032 / 4], 0u);
    SettingsFile reversed;
    reversed.Chunk(41, {0}).Chunk(22, {3}); // the copy is made when the chunk is met
    EXPECT_EQ(Load(reversed.bytes, before)[1032 / 4], 3u);
}

TEST(SettingsFile, FixedValuesAreSignedSixtyFiveThousandThirtySixths)
{
    SettingsFile file;
    file.Chunk(1, {7, 0x00018000, 0x00640000, 0xFFFF8000, 0x7FFFFFFF, 0x80000000, 1, 0xFFFFFFFF, 0, 0, 0, 0,
                   0, 0,          0,          0,          0,          0,          0, 0,          0, 0, 0, 0,
                   0, 0,          0,          0,          0,          0,          0, 0,          0, 0, 0, 0});
    const std::vector<uint32_t> after = Load(file.bytes, std::vector<uint32_t>(8389, 0x42));
    EXPECT_EQ(after[12 / 4], 7u);
    EXPECT_EQ(FloatAt(after, 16), 1.5f);               // hue
    EXPECT_EQ(FloatAt(after, 20), 100.0f);             // saturation
    EXPECT_EQ(after[24 / 4], 0x42u);                   // vibrance
    EXPECT_EQ(FloatAt(after, 28), -0.5f);              // brightness
    EXPECT_EQ(FloatAt(after, 32), 32768.0f);           // contrast
    EXPECT_EQ(FloatAt(after, 36), -32768.0f);          // contrastCenter
    EXPECT_EQ(FloatAt(after, 40), 1.52587890625e-5f);  // gain
    EXPECT_EQ(FloatAt(after, 44), -1.52587890625e-5f); // gamma
    EXPECT_EQ(after[48 / 4], 0u);                      // pedestal
}

TEST(SettingsFile, AFileOfOnlyLegacyChunksLeavesVibranceAsItWas)
{
    std::mt19937 random(10);
    const std::vector<uint32_t> before = RandomWords(random);
    SettingsFile file(1);
    for (const uint32_t id : kLegacyIds) file.Chunk(id, RandomWords(random, ModelChunkBytes(id) / 4));
    const std::vector<uint32_t> after = Load(file.bytes, before);
    for (const uint32_t offset : {24u, 64u, 104u, 144u}) EXPECT_EQ(after[offset / 4], before[offset / 4]);
    EXPECT_EQ(after[33420 / 4], before[33420 / 4]); // the limiter's highlight recovery
    ExpectLoad(file.bytes, before, "all legacy chunks");
}

TEST(SettingsFile, ALegacyCurveIsOneOfPointsWithFloats)
{
    std::vector<uint32_t> data(140, 0);
    data[0] = 0xDEAD;
    data[1] = 11;
    data[2] = 3;
    data[3 + 1] = std::bit_cast<uint32_t>(0.25f);
    data[3 + 16 + 1] = std::bit_cast<uint32_t>(0.75f);
    SettingsFile file;
    file.Chunk(7, data);
    OCSettings settings = SettingsOf(std::vector<uint32_t>(8389, 0x55));
    ASSERT_EQ(LoadSettingsBytes(file.bytes.data(), file.bytes.size(), &settings), bpNoErr);
    const HCurve& curve = settings.rgbCurve[0];
    EXPECT_EQ(curve.curveReserved, 0x55u); // the first word is unused
    EXPECT_EQ(curve.curveTag, 11u);
    EXPECT_EQ(curve.curveKind, 0u);
    EXPECT_EQ(curve.points.xy.pointCount, 3);
    EXPECT_EQ(curve.points.xy.x[1], 0.25f);
    EXPECT_EQ(curve.points.xy.y[1], 0.75f);
    EXPECT_EQ(std::bit_cast<uint32_t>(curve.points.samples[33]), 0x55u); // behind the points
}

TEST(SettingsFile, ALegacySecondaryThatIsOnPutsSecondariesInUseAndOneOfZerosLeavesTheWord)
{
    for (const uint32_t id : {10u, 26u}) {
        const size_t words = ModelChunkBytes(id) / 4;
        SettingsFile zeros, on;
        zeros.Chunk(id, std::vector<uint32_t>(words, 0));
        std::vector<uint32_t> data(words, 0);
        data[words - words / 6] = 0x80; // the switch of F
        on.Chunk(id, data);
        for (const uint32_t inUse : {0u, 1u, 6u}) {
            std::vector<uint32_t> before(8389, 0);
            before[29864 / 4] = inUse;
            EXPECT_EQ(Load(zeros.bytes, before)[29864 / 4], inUse);
            EXPECT_EQ(Load(on.bytes, before)[29864 / 4], inUse | 1);
        }
    }
}

TEST(SettingsFile, ALegacySecondaryDropsTheGreensOfItsSamples)
{
    SettingsFile file;
    std::vector<uint32_t> data(180);
    for (uint32_t i = 0; i < 180; ++i) data[i] = i % 30;
    file.Chunk(26, data);
    const std::vector<uint32_t> after = Load(file.bytes, std::vector<uint32_t>(8389, 0x99));
    const uint32_t first = 29868 / 4;
    for (uint32_t sample = 0; sample < 4; ++sample) {
        EXPECT_EQ(after[first + 12 + 4 * sample], 11 + 4 * sample);
        EXPECT_EQ(after[first + 13 + 4 * sample], 12 + 4 * sample);
        EXPECT_EQ(after[first + 14 + 4 * sample], 0x99u);
        EXPECT_EQ(after[first + 15 + 4 * sample], 14 + 4 * sample);
    }
    EXPECT_EQ(after[first + 4], 1u);
    EXPECT_EQ(after[first + 5], 0x99u); // the style of the preview
}

TEST(SettingsFile, AFileCutAtAnyByteLoadsWhatIsThere)
{
    std::mt19937 random(11);
    const std::vector<uint32_t> before = RandomWords(random);
    const std::vector<uint8_t> whole = ModelSave(RandomWords(random));
    for (size_t length = 0; length <= whole.size(); ++length)
        ExpectLoad({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)}, before,
                   "cut at " + std::to_string(length));
}

TEST(SettingsFile, AnOldFileCutAtAnyByteLoadsItsWholeChunks)
{
    std::mt19937 random(12);
    const std::vector<uint32_t> before = RandomWords(random);
    SettingsFile file(3);
    for (const uint32_t id : kLegacyIds) file.Chunk(id, RandomWords(random, ModelChunkBytes(id) / 4));
    file.Chunk(37, RandomWords(random, 690)).Chunk(99, {1, 2, 3}).Chunk(22, {1});
    for (size_t length = 0; length <= file.bytes.size(); ++length)
        ExpectLoad({file.bytes.begin(), file.bytes.begin() + static_cast<ptrdiff_t>(length)}, before,
                   "cut at " + std::to_string(length));
}

TEST(SettingsFile, FilesOfAnyChunksInAnyOrderLoadAsTheTablesTell)
{
    std::mt19937 random(13);
    for (uint32_t round = 0; round < 300; ++round) {
        SettingsFile file(round % 3 + 1);
        for (int i = 0; i < 12; ++i) {
            const uint32_t id = static_cast<uint32_t>(random() % 48);
            const uint32_t bytes = ModelChunkBytes(id);
            if (bytes != 0) {
                file.Chunk(id, RandomWords(random, bytes / 4));
            } else {
                file.Chunk(id, RandomWords(random, random() % 9));
            }
            if (random() % 40 == 0) file.Byte(1); // out of step from here on
        }
        ExpectLoad(file.bytes, RandomWords(random), "round " + std::to_string(round));
    }
}

TEST(SettingsFile, RandomBytesBehindTheHeaderAreHarmless)
{
    std::mt19937 random(14);
    for (int round = 0; round < 400; ++round) {
        SettingsFile file(2);
        const uint32_t count = static_cast<uint32_t>(random() % 5000);
        for (uint32_t i = 0; i < count; ++i) {
            // Small words, so that many are ids.
            file.Byte(i % 4 == 3 ? static_cast<uint8_t>(random() % 50) : random() % 30 == 0 ? 255 : 0);
        }
        ExpectLoad(file.bytes, RandomWords(random), "round " + std::to_string(round));
    }
}

TEST(SettingsFile, ChunksAreListedWithTheirPlacesAndKinds)
{
    SettingsFile file;
    file.Chunk(1, std::vector<uint32_t>(36, 0)).Chunk(99, {1, 2}).Word(14).Word(12).Word(1).Word(30).Word(208).Word(5);
    struct {
        uint32_t id, size;
        size_t position, recordBytes, presentBytes;
        OCChunkKind kind;
    } const wanted[] = {
        {1, 144, 8, 144, 144, OCChunkKind::legacy},
        {99, 8, 160, 8, 8, OCChunkKind::unknown},
        {14, 12, 176, 4, 4, OCChunkKind::current},
        {30, 208, 188, 208, 4, OCChunkKind::current},
    };
    size_t position = 0;
    OCSettingsChunk chunk;
    for (const auto& row : wanted) {
        ASSERT_TRUE(OCNextSettingsChunk(file.bytes.data(), file.bytes.size(), &position, &chunk)) << row.id;
        EXPECT_EQ(chunk.id, row.id);
        EXPECT_EQ(chunk.size, row.size);
        EXPECT_EQ(chunk.position, row.position);
        EXPECT_EQ(chunk.recordBytes, row.recordBytes);
        EXPECT_EQ(chunk.presentBytes, row.presentBytes);
        EXPECT_EQ(chunk.kind, row.kind);
    }
    EXPECT_FALSE(OCNextSettingsChunk(file.bytes.data(), file.bytes.size(), &position, &chunk));
    EXPECT_FALSE(OCNextSettingsChunk(file.bytes.data(), file.bytes.size(), &position, &chunk));
    position = 0;
    EXPECT_FALSE(OCNextSettingsChunk("no settings file", 16, &position, &chunk));
}

class SettingsFilePath : public testing::Test {
  protected:
    std::string path = testing::TempDir() + "/settings-" + std::to_string(getpid()) + ".ocpreset";
    void TearDown() override { std::remove(path.c_str()); }
};

TEST_F(SettingsFilePath, AGradeTravelsThroughAFile)
{
    std::mt19937 random(15);
    const OCSettings saved = SettingsOf(RandomWords(random));
    ASSERT_EQ(SaveSettingsFile(path.c_str(), saved), bpNoErr);
    std::vector<uint8_t> bytes;
    ASSERT_EQ(BPReadFile(path.c_str(), 1 << 20, &bytes), bpNoErr);
    EXPECT_EQ(bytes, SaveSettingsBytes(saved));
    OCSettings loaded = {};
    ASSERT_EQ(LoadSettingsFile(path.c_str(), &loaded), bpNoErr);
    EXPECT_EQ(SaveSettingsBytes(loaded), bytes);
}

TEST_F(SettingsFilePath, AFileThatCannotBeOpenedIsLoggedAndChangesNothing)
{
    LogCatch log;
    OCSettings settings = {};
    settings.primaryOn = 5;
    EXPECT_EQ(LoadSettingsFile(path.c_str(), &settings), bpFileNotFoundErr);
    EXPECT_EQ(log.Text(), "unable to open file, error=-43\n");
    EXPECT_EQ(settings.primaryOn, 5u);
}

TEST_F(SettingsFilePath, AFileThatCannotBeCreatedIsLoggedWithItsPath)
{
    LogCatch log;
    const std::string nowhere = path + "/nowhere/x.ocpreset";
    EXPECT_EQ(SaveSettingsFile(nowhere.c_str(), OCSettings{}), bpFileNotFoundErr);
    EXPECT_EQ(log.Text(), "unable to open file \"" + nowhere + "\", err=-43\n");
}

TEST_F(SettingsFilePath, AnOldFileIsReplacedWhole)
{
    const std::vector<uint8_t> longer(60000, 7);
    ASSERT_EQ(BPWriteFile(path.c_str(), longer.data(), longer.size()), bpNoErr);
    ASSERT_EQ(SaveSettingsFile(path.c_str(), OCSettings{}), bpNoErr);
    std::vector<uint8_t> bytes;
    ASSERT_EQ(BPReadFile(path.c_str(), 1 << 20, &bytes), bpNoErr);
    EXPECT_EQ(bytes.size(), 33720u);
}

} // namespace
