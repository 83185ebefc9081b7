// Rendering through the C interface: every pair of formats against the whole-frame road of the application, images that
// lie in every way, and images that are refused.
#include "host/OchrineObjects.h"
#include "src/MPTasks.h"
#include "src/platform/BPMemory.h"
#include "tests/CoreTest.h"

#include <cstring>
#include <thread>

extern "C" int OchrineRoundInC(float* rgba, uint32_t width, uint32_t height, double gain);

namespace {

constexpr uint32_t kFormats[] = {OCHRINE_ARGB8,        OCHRINE_ARGB16_32K, OCHRINE_YRGB_FLOAT, OCHRINE_RGBA_FLOAT,
                                 OCHRINE_PLANAR_FLOAT, OCHRINE_ABGR8,      OCHRINE_VUYA8,      OCHRINE_VUYA_FLOAT,
                                 OCHRINE_YUYV10_601,   OCHRINE_YUYV10_709, OCHRINE_BGRA_FLOAT, OCHRINE_RGB16_PLANAR,
                                 OCHRINE_BGRA8,        OCHRINE_UYVA8,      OCHRINE_UYVA8R};
constexpr uint8_t kGuard = 0xA5;

uint32_t PlanesOf(uint32_t format, bool target)
{
    if (format == OCHRINE_RGB16_PLANAR) return 3;
    return format == OCHRINE_PLANAR_FLOAT ? (target ? 4 : 3) : 1;
}

bool IsFloat(uint32_t format)
{
    return format == OCHRINE_YRGB_FLOAT || format == OCHRINE_RGBA_FLOAT || format == OCHRINE_PLANAR_FLOAT ||
           format == OCHRINE_VUYA_FLOAT || format == OCHRINE_BGRA_FLOAT;
}

/// An image in memory of its own, with guard bytes around and between its rows.
class Picture {
  public:
    Picture(uint32_t format, uint32_t width, uint32_t height, uint32_t orientation, size_t gap = 8)
    {
        rowPixels_ = ochrine_row_bytes(width, format);
        image.width = width;
        image.height = height;
        image.format = format;
        image.orientation = orientation;
        image.row_bytes = (rowPixels_ + 3) / 4 * 4 + gap;
        planes_ = PlanesOf(format, true);
        image.plane_bytes = planes_ > 1 ? image.row_bytes * height + 16 : 0;
        image.size = (planes_ - 1) * image.plane_bytes + (height - 1) * image.row_bytes + rowPixels_;
        memory_.assign(image.size + 64, kGuard);
        image.pixels = memory_.data() + 32;
    }
    uint8_t* Row(uint32_t plane, uint32_t row) // from the top
    {
        const uint32_t lies = image.orientation == OCHRINE_TOP_DOWN ? row : image.height - 1 - row;
        return memory_.data() + 32 + plane * image.plane_bytes + lies * image.row_bytes;
    }
    void Fill(Random& random)
    {
        for (uint32_t plane = 0; plane < planes_; ++plane)
            for (uint32_t row = 0; row < image.height; ++row)
                for (size_t i = 0; i < rowPixels_; i += 4) {
                    auto word = static_cast<uint32_t>(random());
                    const float value = RandomSignal(random);
                    if (IsFloat(image.format)) std::memcpy(&word, &value, 4);
                    std::memcpy(Row(plane, row) + i, &word, std::min<size_t>(4, rowPixels_ - i));
                }
    }
    /// Rows from the top without anything between them.
    std::vector<uint8_t> Pixels()
    {
        std::vector<uint8_t> all;
        for (uint32_t plane = 0; plane < planes_; ++plane)
            for (uint32_t row = 0; row < image.height; ++row)
                all.insert(all.end(), Row(plane, row), Row(plane, row) + rowPixels_);
        return all;
    }
    /// The bytes that are no pixels.
    bool GuardsAreWhole()
    {
        std::vector<uint8_t> copy = memory_;
        for (uint32_t plane = 0; plane < planes_; ++plane)
            for (uint32_t row = 0; row < image.height; ++row)
                std::memset(copy.data() + (Row(plane, row) - memory_.data()), kGuard, rowPixels_);
        return copy == std::vector<uint8_t>(copy.size(), kGuard);
    }
    size_t RowPixels() const { return rowPixels_; }
    ochrine_image image{};

