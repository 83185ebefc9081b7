// The probe: which pixel it reads, and its readings against numbers worked out by hand.
#include "tests/support/TKTestSession.h"

#include "src/platform/BPMemory.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

class TKProbeTest : public TKSessionTest {
  protected:
    void SetUp() override
    {
        TKSessionTest::SetUp();
        ASSERT_EQ(StartUp(), tkStartRun);
        session_->views.probeOn = true;
        session_->prefs.videoSystem = 3; // 709
        session_->prefs.videoBlackLevel = 0;
        session_->prefs.videoWhiteLevel = 255;
        session_->prefs.videoBlackSetupPresent = 0;
        session_->prefs.wfmUnitsMV = 0;
    }
    /// The reading of a pixel of these 8-bit values in the result's surface.
    TKProbeReading Read(uint8_t red, uint8_t green, uint8_t blue, int32_t x = 3, int32_t y = 2)
    {
        const ScopeSurface& surface = session_->resultSurface;
        uint8_t* pixel =
            surface.pixels + static_cast<size_t>(y) * surface.rowBytes + static_cast<size_t>(x) * 4; // alpha first
        pixel[1] = red;
        pixel[2] = green;
        pixel[3] = blue;
        TKMoveProbe(session_, true, x, y);
        return TKReadProbe(session_);
    }
    /// Into the frame behind the same pixel.
    void WriteFloats(float red, float green, float blue, int32_t x = 3, int32_t y = 2)
    {
        const FBFrame& frame = *session_->resultFrame;
        const float values[3] = {red, green, blue};
        for (uint32_t plane = 0; plane < 3; ++plane) {
            uint8_t* row = frame.baseAddr + plane * frame.planeBytes + static_cast<uint32_t>(y) * frame.rowBytes;
            std::memcpy(row + static_cast<size_t>(x) * sizeof(float), &values[plane], sizeof(float));
        }
    }
    double Level(uint8_t red, uint8_t green, uint8_t blue) { return Read(red, green, blue).level; }
    double Grey(uint8_t grey) { return Level(grey, grey, grey); }
    void SetRange(int32_t black, int32_t white, uint32_t setup)
    {
        session_->prefs.videoBlackLevel = black;
        session_->prefs.videoWhiteLevel = white;
        session_->prefs.videoBlackSetupPresent = setup;
    }
    static std::string Text(const TKProbeReading& reading)
    {
        char text[192];
        TKProbeText(reading, text, sizeof text);
        return text;
    }
};

} // namespace

TEST_F(TKProbeTest, LumaInIREGoesByTheWeightsOfTheVideoSystem)
{
    // 0.2126 x 128 + 0.7152 x 64 + 0.0722 x 32 = 75.296; of 255: 29.5278 %.
    EXPECT_NEAR(Level(128, 64, 32), 29.5278, 1e-4);
    EXPECT_NEAR(Level(255, 0, 0), 21.26, 1e-9);
    EXPECT_NEAR(Level(0, 255, 0), 71.52, 1e-9);
    EXPECT_NEAR(Level(0, 0, 255), 7.22, 1e-9);
    for (const uint32_t system : {1u, 2u}) { // NTSC and PAL: ITU.R BT.601
        session_->prefs.videoSystem = system;
        EXPECT_NEAR(Level(255, 0, 0), 29.9, 1e-9);
        EXPECT_NEAR(Level(0, 255, 0), 58.7, 1e-9);
        EXPECT_NEAR(Level(0, 0, 255), 11.4, 1e-9);
    }
    session_->prefs.videoSystem = 4; // SMPTE 240M
    EXPECT_NEAR(Level(255, 0, 0), 21.2, 1e-9);
    EXPECT_NEAR(Level(0, 255, 0), 70.1, 1e-9);
    EXPECT_NEAR(Level(0, 0, 255), 8.7, 1e-9);
}

TEST_F(TKProbeTest, BlackAndWhiteLevelsAreZeroAndAHundredIRE)
{
    SetRange(16, 235, 0);
    EXPECT_NEAR(Grey(16), 0, 1e-9);
    EXPECT_NEAR(Grey(235), 100, 1e-9);
    EXPECT_NEAR(Grey(126), 50.2283, 1e-4);  // 110 of 219
    EXPECT_NEAR(Grey(255), 109.1324, 1e-4); // 239 of 219
    EXPECT_NEAR(Grey(0), -7.3059, 1e-4);    // -16 of 219
}

TEST_F(TKProbeTest, WithSetupBlackIsSevenAndAHalfIRE)
{
    SetRange(0, 255, 1);
    EXPECT_NEAR(Grey(0), 7.5, 1e-9);
    EXPECT_NEAR(Grey(255), 100, 1e-9);
    EXPECT_NEAR(Grey(51), 26, 1e-9); // a fifth of the way: 7.5 + 92.5 / 5
}

