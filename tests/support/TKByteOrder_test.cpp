// Blocks of a host of the other byte order.
#include "tests/support/TKIntakeTest.h"

#include <random>

namespace {

class TKByteOrder : public TKIntakeTest {};

TEST_F(TKByteOrder, SwappingDoesNothingForANativeHost)
{
    host_.Make();
    const TKUIComm before = *host_.Block();
    TKSwapCommBlock(session_, host_.Block());
    EXPECT_EQ(std::memcmp(&before, host_.Block(), sizeof before), 0);
    uint8_t pixels[] = {1, 2, 3, 4};
    TKSwapPixels(session_, pixels, 4);
    EXPECT_EQ(pixels[0], 1);
}

TEST_F(TKByteOrder, SwappingReversesExactlyTheListedFields)
{
    host_.Make();
    auto* bytes = reinterpret_cast<uint8_t*>(host_.Block());
    std::mt19937 random(7);
    for (uint32_t i = 0; i < kTKUICommBytes; ++i) bytes[i] = static_cast<uint8_t>(random());
    const std::vector<uint8_t> before(bytes, bytes + kTKUICommBytes);
    std::vector<uint8_t> wanted = before;
    const auto word = [&](uint32_t at) { std::reverse(wanted.begin() + at, wanted.begin() + at + 4); };
    for (const uint32_t at : {0u, 4u, 8u, 12u, 16u, 24u, 52848u, 52852u, 52916u, 52920u, 52924u, 52928u}) word(at);
    for (const uint32_t at : {32u, 34u}) std::swap(wanted[at], wanted[at + 1]);
    for (uint32_t i = 0; i < 200; ++i) word(48 + i * 264 + 260);
    for (uint32_t at = 52860; at <= 52888; at += 4) word(at);
    for (uint32_t at = 52896; at <= 52904; at += 4) word(at);
    for (uint32_t i = 0; i < 8; ++i) word(53008 + i * 4);
    for (uint32_t i = 0; i < 8389; ++i) word(53044 + i * 4);

    session_->hostSwapped = true;
    TKSwapCommBlock(session_, host_.Block());
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + kTKUICommBytes), wanted);
    TKSwapCommBlock(session_, host_.Block());
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + kTKUICommBytes), before);
    TKSwapCommBlock(session_, nullptr);
}

TEST_F(TKByteOrder, PixelsAreSwappedWordByWordAndTheTailStays)
{
    session_->hostSwapped = true;
    uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    TKSwapPixels(session_, pixels, 10);
    const uint8_t wanted[] = {4, 3, 2, 1, 8, 7, 6, 5, 9, 10};
    EXPECT_EQ(std::memcmp(pixels, wanted, 10), 0);
    TKSwapPixels(session_, pixels, 3);
    EXPECT_EQ(pixels[0], 4);
    TKSwapPixels(session_, nullptr, 8);
}

TEST_F(TKByteOrder, ABlockOfTheOtherByteOrderComesUpAlikeInlineAndInChunks)
{
    for (const uint32_t rows : {0u, 2u, 6u}) {
        host_ = {};
        host_.flags = rows ? kTKUIFlagPixelsChunked : kTKUIFlagPixelsInline;
        host_.chunkRows = rows;
        host_.Make();
        host_.Block()->settings.hsl.master.gain = 2;
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        // From here on the host is a big-endian machine: it sees everything turned.
        const auto turn = [this](uint64_t pixelBytes) {
            const bool before = session_->hostSwapped;
            session_->hostSwapped = true;
            TKSwapCommBlock(session_, host_.Block());
            TKSwapPixels(session_, host_.Pixels(), pixelBytes);
            session_->hostSwapped = before;
        };
        turn(rows ? host_.Block()->chunkBytes : host_.FrameBytes());
        ASSERT_EQ(host_.Block()->version, kTKUIVersionSwapped);
        host_.serve = [&turn](TKTestHost* host) {
            if (host->Block()->status != 0x05000000) return;
            turn(0); // the host's own view
            host->SendChunks();
            turn(host->Block()->chunkBytes);
        };
        ASSERT_EQ(TKAdoptBlock(session_), tkAttached);
        EXPECT_TRUE(session_->hostSwapped);
        EXPECT_EQ(session_->hostProcessID, kHostProcess);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
        ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
        ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr) << rows;
        EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 1)) << rows;
        EXPECT_TRUE(TKTakeSettingsFromBlock(session_));
        EXPECT_EQ(session_->liveSettings.hsl.master.gain, 2.0f);
        EXPECT_EQ(host_.Block()->frameRate100, 2400);
        if (rows) {
            EXPECT_EQ(host_.Block()->pixelFlags, 0u);
            EXPECT_EQ(host_.Block()->status, kTKUIStatusUIRunning);
            EXPECT_EQ(gBPFake.sleeps.size(), 6 / rows - 1);
        }
        // The grade goes back in the host's order, and the last word too.
        session_->prefs.uiTimeoutEnable = 0;
        DoMenuCommand(session_, kTKCommandOK, nullptr);
        EXPECT_EQ(host_.Block()->status, uint32_t{kTKUIStatusUIDone} << 24);
        EXPECT_EQ(host_.Block()->settings.signature, __builtin_bswap32(kOCSettingsSignature));
        TearDown();
        SetUp();
    }
}