  private:
    size_t rowPixels_ = 0;
    uint32_t planes_ = 0;
    std::vector<uint8_t> memory_{};
};

/// The road of the application: whole frames, one task. Takes and gives rows from the top.
std::vector<uint8_t> WholeFrames(const OCSettings& grade, Picture& source, uint32_t targetFormat)
{
    const uint32_t width = source.image.width, height = source.image.height;
    static const EnginePtr engine = MakeEngine(); // tables of the same grade are kept
    const LogCatch quiet;
    OCUpdateParameters(engine.get(), &grade);
    const FramePtr in = MakeFrame(width, height), out = MakeFrame(width, height);
    std::vector<uint8_t> pixels = source.Pixels();
    const size_t rowPixels = source.RowPixels();
    if (source.image.format == OCHRINE_PLANAR_FLOAT) {
        for (uint32_t plane = 0; plane < 3; ++plane)
            for (uint32_t row = 0; row < height; ++row)
                std::memcpy(&At(*in, plane, row, 0), &pixels[(plane * height + row) * rowPixels], rowPixels);
    } else {
        FBTransferPixToFBFrame(pixels.data(), static_cast<uint32_t>(rowPixels),
                               static_cast<uint32_t>(rowPixels * height),
                               static_cast<FBPixelFormat>(source.image.format), in.get(), 1, nullptr);
    }
    ProcessImage(engine.get(), in.get(), out.get(), &grade, 0, 1, nullptr);
    const size_t outBytes = ochrine_row_bytes(width, targetFormat);
    std::vector<uint8_t> result(outBytes * height * PlanesOf(targetFormat, true));
    if (targetFormat == OCHRINE_PLANAR_FLOAT) {
        for (uint32_t plane = 0; plane < 4; ++plane)
            for (uint32_t row = 0; row < height; ++row)
                std::memcpy(&result[(plane * height + row) * outBytes], &At(*out, plane, row, 0), outBytes);
    } else {
        FBTransferFBFrameToPix(out.get(), nullptr, result.data(), static_cast<uint32_t>(outBytes),
                               static_cast<FBPixelFormat>(targetFormat), 1, nullptr);
    }
    return result;
}

/// Equal bytes, or both NaN where they are floats.
testing::AssertionResult Same(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b, uint32_t format)
{
    if (a.size() != b.size()) return testing::AssertionFailure() << a.size() << " and " << b.size() << " bytes";
    for (size_t i = 0; i + 4 <= a.size(); i += 4) {
        if (std::memcmp(&a[i], &b[i], 4) == 0) continue;
        float x, y;
        std::memcpy(&x, &a[i], 4);
        std::memcpy(&y, &b[i], 4);
        if (IsFloat(format) && SameFloat(x, y)) continue;
        return testing::AssertionFailure() << "at byte " << i << ": " << x << " and " << y;
    }
    if (std::memcmp(a.data() + a.size() / 4 * 4, b.data() + a.size() / 4 * 4, a.size() % 4) != 0)
        return testing::AssertionFailure() << "in the last bytes";
    return testing::AssertionSuccess();
}

struct RendererRelease {
    void operator()(ochrine_renderer* renderer) const { ochrine_renderer_destroy(renderer); }
};
using RendererPtr = std::unique_ptr<ochrine_renderer, RendererRelease>;

RendererPtr MakeRenderer(uint32_t threads, const OCSettings& settings)
{
    ochrine_renderer* renderer = nullptr;
    EXPECT_EQ(ochrine_renderer_create(threads, &renderer), OCHRINE_OK);
    const ochrine_grade grade = {settings};
    EXPECT_EQ(ochrine_renderer_set_grade(renderer, &grade), OCHRINE_OK);
    return RendererPtr(renderer);
}

OCSettings SomeGrade(Random& random)
{
    return RandomGrade(random, 1u << toolHSLMaster | 1u << toolRGBRanges | 1u << toolRGBCurves | 1u << toolLevels,
                       reachKnob);
}

} // namespace

