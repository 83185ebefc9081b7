// The bytes of a journal: what is written is read, and nothing else is.
#include "src/support/TKJournal.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

TKJournalClip Clip(const char* path = "/clips/a.mov")
{
    TKJournalClip clip = {};
    std::strncpy(clip.path, path, sizeof clip.path - 1);
    clip.frames = 24;
    return clip;
}

OCSettings Grade(float gain)
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    settings.hsl.master.gain = gain;
    return settings;
}

/// A journal after so many records; record n has gain n.
std::vector<uint8_t> Journal(uint32_t records, const TKJournalClip& clip = Clip())
{
    TKJournalHeader header;
    TKJournalMakeHeader(clip, &header);
    std::vector<uint8_t> bytes(sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    for (uint32_t n = 1; n <= records; ++n) {
        TKJournalRecord record;
        TKJournalMakeRecord(Grade(static_cast<float>(n)), n, 1000 + n, &record);
        const size_t at = TKJournalPosition(n);
        bytes.resize(std::max(bytes.size(), at + sizeof record));
        std::memcpy(bytes.data() + at, &record, sizeof record);
    }
    return bytes;
}

/// Number of the record that counts, 0 for none, -1 for no journal.
int Newest(const std::vector<uint8_t>& bytes, const TKJournalClip& clip = Clip())
{
    TKJournalContent content;
    const BPStatus err = TKJournalRead(bytes.data(), bytes.size(), clip, &content);
    if (err == bpInvalidSettingsErr) return content.sequence == 0 ? -1 : -2;
    if (err == bpNotFoundErr) return content.sequence == 0 ? 0 : -2;
    const auto number = static_cast<float>(content.sequence);
    const OCSettings wanted = Grade(number);
    const bool right = std::memcmp(&content.settings, &wanted, sizeof wanted) == 0;
    return right && content.seconds == 1000 + content.sequence ? static_cast<int>(content.sequence) : -2;
}

} // namespace

TEST(TKJournal, TheChecksumIsTheOneOfZip)
{
    EXPECT_EQ(TKJournalChecksum("123456789", 9), 0xCBF43926u);
    EXPECT_EQ(TKJournalChecksum("", 0), 0u);
}

TEST(TKJournal, TheNewestRecordCountsBeforeAndAfterTheFileHasWrapped)
{
    for (const uint32_t records : {0u, 1u, 2u, 31u, 32u, 33u, 64u, 100u}) {
        const std::vector<uint8_t> bytes = Journal(records);
        EXPECT_EQ(Newest(bytes), static_cast<int>(records));
        EXPECT_LE(bytes.size(), kTKJournalBytes) << records;
    }
}