TEST_F(TKProbeTest, MillivoltsAreSevenToTheIREAsTheMonitorsLinesAre)
{
    session_->prefs.wfmUnitsMV = 1;
    for (const uint32_t system : {1u, 2u, 3u, 4u}) {
        session_->prefs.videoSystem = system;
        EXPECT_NEAR(Grey(255), 700, 1e-6) << system;
        EXPECT_NEAR(Grey(51), 140, 1e-6) << system;
    }
    session_->prefs.videoSystem = 1;
    SetRange(0, 255, 1);
    EXPECT_NEAR(Grey(0), 52.5, 1e-9); // 7.5 IRE
    EXPECT_TRUE(Read(0, 0, 0).inMillivolts);
}

TEST_F(TKProbeTest, ARangeThatCannotBeScaledReadsZero)
{
    for (const int32_t white : {0, -5}) {
        SetRange(0, white, 0);
        EXPECT_EQ(Grey(128), 0);
    }
}

TEST_F(TKProbeTest, TheTextTellsPlaceEightBitsTenBitsFloatAndLevel)
{
    session_->imagePaneMode = tkImageReference; // a surface without a frame: the floats are those of the 8 bits
    ASSERT_EQ(ScopeSurfaceCreate(8, 6, &session_->views.referenceSurface), bpNoErr);
    const ScopeSurface& surface = session_->views.referenceSurface;
    uint8_t* pixel = surface.pixels + 2 * size_t{surface.rowBytes} + 3 * 4;
    pixel[1] = 128;
    pixel[2] = 64;
    pixel[3] = 32;
    TKMoveProbe(session_, true, 3, 2);
    // Ten bits: 128 x 1023 / 255 = 513.5, 64: 256.8, 32: 128.4, the nearest each. 128 / 255 = 0.50196.
    EXPECT_EQ(Text(TKReadProbe(session_)),
              "3, 2   8-bit 128 64 32   10-bit 514 257 128   0.5020 0.2510 0.1255   29.5 IRE");
    session_->prefs.wfmUnitsMV = 1;
    const std::string inMillivolts = Text(TKReadProbe(session_));
    EXPECT_EQ(inMillivolts.substr(inMillivolts.size() - 8), "206.7 mV"); // 29.5278 x 7 = 206.69
}

TEST_F(TKProbeTest, BlackAndWhiteAreZeroAndTheWholeRangeInTenBits)
{
    const auto ten = [this](float red, float green, float blue) {
        WriteFloats(red, green, blue);
        const std::string text = Text(Read(9, 9, 9));
        const size_t from = text.find("10-bit ");
        return from == std::string::npos ? "" : text.substr(from + 7, text.find("   ", from) - from - 7);
    };
    EXPECT_EQ(ten(0, 1, 0.5f), "0 1023 512"); // 511.5: half away from zero
    EXPECT_EQ(ten(-0.25f, 1.25f, 0.0004f), "0 1023 0");
    EXPECT_EQ(ten(std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                  -std::numeric_limits<float>::infinity()),
              "0 1023 0");
}

TEST_F(TKProbeTest, EveryCodeOfTenBitsIsTold)
{
    for (int code = 0; code < 1024; ++code) {
        const float value = static_cast<float>(code) / 1023;
        WriteFloats(value, value, value);
        const auto eight = static_cast<uint8_t>(std::lround(value * 255)); // what the surface shows of it
        const std::string number = std::to_string(code);
        EXPECT_NE(Text(Read(eight, eight, eight)).find("10-bit " + number + " " + number + " " + number + "   "),
                  std::string::npos)
            << code;
    }
}

TEST_F(TKProbeTest, TheFloatIsTheFramesOwnAboveWhiteToo)
{
    auto* row = reinterpret_cast<float*>(session_->resultFrame->baseAddr + 2 * session_->resultFrame->rowBytes);
    row[3] = 1.25f; // of the first plane, red
    const TKProbeReading reading = Read(255, 0, 0);
    EXPECT_EQ(reading.rgb[0], 1.25f);
    EXPECT_EQ(reading.pixel.red, 255);
    EXPECT_NE(Text(reading).find("1.2500"), std::string::npos);
}

TEST_F(TKProbeTest, TheAlphaIsThePicturesOwn)
{
    EXPECT_EQ(Read(1, 2, 3).pixel.alpha, 0xFF);
    session_->resultSurface.pixels[2 * session_->resultSurface.rowBytes + 3 * 4] = 0x40;
    EXPECT_EQ(Read(1, 2, 3).pixel.alpha, 0x40);
}

TEST_F(TKProbeTest, ThePictureInViewIsRead)
{
    (void)Read(10, 10, 10);
    EXPECT_EQ(TKReadProbe(session_).pixel.red, 10);
    session_->imagePaneMode = tkImageSource;
    EXPECT_EQ(TKReadProbe(session_).pixel.blue, 200); // what the host painted
    session_->imagePaneMode = tkImageReference;       // there is none
    EXPECT_FALSE(TKReadProbe(session_).valid);
    session_->imagePaneMode = tkImageResult;
    session_->views.previewPlaying = true;
    EXPECT_FALSE(TKReadProbe(session_).valid);
}