TEST(OchrineRender, EveryPairOfFormatsHasTheBitsOfWholeFrames)
{
    Random random(41);
    const OCSettings grade = SomeGrade(random);
    for (uint32_t threads : {1u, 3u}) {
        const RendererPtr renderer = MakeRenderer(threads, grade);
        for (uint32_t from : kFormats)
            for (uint32_t to : kFormats) {
                if (!ochrine_can_read(from) || !ochrine_can_write(to)) continue;
                for (uint32_t width : {1u, 2u, 5u, 16u, 67u}) {
                    Picture source(from, width, 11, OCHRINE_TOP_DOWN), target(to, width, 11, OCHRINE_TOP_DOWN);
                    source.Fill(random);
                    const std::vector<uint8_t> before = source.Pixels();
                    ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
                    EXPECT_TRUE(Same(WholeFrames(grade, source, to), target.Pixels(), to))
                        << from << " to " << to << ", width " << width << ", threads " << threads;
                    EXPECT_EQ(source.Pixels(), before);
                    EXPECT_TRUE(target.GuardsAreWhole()) << from << " to " << to << ", width " << width;
                    EXPECT_TRUE(source.GuardsAreWhole());
                }
            }
    }
}

TEST(OchrineRender, FifteenFormatsAreKnown)
{
    uint32_t read = 0, written = 0;
    for (uint32_t format : kFormats) {
        read += ochrine_can_read(format) == 1;
        written += ochrine_can_write(format) == 1;
        EXPECT_GT(ochrine_row_bytes(1, format), 0u) << format;
    }
    EXPECT_EQ(read, 14u);
    EXPECT_EQ(written, 12u);
    for (uint32_t format : {0u, 1u, 205u, 216u, 217u, 0x62363461u, 0x76323130u, 0x7234666cu, 0xFFFFFFFFu}) {
        EXPECT_EQ(ochrine_can_read(format), 0) << format;
        EXPECT_EQ(ochrine_can_write(format), 0) << format;
        EXPECT_EQ(ochrine_row_bytes(16, format), 0u) << format;
    }
    EXPECT_EQ(ochrine_row_bytes(5, OCHRINE_YUYV10_709), 24u);
    EXPECT_EQ(ochrine_row_bytes(5, OCHRINE_RGB16_PLANAR), 10u);
    EXPECT_EQ(ochrine_row_bytes(OCHRINE_SIDE_LIMIT + 1, OCHRINE_ARGB8), 0u);
}

TEST(OchrineRender, PicturesMayStandOnTheirHeads)
{
    Random random(42);
    const OCSettings grade = SomeGrade(random);
    const RendererPtr renderer = MakeRenderer(2, grade);
    for (uint32_t from : {OCHRINE_TOP_DOWN, OCHRINE_BOTTOM_UP})
        for (uint32_t to : {OCHRINE_TOP_DOWN, OCHRINE_BOTTOM_UP})
            for (uint32_t format : {OCHRINE_RGBA_FLOAT, OCHRINE_PLANAR_FLOAT, OCHRINE_YUYV10_601}) {
                Picture source(format, 19, 33, from), target(OCHRINE_ARGB8, 19, 33, to);
                source.Fill(random);
                ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
                EXPECT_TRUE(Same(WholeFrames(grade, source, OCHRINE_ARGB8), target.Pixels(), OCHRINE_ARGB8))
                    << from << ' ' << to << ' ' << format;
                EXPECT_TRUE(target.GuardsAreWhole());
            }
}

TEST(OchrineRender, APictureMayBeRenderedInPlace)
{
    Random random(43);
    const OCSettings grade = SomeGrade(random);
    const RendererPtr renderer = MakeRenderer(2, grade);
    for (uint32_t format : kFormats) {
        if (!ochrine_can_read(format) || !ochrine_can_write(format)) continue;
        Picture picture(format, 37, 40, OCHRINE_BOTTOM_UP);
        picture.Fill(random);
        const std::vector<uint8_t> expected = WholeFrames(grade, picture, format);
        ASSERT_EQ(ochrine_render(renderer.get(), &picture.image, &picture.image, 0), OCHRINE_OK);
        EXPECT_TRUE(Same(expected, picture.Pixels(), format)) << format;
        EXPECT_TRUE(picture.GuardsAreWhole());
    }
}