TEST_F(TKByteOrder, ABlockOfTheOtherByteOrderAndAnUnknownVersionIsAMismatch)
{
    for (const uint32_t version : {6u, 0x06000000u, 0x08000000u, 0u}) {
        host_ = {};
        host_.Make();
        ASSERT_NE(TKOpenCommBlock(session_), nullptr);
        host_.Block()->version = version;
        EXPECT_EQ(TKAdoptBlock(session_), tkVersionMismatch);
        EXPECT_EQ(host_.Block()->status, kTKUIStatusUIFailed);
        EXPECT_EQ(TKBlockOf(session_), nullptr);
        EXPECT_TRUE(gBPFake.alerts.empty()); // no dialog
        char line[200];
        std::snprintf(line, sizeof line,
                      "Wrong TKUIComm structure version; received 0x%x, expected 0x7; Mis-matched plug-in and UI "
                      "versions?\n",
                      version);
        EXPECT_TRUE(TKLogHas({"Ochrine 3 UI: (", line}));
        TearDown();
        SetUp();
    }
}

TEST_F(TKByteOrder, PixelsAtAnAddressAreTurnedToo)
{
    for (const uint32_t rowBytes : {32u, 36u, 48u})
        for (const bool vouchedFor : {true, false}) {
            alignas(16) static uint8_t pixels[48 * 6 + 4];
            host_ = {};
            host_.rowBytes = rowBytes;
            std::memset(pixels, 0xA5, sizeof pixels);
            host_.PaintRows(pixels, 0, 6, 3);
            const std::vector<uint8_t> right(pixels, pixels + sizeof pixels);
            for (size_t i = 0; i < size_t{rowBytes} * 6; i += 4) std::reverse(pixels + i, pixels + i + 4);
            const std::vector<uint8_t> turned(pixels, pixels + sizeof pixels);
            host_.Make();
            const TKUIComm block = *host_.Block();
            std::memcpy(BPFakeMakeBlock(kTKCommBlockName, kTKUICommBytes + 4), &block, sizeof block);
            host_.Block()->pixelFlags = 0;
            const uint64_t address = reinterpret_cast<uintptr_t>(pixels); // as this machine writes it
            std::memcpy(host_.Pixels(), &address, sizeof address);
            session_->hostInProcess = vouchedFor;
            ASSERT_NE(TKOpenCommBlock(session_), nullptr);
            session_->hostSwapped = true;
            TKSwapCommBlock(session_, host_.Block());
            ASSERT_EQ(TKAdoptBlock(session_), tkAttached);
            // frameRowBytes times frameHeight bytes, and not one more; nothing at an address that nobody vouches for.
            EXPECT_EQ(std::vector<uint8_t>(pixels, pixels + sizeof pixels), vouchedFor ? right : turned) << rowBytes;
            ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
            EXPECT_EQ(TKLoadFrameFromHost(session_), vouchedFor ? bpNoErr : bpParamErr);
            if (vouchedFor) {
                EXPECT_TRUE(ShowsFrame(session_->sourceSurface, 3));
            }
            TearDown();
            SetUp();
        }
}

TEST_F(TKByteOrder, AFrameThatWillBeRefusedIsNotTurned)
{
    alignas(16) static uint8_t pixels[16];
    for (uint8_t i = 0; i < 16; ++i) pixels[i] = i;
    host_.Make();
    host_.Block()->frameHeight = 0xFFFFFFFF; // far beyond those bytes
    const TKUIComm block = *host_.Block();
    std::memcpy(BPFakeMakeBlock(kTKCommBlockName, kTKUICommBytes + 4), &block, sizeof block);
    host_.Block()->pixelFlags = 0;
    const uint64_t address = reinterpret_cast<uintptr_t>(pixels);
    std::memcpy(host_.Pixels(), &address, sizeof address);
    session_->hostInProcess = true;
    ASSERT_NE(TKOpenCommBlock(session_), nullptr);
    session_->hostSwapped = true;
    TKSwapCommBlock(session_, host_.Block());
    ASSERT_EQ(TKAdoptBlock(session_), tkAttached);
    for (uint8_t i = 0; i < 16; ++i) EXPECT_EQ(pixels[i], i);
    EXPECT_EQ(TKPrepareFrameWorlds(session_), bpParamErr);
}

} // namespace