TEST(TKJournal, ATornLastRecordIsIgnored)
{
    // Record n stands in place n of 32: the tail of the file is record 3, cut at every interesting byte.
    const std::vector<uint8_t> whole = Journal(3);
    const size_t start = TKJournalPosition(3);
    for (size_t size = start; size < whole.size(); size += size < start + 40 || size + 60 > whole.size() ? 1 : 997) {
        const std::vector<uint8_t> torn(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(Newest(torn), 2) << size;
    }
}

TEST(TKJournal, ARecordTornWhileItReplacesAnOldOneCostsOnlyThatOne)
{
    const std::vector<uint8_t> before = Journal(40), after = Journal(41);
    const size_t start = TKJournalPosition(41);
    for (const size_t done : {size_t{1}, size_t{8}, size_t{500}, sizeof(TKJournalRecord) - 4}) {
        std::vector<uint8_t> torn = before;
        std::copy_n(after.begin() + static_cast<std::ptrdiff_t>(start), done,
                    torn.begin() + static_cast<std::ptrdiff_t>(start));
        EXPECT_EQ(Newest(torn), 40) << done;
    }
}

TEST(TKJournal, AnyChangedBitOfTheNewestRecordMakesItUnsound)
{
    std::vector<uint8_t> bytes = Journal(5);
    const size_t start = TKJournalPosition(5);
    for (size_t at = 0; at < sizeof(TKJournalRecord); at += at < 20 || at > sizeof(TKJournalRecord) - 8 ? 1 : 61) {
        bytes[start + at] ^= static_cast<uint8_t>(1u << (at % 8));
        ASSERT_EQ(Newest(bytes), 4) << at;
        bytes[start + at] ^= static_cast<uint8_t>(1u << (at % 8));
    }
    EXPECT_EQ(Newest(bytes), 5);
}

TEST(TKJournal, AnyChangedByteOfTheHeaderMakesItNoJournal)
{
    std::vector<uint8_t> bytes = Journal(2);
    for (size_t at = 0; at < sizeof(TKJournalHeader); ++at) {
        bytes[at] ^= 0x40;
        ASSERT_EQ(Newest(bytes), -1) << at;
        bytes[at] ^= 0x40;
    }
}

TEST(TKJournal, WhatIsNoJournalIsRefusedAtEverySize)
{
    EXPECT_EQ(Newest({}), -1);
    const std::vector<uint8_t> whole = Journal(1);
    for (size_t size = 0; size < sizeof(TKJournalHeader); ++size)
        EXPECT_EQ(Newest({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}), -1) << size;
    std::vector<uint8_t> large = Journal(40);
    large.push_back(0);
    EXPECT_EQ(Newest(large), -1); // longer than a journal ever is
    TKJournalContent content;
    EXPECT_EQ(TKJournalRead(nullptr, 5000, Clip(), &content), bpInvalidSettingsErr);
    std::mt19937 random(3);
    for (int run = 0; run < 50; ++run) {
        std::vector<uint8_t> bytes(random() % 70000);
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
        EXPECT_EQ(Newest(bytes), -1);
    }
}

TEST(TKJournal, AGradeWithoutItsSignatureAndARecordInAForeignPlaceAreUnsound)
{
    std::vector<uint8_t> bytes = Journal(1);
    TKJournalRecord record;
    OCSettings grade = Grade(2);
    grade.signature = 0;
    TKJournalMakeRecord(grade, 2, 1002, &record);
    bytes.resize(TKJournalPosition(2) + sizeof record);
    std::memcpy(bytes.data() + TKJournalPosition(2), &record, sizeof record);
    EXPECT_EQ(Newest(bytes), 1);
    TKJournalMakeRecord(Grade(3), 3, 1003, &record); // sound, but it does not belong there
    std::memcpy(bytes.data() + TKJournalPosition(2), &record, sizeof record);
    EXPECT_EQ(Newest(bytes), 1);
    TKJournalMakeRecord(Grade(0), 0, 1000, &record);
    std::memcpy(bytes.data() + TKJournalPosition(0), &record, sizeof record);
    EXPECT_EQ(Newest(bytes), 1);
}

TEST(TKJournal, TheJournalOfAnotherClipIsNone)
{
    EXPECT_EQ(Newest(Journal(2), Clip("/clips/b.mov")), -1);
    TKJournalClip longer = Clip();
    longer.frames = 25;
    EXPECT_EQ(Newest(Journal(2), longer), -1);
}

TEST(TKJournal, AClipIsKnownByItsPathAndLengthOrElseByItsShape)
{
    auto block = std::make_unique<TKUIComm>();
    block->frameStep = 1001;
    block->frameTimeMax = 1001 * 23;
    block->frameWidth = 1920;
    block->frameHeight = 1080;
    block->frameRate100 = 2398;
    std::memcpy(&block->hostApp, "TEST", 4);
    TKJournalClip clip;
    TKJournalClipOf(block.get(), &clip);
    EXPECT_EQ(clip.frames, 24u);
    EXPECT_EQ(clip.width, 1920u);
    EXPECT_EQ(clip.frameRate100, 2398u);
    EXPECT_EQ(std::memcmp(&clip.hostApp, "TEST", 4), 0);

    block->clipCount = 3;
    std::strcpy(block->clipList[1].path, "/clips/a.mov"); // the only one
    std::strcpy(block->clipList[2].path, "/clips/a.mov");
    TKJournalClipOf(block.get(), &clip);
    EXPECT_EQ(std::memcmp(&clip, std::make_unique<TKJournalClip>(Clip()).get(), sizeof clip), 0);
    block->frameWidth = 960; // a proxy of the same clip
    std::memset(&block->clipList[1].path[20], 'x', 200);
    TKJournalClipOf(block.get(), &clip);
    EXPECT_EQ(std::memcmp(&clip, std::make_unique<TKJournalClip>(Clip()).get(), sizeof clip), 0);
    block->startFrame = 1001; // another part of it
    TKJournalClipOf(block.get(), &clip);
    EXPECT_NE(std::memcmp(&clip, std::make_unique<TKJournalClip>(Clip()).get(), sizeof clip), 0);
}

TEST(TKJournal, AListOfSeveralPathsTellsClipsApartByAllThatIsKnown)
{
    const auto block = std::make_unique<TKUIComm>();
    block->frameStep = 1;
    block->frameTimeMax = 23;
    block->frameWidth = 1920;
    block->frameHeight = 1080;
    block->frameRate100 = 2400;
    block->clipCount = 200;
    std::strcpy(block->clipList[0].path, "/clips/a.mov");
    std::strcpy(block->clipList[199].path, "/clips/b.mov");
    TKJournalClip first;
    TKJournalClipOf(block.get(), &first);
    EXPECT_EQ(first.path[0], 0);
    EXPECT_EQ(first.frames, 24u);
    EXPECT_NE(first.listCheck, 0u);
    const auto differs = [&](auto change) {
        auto other = std::make_unique<TKUIComm>(*block);
        change(other.get());
        TKJournalClip clip;
        TKJournalClipOf(other.get(), &clip);
        return std::memcmp(&clip, &first, sizeof clip) != 0;
    };
    EXPECT_FALSE(differs([](TKUIComm* b) { b->clipList[0].reserved = 7; }));
    EXPECT_FALSE(differs([](TKUIComm* b) { b->clipList[0].path[100] = 'x'; })); // behind the end of the path
    EXPECT_FALSE(differs([](TKUIComm* b) { b->frameTime = 9; }));               // where the host stands
    EXPECT_TRUE(differs([](TKUIComm* b) { b->clipList[199].path[1] = 'C'; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { std::swap(b->clipList[0], b->clipList[199]); }));
    EXPECT_TRUE(differs([](TKUIComm* b) { std::strcpy(b->clipList[50].path, "/clips/c.mov"); }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->clipCount = 199; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->frameWidth = 960; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->frameHeight = 540; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->frameRate100 = 2398; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->startFrame = 1; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->frameTimeMax = 24; }));
    EXPECT_TRUE(differs([](TKUIComm* b) { b->hostApp = 1; }));
}

TEST(TKJournal, HostileFieldsGiveAClipAllTheSame)
{
    auto block = std::make_unique<TKUIComm>();
    std::memset(static_cast<void*>(block.get()), 0xFF, sizeof *block); // paths without an end, counts below 0
    TKJournalClip clip;
    TKJournalClipOf(block.get(), &clip);
    EXPECT_EQ(clip.path[0], 0);
    EXPECT_EQ(clip.frames, 0u);
    block->clipCount = INT32_MAX;
    TKJournalClipOf(block.get(), &clip);
    EXPECT_EQ(clip.path[0], 0);
    for (const int32_t step : {0, -1, INT32_MIN}) {
        block->frameStep = step;
        block->frameTimeMax = INT32_MAX;
        TKJournalClipOf(block.get(), &clip);
        EXPECT_EQ(clip.frames, 0u);
    }
    block->frameStep = 1;
    TKJournalClipOf(block.get(), &clip);
    EXPECT_EQ(clip.frames, 0x80000000u);
}

TEST(TKJournal, NamesAreSafeInAFolderAndTellClipsApart)
{
    char a[64], b[64];
    TKJournalName(Clip("/clips/../../etc/passwd"), a, sizeof a);
    TKJournalName(Clip("/clips/a.mov"), b, sizeof b);
    EXPECT_STRNE(a, b);
    for (const char* name : {a, b}) {
        EXPECT_EQ(std::strlen(name), 26u);
        EXPECT_EQ(std::strspn(name, "0123456789abcdef"), 16u);
        EXPECT_STREQ(name + 16, ".ocjournal");
    }
}

TEST(TKJournal, TitlesAreFitForPeople)
{
    const auto title = [](const char* path) {
        char text[300];
        TKJournalTitle(Clip(path), text, sizeof text);
        return std::string(text);
    };
    EXPECT_EQ(title("/clips/a.mov"), "a.mov");
    EXPECT_EQ(title("a.mov"), "a.mov");
    EXPECT_EQ(title(""), "this clip");
    EXPECT_EQ(title("/clips/"), "/clips/");
    EXPECT_EQ(title("/clips/a\n\x1b[2J\x7f.mov"), "a??[2J?.mov");
}