TEST(OchrineRender, RowsMayComeInPieces)
{
    Random random(44);
    const OCSettings grade = SomeGrade(random);
    const RendererPtr renderer = MakeRenderer(2, grade);
    Picture source(OCHRINE_BGRA_FLOAT, 50, 61, OCHRINE_TOP_DOWN), target(OCHRINE_ARGB16_32K, 50, 61, OCHRINE_TOP_DOWN);
    source.Fill(random);
    for (uint32_t first : {40u, 0u, 7u}) {
        const uint32_t rows = first == 40 ? 21 : first == 0 ? 7 : 33;
        ochrine_image from = source.image, to = target.image;
        from.pixels = source.Row(0, first);
        to.pixels = target.Row(0, first);
        from.height = to.height = rows;
        from.size = (rows - 1) * from.row_bytes + source.RowPixels();
        to.size = (rows - 1) * to.row_bytes + target.RowPixels();
        ASSERT_EQ(ochrine_render(renderer.get(), &from, &to, 0), OCHRINE_OK);
    }
    EXPECT_TRUE(Same(WholeFrames(grade, source, OCHRINE_ARGB16_32K), target.Pixels(), OCHRINE_ARGB16_32K));
}

TEST(OchrineRender, AlphaIsKeptOnRequestAlsoInPlace)
{
    struct Place {
        uint32_t format;
        size_t pixel, offset, size;
    };
    const Place places[] = {{OCHRINE_ARGB8, 4, 3, 1},        {OCHRINE_BGRA8, 4, 0, 1},
                            {OCHRINE_ARGB16_32K, 8, 0, 2},   {OCHRINE_YRGB_FLOAT, 16, 0, 4},
                            {OCHRINE_RGBA_FLOAT, 16, 12, 4}, {OCHRINE_VUYA8, 4, 3, 1},
                            {OCHRINE_VUYA_FLOAT, 16, 12, 4}, {OCHRINE_BGRA_FLOAT, 16, 12, 4}};
    Random random(45);
    const OCSettings grade = SomeGrade(random);
    const RendererPtr renderer = MakeRenderer(2, grade);
    for (const Place& place : places)
        for (bool inPlace : {false, true}) {
            Picture source(place.format, 23, 17, OCHRINE_TOP_DOWN), other(place.format, 23, 17, OCHRINE_TOP_DOWN);
            source.Fill(random);
            std::vector<uint8_t> expected = WholeFrames(grade, source, place.format);
            const std::vector<uint8_t> before = source.Pixels();
            for (size_t i = place.offset; i < expected.size(); i += place.pixel)
                std::memcpy(&expected[i], &before[i], place.size);
            Picture& target = inPlace ? source : other;
            ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, OCHRINE_KEEP_ALPHA), OCHRINE_OK);
            EXPECT_TRUE(Same(expected, target.Pixels(), place.format)) << place.format << ' ' << inPlace;
            EXPECT_TRUE(target.GuardsAreWhole());
        }
}

TEST(OchrineRender, AlphaCanOnlyBeKeptWhereBothHaveIt)
{
    const RendererPtr renderer = MakeRenderer(1, NeutralGrade());
    const struct {
        uint32_t from, to;
    } rows[] = {{OCHRINE_ARGB8, OCHRINE_BGRA8},
                {OCHRINE_YUYV10_601, OCHRINE_YUYV10_601},
                {OCHRINE_PLANAR_FLOAT, OCHRINE_PLANAR_FLOAT},
                {OCHRINE_UYVA8, OCHRINE_VUYA8}};
    for (const auto& row : rows) {
        Picture source(row.from, 8, 8, 0), target(row.to, 8, 8, 0);
        EXPECT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, OCHRINE_KEEP_ALPHA), OCHRINE_FORMAT);
    }
}

