// The tables of the panes, and the places of their sliders.
#include "src/UI/ToolPanes.h"

#include "src/OCCatalogue.h"
#include "src/UI/UIImagePane.h"

#include <QRect>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

QRect ToRect(const TKPlace& place)
{
    return QRect(place.x, place.y, place.width, place.height);
}

} // namespace

TEST(ToolPanes, HSLShowsItsNineSlidersInOrder)
{
    const char* const labels[] = {"Hue",      "Saturation", "Vibrance", "Brightness", "Contrast", "Contrast Center",
                                  "RGB Gain", "Gamma",      "Pedestal"};
    const TKPaneRow& pane = TKToolPanes()[0];
    ASSERT_EQ(pane.sliders.size(), std::size(labels));
    for (size_t i = 0; i < std::size(labels); ++i) EXPECT_STREQ(pane.sliders[i].label, labels[i]);
}

TEST(ToolPanes, RGBShowsGammaPedestalGainOfMasterRedGreenBlue)
{
    const TKPaneRow& pane = TKToolPanes()[1];
    ASSERT_EQ(pane.sliders.size(), 12u);
    size_t i = 0;
    for (const char* group : {"Master", "Red", "Green", "Blue"})
        for (const char* what : {"Gamma", "Pedestal", "Gain"})
            EXPECT_EQ(pane.sliders[i++].label, std::string(group) + " " + what);
}

TEST(ToolPanes, TabsFollowTheOrderOfTheProduct)
{
    for (const TKPaneRow& pane : TKToolPanes()) {
        ASSERT_EQ(pane.pages.size(), 4u);
        const char* const ranges[] = {"Master", "Highlights", "Midtones", "Shadows"};
        for (size_t i = 0; i < 4; ++i) EXPECT_STREQ(pane.pages[i].label, ranges[i]);
    }
}

TEST(ToolPanes, EveryBindingIsTheFieldThatTheCatalogueNames)
{
    // The pedestal of a group bears the name of its gain there, so it is looked up by its place.
    for (const TKPaneRow& pane : TKToolPanes())
        for (const TKPageRow& page : pane.pages)
            for (const TKSliderRow& row : pane.sliders) {
                const uint32_t offset = page.blockOffset + row.offset;
                const std::string key = std::string(page.prefix) + "_" + row.objectName;
                bool found = false;
                for (const OCKeyRow& named : OCParameterKeys())
                    found =
                        found || (named.offset == offset &&
                                  (named.key == key || std::string(named.key) == std::string(page.prefix) + "_gain"));
                EXPECT_TRUE(found || std::string(row.objectName) == "pedestal") << key;
            }
}

TEST(ToolPanes, SlidersNeverOverlapAndStayOnTheirPage)
{
    for (const TKPaneRow& pane : TKToolPanes())
        for (int width = 200; width <= 2600; width += 7) {
            std::vector<QRect> taken = {ToRect(TKResetPlace(pane, width))};
            for (uint32_t i = 0; i < pane.sliders.size(); ++i) {
                const QRect rect = ToRect(TKSliderPlace(pane, i, width));
                EXPECT_GE(rect.width(), kTKLeastSliderWidth);
                EXPECT_LE(rect.width(), kTKMostSliderWidth);
                if (width >= 260) {
                    EXPECT_LE(rect.right(), width - 1) << pane.label << " at " << width;
                }
                for (const QRect& other : taken) ASSERT_FALSE(rect.intersects(other)) << pane.label << " at " << width;
                taken.push_back(rect);
                EXPECT_LT(rect.bottom(), TKPageHeight(pane, width));
            }
        }
}

TEST(ToolPanes, ANarrowPaneStillHasSlidersOf220)
{
    EXPECT_EQ(TKSliderPlace(TKToolPanes()[0], 0, 120).width, 220);
}

TEST(ToolPanes, OnASmallScreenAllSlidersOfAPageAreInSightAtOnce)
{
    constexpr int width = 1024 - 16;
    constexpr int height = kTKLeastToolHeight - 70;
    for (const TKPaneRow& pane : TKToolPanes()) EXPECT_LE(TKPageHeight(pane, width), height) << pane.label;
}

TEST(UIImagePane, APictureIsFittedWithItsShape)
{
    const struct {
        uint32_t width, height;
        float aspect;
        int areaWidth, areaHeight;
        TKImageRect expected;
    } cases[] = {
        {1920, 1080, 1, 960, 540, {0, 0, 960, 540}},           {1920, 1080, 1, 960, 1000, {0, 230, 960, 540}},
        {1920, 1080, 1, 2000, 540, {520, 0, 960, 540}},        {720, 576, 16.0f / 15.0f, 768, 576, {0, 0, 768, 576}},
        {1440, 1080, 4.0f / 3.0f, 960, 540, {0, 0, 960, 540}},
    };
    for (const auto& c : cases) {
        const TKImageRect rect = TKFitPicture(c.width, c.height, c.aspect, c.areaWidth, c.areaHeight);
        EXPECT_EQ(rect.x, c.expected.x);
        EXPECT_EQ(rect.y, c.expected.y);
        EXPECT_EQ(rect.width, c.expected.width);
        EXPECT_EQ(rect.height, c.expected.height);
    }
}

TEST(UIImagePane, AnyShapeStaysInsideTheArea)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (uint32_t width : {1u, 2u, 999u, 65535u})
        for (uint32_t height : {1u, 3u, 1000u, 65535u})
            for (float aspect : {1e-30f, 0.5f, 1.0f, 1e30f, infinity, -1.0f, std::nanf("")})
                for (int area : {1, 7, 4000}) {
                    const TKImageRect rect = TKFitPicture(width, height, aspect, area, 300);
                    EXPECT_GE(rect.width, 1);
                    EXPECT_GE(rect.height, 1);
                    EXPECT_GE(rect.x, 0);
                    EXPECT_GE(rect.y, 0);
                    EXPECT_LE(rect.x + rect.width, area);
                    EXPECT_LE(rect.y + rect.height, 300);
                }
    EXPECT_EQ(TKFitPicture(0, 10, 1, 100, 100).width, 0);
    EXPECT_EQ(TKFitPicture(10, 10, 1, 0, 100).width, 0);
}

TEST(UIImagePane, SurfaceBytesBecomeOpaqueWords)
{
    ScopeSurface surface = {};
    ASSERT_EQ(ScopeSurfaceCreate(5, 2, &surface), bpNoErr);
    uint8_t* pixel = surface.pixels + surface.rowBytes + 2 * 4;
    pixel[0] = 0x40; // alpha
    pixel[1] = 0x11;
    pixel[2] = 0x22;
    pixel[3] = 0x33;
    uint32_t words[2][6];
    for (auto& row : words)
        for (uint32_t& word : row) word = 7;
    TKSurfaceToWords(surface, &words[0][0], 6);
    EXPECT_EQ(words[1][2], 0xFF112233u);
    EXPECT_EQ(words[0][0], 0xFF000000u);
    EXPECT_EQ(words[0][5], 7u); // beyond the width
    ScopeSurfaceDispose(&surface);
}