TEST_F(TKProbeTest, WhereTheViewShowsAnotherSideTheTextNamesTheResult)
{
    ASSERT_EQ(ScopeSurfaceCreate(session_->resultSurface.width, session_->resultSurface.height,
                                 &session_->views.referenceSurface),
              bpNoErr);
    (void)Read(10, 20, 30);
    const struct {
        int32_t mode;
        const char* begins;
    } cases[] = {{tkImageResult, "3, 2   8-bit 10 20 30 "},
                 {tkImageSource, "3, 2   8-bit "},
                 {tkImageReference, "3, 2   8-bit 0 0 0 "},
                 {tkImageSplitSource, "Result   3, 2   8-bit 10 20 30 "},
                 {tkImageSplitReference, "Result   3, 2   8-bit 10 20 30 "},
                 {tkImageLumaRanges, "Result   3, 2   8-bit 10 20 30 "}};
    for (const auto& each : cases) {
        session_->imagePaneMode = each.mode;
        const TKProbeReading reading = TKReadProbe(session_);
        ASSERT_TRUE(reading.valid) << each.mode;
        EXPECT_EQ(Text(reading).substr(0, std::strlen(each.begins)), each.begins) << each.mode;
        char words[256];
        TKDisplaysText(session_, tkScopesPane, words, sizeof words);
        EXPECT_NE(std::string(words).find(each.begins), std::string::npos) << words;
    }
}

TEST_F(TKProbeTest, OutsideThePictureAndWhileItIsOffThereIsNoReadingAndNoText)
{
    const int32_t width = static_cast<int32_t>(session_->resultSurface.width);
    const int32_t height = static_cast<int32_t>(session_->resultSurface.height);
    const struct {
        int32_t x, y;
    } outside[] = {{-1, 0}, {0, -1}, {width, 0}, {0, height}, {INT32_MAX, INT32_MIN}};
    for (const auto& place : outside) {
        TKMoveProbe(session_, true, place.x, place.y);
        EXPECT_FALSE(TKReadProbe(session_).valid) << place.x << ", " << place.y;
        EXPECT_EQ(Text(TKReadProbe(session_)), "");
    }
    TKMoveProbe(session_, true, width - 1, height - 1);
    EXPECT_TRUE(TKReadProbe(session_).valid);
    TKMoveProbe(session_, false, width - 1, height - 1);
    EXPECT_FALSE(TKReadProbe(session_).valid);
    session_->views.probeOn = false;
    TKMoveProbe(session_, true, 1, 1);
    EXPECT_FALSE(TKReadProbe(session_).valid);
    session_->views.probeOn = true; // it begins where the pointer is
    EXPECT_TRUE(TKReadProbe(session_).valid);
}

TEST_F(TKProbeTest, APlaceWithinThePictureIsTheMiddleOfItsPixel)
{
    const double width = session_->resultSurface.width;
    EXPECT_DOUBLE_EQ(Read(1, 2, 3, 0, 0).pixel.across, 0.5 / width);
    EXPECT_DOUBLE_EQ(Read(1, 2, 3, 7, 0).pixel.across, 7.5 / width);
}

TEST_F(TKProbeTest, TheMarksOfAPlaceAreDrawnOnceUntilThePixelTheSelectionOrAPreferenceIsAnother)
{
    ScopeProbeMark marks[kScopePaneMarkLimit];
    session_->views.analysisTab = scopeTabLumaWFM + 2;
    session_->views.window.analysisTab = scopeTabLumaWFM;
    (void)Read(200, 120, 60);
    const auto find = [&](TKScopePlace place, int32_t* count) {
        BPFailAllocation(0);
        *count = TKFindProbe(session_, place, 320, 240, marks);
        return BPAllocationCount() != 0;
    };
    int32_t count = 0;
    EXPECT_TRUE(find(tkScopesPane, &count));
    EXPECT_EQ(count, 3);
    EXPECT_TRUE(find(tkScopesWindow, &count));
    EXPECT_EQ(count, 1) << "a selection of its own";
    EXPECT_FALSE(find(tkScopesPane, &count));
    EXPECT_EQ(count, 3);
    EXPECT_FALSE(find(tkScopesWindow, &count));
    (void)Read(201, 120, 60); // a grade moved on
    EXPECT_TRUE(find(tkScopesPane, &count));
    session_->prefs.videoWhiteLevel = 235;
    EXPECT_TRUE(find(tkScopesPane, &count));
    session_->views.analysisTab = scopeTabLumaWFM;
    EXPECT_TRUE(find(tkScopesPane, &count));
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(find(tkScopesPane, &count));
    TKMoveProbe(session_, false, 0, 0);
    EXPECT_FALSE(find(tkScopesPane, &count));
    EXPECT_EQ(count, 0);
}

TEST_F(TKProbeTest, AShortTextIsCutAndEnds)
{
    const TKProbeReading reading = Read(1, 2, 3);
    char text[8] = "xxxxxxx";
    TKProbeText(reading, text, 5);
    EXPECT_STREQ(text, "3, 2");
    EXPECT_EQ(text[5], 'x');
    TKProbeText(reading, text, 0);
    EXPECT_STREQ(text, "3, 2");
}