TEST(OchrineRender, PaddingOfEarlierPicturesNeverShows)
{
    // An odd width in pairs: the partner of the last pixel comes from the band's padding.
    Random random(46);
    const OCSettings grade = SomeGrade(random);
    const RendererPtr renderer = MakeRenderer(1, grade);
    Picture source(OCHRINE_RGBA_FLOAT, 7, 9, 0), target(OCHRINE_YUYV10_709, 7, 9, 0);
    source.Fill(random);
    for (uint32_t earlier : {OCHRINE_YUYV10_601, OCHRINE_VUYA_FLOAT}) {
        Picture other(earlier, 7, 9, 0), out(OCHRINE_RGBA_FLOAT, 7, 9, 0);
        other.Fill(random);
        ASSERT_EQ(ochrine_render(renderer.get(), &other.image, &out.image, 0), OCHRINE_OK);
        ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
        EXPECT_TRUE(Same(WholeFrames(grade, source, OCHRINE_YUYV10_709), target.Pixels(), OCHRINE_YUYV10_709));
    }
}

TEST(OchrineRender, TheSizeMayChangeFromPictureToPicture)
{
    Random random(47);
    const OCSettings grade = SomeGrade(random);
    const RendererPtr renderer = MakeRenderer(4, grade);
    const uint32_t sizes[][2] = {{3, 3}, {700, 90}, {3, 1}, {64, 200}, {1, 1}, {20000, 2}, {64, 200}};
    for (const auto& size : sizes) {
        Picture source(OCHRINE_ARGB8, size[0], size[1], 0), target(OCHRINE_RGBA_FLOAT, size[0], size[1], 0);
        source.Fill(random);
        ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
        EXPECT_TRUE(Same(WholeFrames(grade, source, OCHRINE_RGBA_FLOAT), target.Pixels(), OCHRINE_RGBA_FLOAT))
            << size[0] << " x " << size[1];
    }
}

TEST(OchrineRender, ImagesThatMakeNoSenseAreRefusedAndNothingIsTouched)
{
    using Change = void (*)(ochrine_image*);
    const struct {
        const char* what;
        Change change;
        ochrine_result result;
    } rows[] = {
        {"no pixels", [](ochrine_image* i) { i->pixels = nullptr; }, OCHRINE_ARGUMENT},
        {"no width", [](ochrine_image* i) { i->width = 0; }, OCHRINE_ARGUMENT},
        {"another width", [](ochrine_image* i) { i->width = 15; }, OCHRINE_ARGUMENT},
        {"no height", [](ochrine_image* i) { i->height = 0; }, OCHRINE_ARGUMENT},
        {"another height", [](ochrine_image* i) { i->height = 8; }, OCHRINE_ARGUMENT},
        {"width beyond the limit", [](ochrine_image* i) { i->width = 0xFFFFFFFF; }, OCHRINE_ARGUMENT},
        {"height beyond the bytes", [](ochrine_image* i) { i->height = OCHRINE_SIDE_LIMIT; }, OCHRINE_ARGUMENT},
        {"height beyond the limit", [](ochrine_image* i) { i->height = 0xFFFFFFFF; }, OCHRINE_ARGUMENT},
        {"no format", [](ochrine_image* i) { i->format = 0; }, OCHRINE_FORMAT},
        {"a refused format", [](ochrine_image* i) { i->format = 0x62363461; }, OCHRINE_FORMAT},
        {"a third orientation", [](ochrine_image* i) { i->orientation = 2; }, OCHRINE_ARGUMENT},
        {"no row bytes", [](ochrine_image* i) { i->row_bytes = 0; }, OCHRINE_ARGUMENT},
        {"rows too short", [](ochrine_image* i) { i->row_bytes = 16 * 16 - 4; }, OCHRINE_ARGUMENT},
        {"rows that overflow", [](ochrine_image* i) { i->row_bytes = SIZE_MAX - 3; }, OCHRINE_ARGUMENT},
        {"rows that wrap around", [](ochrine_image* i) { i->row_bytes = SIZE_MAX / 8 + 1; }, OCHRINE_ARGUMENT},
        {"one byte too few", [](ochrine_image* i) { i->size -= 1; }, OCHRINE_ARGUMENT},
        {"no bytes", [](ochrine_image* i) { i->size = 0; }, OCHRINE_ARGUMENT},
        {"more bytes than addresses", [](ochrine_image* i) { i->size = SIZE_MAX; }, OCHRINE_ARGUMENT},
        {"planes where there are none", [](ochrine_image* i) { i->plane_bytes = 64; }, OCHRINE_ARGUMENT},
        {"odd address", [](ochrine_image* i) { i->pixels = static_cast<uint8_t*>(i->pixels) + 2; }, OCHRINE_ARGUMENT},
        {"odd rows", [](ochrine_image* i) { i->row_bytes = 16 * 16 + 2; }, OCHRINE_ARGUMENT},
    };
    const RendererPtr renderer = MakeRenderer(2, NeutralGrade());
    for (const auto& row : rows)
        for (bool isTarget : {false, true}) {
            Picture source(OCHRINE_RGBA_FLOAT, 16, 9, 0), target(OCHRINE_RGBA_FLOAT, 16, 9, 0);
            ochrine_image from = source.image, to = target.image;
            row.change(isTarget ? &to : &from);
            EXPECT_EQ(ochrine_render(renderer.get(), &from, &to, 0), row.result) << row.what << ' ' << isTarget;
            for (uint8_t byte : target.Pixels()) ASSERT_EQ(byte, kGuard) << row.what;
        }
    Picture source(OCHRINE_RGBA_FLOAT, 16, 9, 0), target(OCHRINE_RGBA_FLOAT, 16, 9, 0);
    EXPECT_EQ(ochrine_render(nullptr, &source.image, &target.image, 0), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_render(renderer.get(), nullptr, &target.image, 0), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_render(renderer.get(), &source.image, nullptr, 0), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 2), OCHRINE_ARGUMENT);
    EXPECT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
}

TEST(OchrineRender, PlanesAreCheckedToo)
{
    const RendererPtr renderer = MakeRenderer(1, NeutralGrade());
    Picture target(OCHRINE_ARGB8, 16, 9, 0);
    for (uint32_t format : {OCHRINE_PLANAR_FLOAT, OCHRINE_RGB16_PLANAR}) {
        Picture source(format, 16, 9, 0);
        ochrine_image image = source.image;
        const size_t least = 8 * image.row_bytes + source.RowPixels();
        EXPECT_EQ(ochrine_render(renderer.get(), &image, &target.image, 0), OCHRINE_OK);
        for (size_t bad :
             {size_t{0}, least - 4, image.plane_bytes + 1, image.plane_bytes * 2, size_t{1} << 40, SIZE_MAX - 3}) {
            image.plane_bytes = bad;
            EXPECT_EQ(ochrine_render(renderer.get(), &image, &target.image, 0), OCHRINE_ARGUMENT)
                << format << ' ' << bad;
        }
    }
    // Of a planar source three planes are read, the fourth need not be there.
    Picture source(OCHRINE_PLANAR_FLOAT, 16, 9, 0);
    source.image.size = 2 * source.image.plane_bytes + 8 * source.image.row_bytes + source.RowPixels();
    EXPECT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
    EXPECT_EQ(ochrine_render(renderer.get(), &target.image, &source.image, 0), OCHRINE_ARGUMENT);
}

TEST(OchrineRender, OverlappingImagesAreRefused)
{
    const RendererPtr renderer = MakeRenderer(1, NeutralGrade());
    Picture picture(OCHRINE_ARGB8, 16, 20, 0);
    ochrine_image upper = picture.image, lower = picture.image;
    upper.height = lower.height = 10;
    upper.size = lower.size = 9 * upper.row_bytes + 64;
    lower.pixels = picture.Row(0, 10);
    EXPECT_EQ(ochrine_render(renderer.get(), &upper, &lower, 0), OCHRINE_OK);
    EXPECT_EQ(ochrine_render(renderer.get(), &lower, &upper, 0), OCHRINE_OK);
    lower.pixels = picture.Row(0, 9);
    EXPECT_EQ(ochrine_render(renderer.get(), &upper, &lower, 0), OCHRINE_OVERLAP);
    EXPECT_EQ(ochrine_render(renderer.get(), &lower, &upper, 0), OCHRINE_OVERLAP);
    ochrine_image head = upper;
    head.orientation = OCHRINE_BOTTOM_UP;
    EXPECT_EQ(ochrine_render(renderer.get(), &upper, &head, 0), OCHRINE_OVERLAP);
    ochrine_image other = upper;
    other.format = OCHRINE_BGRA8;
    EXPECT_EQ(ochrine_render(renderer.get(), &upper, &other, 0), OCHRINE_OVERLAP);
}

TEST(OchrineRender, RenderersAreMadeWithSoundNumbersOfThreads)
{
    ochrine_renderer* renderer = nullptr;
    EXPECT_EQ(ochrine_renderer_create(0, &renderer), OCHRINE_OK);
    ochrine_renderer_destroy(renderer);
    renderer = reinterpret_cast<ochrine_renderer*>(8);
    EXPECT_EQ(ochrine_renderer_create(OCHRINE_THREAD_LIMIT + 1, &renderer), OCHRINE_ARGUMENT);
    EXPECT_EQ(renderer, nullptr);
    EXPECT_EQ(ochrine_renderer_create(1, nullptr), OCHRINE_ARGUMENT);
    ochrine_renderer_destroy(nullptr);
    const ochrine_grade grade = {NeutralGrade()};
    EXPECT_EQ(ochrine_renderer_set_grade(nullptr, &grade), OCHRINE_ARGUMENT);
    const RendererPtr made = MakeRenderer(1, NeutralGrade());
    EXPECT_EQ(ochrine_renderer_set_grade(made.get(), nullptr), OCHRINE_ARGUMENT);
}

TEST(OchrineRender, ANewRendererHasTheNeutralGrade)
{
    ochrine_renderer* renderer = nullptr;
    ASSERT_EQ(ochrine_renderer_create(1, &renderer), OCHRINE_OK);
    const RendererPtr owner(renderer);
    float pixel[4] = {0.25f, 1.5f, -0.5f, 0.5f};
    const ochrine_image image = {pixel, sizeof pixel, 1, 1, OCHRINE_RGBA_FLOAT, 0, sizeof pixel, 0};
    EXPECT_EQ(ochrine_render(renderer, &image, &image, 0), OCHRINE_OK);
    EXPECT_EQ(pixel[0], 0.25f);
    EXPECT_EQ(pixel[1], 1.5f);
    EXPECT_EQ(pixel[2], -0.5f);
    EXPECT_EQ(pixel[3], 1);
}

TEST(OchrineRender, AnyFailureOfMemoryOrThreadsIsReportedAndLeavesNothingBehind)
{
    const LogCatch quiet;
    uint32_t failures = 0;
    for (uint64_t request = 1; request < 60; ++request) {
        ochrine_renderer* renderer = nullptr;
        BPFailAllocation(request);
        ochrine_result result = ochrine_renderer_create(3, &renderer);
        EXPECT_EQ(renderer == nullptr, result != OCHRINE_OK);
        Picture source(OCHRINE_ARGB8, 40, 30, 0), target(OCHRINE_RGBA_FLOAT, 40, 30, 0);
        if (result == OCHRINE_OK) result = ochrine_render(renderer, &source.image, &target.image, 0);
        BPFailAllocation(0);
        if (result != OCHRINE_OK) {
            EXPECT_EQ(result, OCHRINE_NO_MEMORY) << request;
            ++failures;
            for (uint8_t byte : target.Pixels()) ASSERT_EQ(byte, kGuard);
        }
        if (renderer) {
            EXPECT_EQ(ochrine_render(renderer, &source.image, &target.image, 0), OCHRINE_OK)
                << "afterwards all is well";
        }
        ochrine_renderer_destroy(renderer);
    }
    EXPECT_GE(failures, 10u);
    for (uint64_t creation = 1; creation <= 6; ++creation) {
        ochrine_renderer* renderer = nullptr;
        BPFailThreadCreation(creation);
        EXPECT_EQ(ochrine_renderer_create(3, &renderer), OCHRINE_NO_MEMORY) << creation;
        BPFailThreadCreation(0);
        EXPECT_EQ(renderer, nullptr);
    }
}

TEST(OchrineRender, RenderersOfDifferentThreadsDoNotDisturbEachOther)
{
    Random random(48);
    const OCSettings grades[2] = {SomeGrade(random), SomeGrade(random)};
    Picture source(OCHRINE_RGBA_FLOAT, 60, 50, 0);
    source.Fill(random);
    const std::vector<uint8_t> expected[2] = {WholeFrames(grades[0], source, OCHRINE_BGRA8),
                                              WholeFrames(grades[1], source, OCHRINE_BGRA8)};
    bool same[2] = {true, true};
    const auto work = [&](uint32_t index) {
        const RendererPtr renderer = MakeRenderer(2, grades[index]);
        for (int round = 0; round < 30; ++round) {
            Picture target(OCHRINE_BGRA8, 60, 50, 0);
            same[index] = same[index] &&
                          ochrine_render(renderer.get(), &source.image, &target.image, 0) == OCHRINE_OK &&
                          target.Pixels() == expected[index];
        }
    };
    const LogCatch quiet;
    std::thread other(work, 1);
    work(0);
    other.join();
    EXPECT_TRUE(same[0]);
    EXPECT_TRUE(same[1]);
}

TEST(OchrineRender, ThereAndBackInC)
{
    float pixels[8] = {0.25f, 0.5f, 0.125f, 0.75f, -0.5f, 1, 2, 0};
    EXPECT_EQ(OchrineRoundInC(pixels, 2, 1, 2.0), OCHRINE_OK);
    const float expected[8] = {0.5f, 1, 0.25f, 0.75f, -1, 2, 4, 0};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(pixels[i], expected[i]) << i;
}

OCSettings GradeWithCurves()
{
    OCSettings settings = NeutralGrade();
    settings.curvesOn = settings.rgbCurvesOn = settings.hslCurvesOn = 1;
    for (HCurve& curve : settings.rgbCurve) curve = CurveOf({{0.0f, 0.1f}, {0.4f, 0.6f}, {1.0f, 0.9f}});
    for (HCurve& curve : settings.hslCurve) curve = CurveOf({{0.0f, 0.4f}, {0.4f, 0.6f}, {1.0f, 0.5f}});
    settings.lumaRange.lumarange_shadowx = 0.2f;
    return settings;
}

TEST(OchrineRender, AGradeWhoseTablesLackMemoryIsReportedAndCanBeSetAgain)
{
    const LogCatch quiet;
    const ochrine_grade grade = {GradeWithCurves()};
    const RendererPtr fresh = MakeRenderer(1, grade.settings);
    Picture source(OCHRINE_ARGB8, 40, 30, 0), expected(OCHRINE_RGBA_FLOAT, 40, 30, 0);
    ASSERT_EQ(ochrine_render(fresh.get(), &source.image, &expected.image, 0), OCHRINE_OK);
    uint32_t failures = 0;
    for (uint64_t request = 1; request < 40; ++request) {
        const RendererPtr renderer = MakeRenderer(1, NeutralGrade());
        BPFailAllocation(request);
        const ochrine_result result = ochrine_renderer_set_grade(renderer.get(), &grade);
        BPFailAllocation(0);
        if (result == OCHRINE_OK) break;
        EXPECT_EQ(result, OCHRINE_NO_MEMORY) << request;
        ++failures;
        ASSERT_EQ(ochrine_renderer_set_grade(renderer.get(), &grade), OCHRINE_OK);
        Picture target(OCHRINE_RGBA_FLOAT, 40, 30, 0);
        ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
        EXPECT_EQ(target.Pixels(), expected.Pixels()) << request;
    }
    EXPECT_GE(failures, 8u); // seven curves, the master's table, the ranges
    EXPECT_LT(failures, 30u);
}

TEST(OchrineRender, TheLimitsAreLoggedOnceAFrameWhateverTheBands)
{
    Random random(91);
    const OCSettings settings = RandomGrade(random, 1u << toolLimiter, reachKnob);
    for (uint32_t threads : {1u, 3u}) {
        const RendererPtr renderer = MakeRenderer(threads, settings);
        Picture source(OCHRINE_ARGB8, 40, 400, 0), target(OCHRINE_RGBA_FLOAT, 40, 400, 0); // several bands
        LogCatch log;
        ASSERT_EQ(ochrine_render(renderer.get(), &source.image, &target.image, 0), OCHRINE_OK);
        const std::string text = log.Text();
        size_t lines = 0;
        for (size_t at = text.find("Limiter is ON\n"); at != std::string::npos;
             at = text.find("Limiter is ON\n", at + 1))
            ++lines;
        EXPECT_EQ(lines, 1u) << threads;
        EXPECT_NE(text.find("lumaMax = "), std::string::npos);
    }
}
