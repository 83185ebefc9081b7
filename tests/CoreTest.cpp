#include "tests/CoreTest.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

FramePtr MakeFrame(uint32_t width, uint32_t height, FBPixelFormat format)
{
    FBFrame* frame = nullptr;
    const BPStatus err = FBCreateRGBFrameBuffer(width, height, &frame, format);
    EXPECT_EQ(err, bpNoErr);
    return FramePtr(frame);
}

EnginePtr MakeEngine()
{
    OCEngine* engine = nullptr;
    const BPStatus err = OCCreateEngine(&engine);
    EXPECT_EQ(err, bpNoErr);
    return EnginePtr(engine);
}

namespace {

// What a test does not look at is dropped: the engine writes a line with each update.
void Drop(void*, const char*, size_t) {}

class QuietLog : public testing::Environment {
  public:
    void SetUp() override { BPSetLogSink(Drop, nullptr); }
    void TearDown() override { BPSetLogSink(nullptr, nullptr); }
};

[[maybe_unused]] testing::Environment* const kQuietLog = testing::AddGlobalTestEnvironment(new QuietLog);

} // namespace

LogCatch::LogCatch()
{
    BPSetLogSink(
        [](void* context, const char* bytes, size_t byteCount) {
            auto* self = static_cast<LogCatch*>(context);
            const std::lock_guard<std::mutex> lock(self->mutex_);
            self->text_.append(bytes, byteCount);
        },
        this);
    BPSetReportHandler(
        [](void* context, const char* title, const char* text) {
            static_cast<LogCatch*>(context)->reports.push_back(std::string(title) + ": " + text);
        },
        this);
}

LogCatch::~LogCatch()
{
    BPSetLogSink(Drop, nullptr);
    BPSetReportHandler(nullptr, nullptr);
}

std::string LogCatch::Text()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return text_;
}

float& At(const FBFrame& frame, uint32_t plane, uint32_t row, uint32_t column)
{
    return reinterpret_cast<float*>(frame.baseAddr + size_t{plane} * frame.planeBytes +
                                    size_t{row} * frame.rowBytes)[column];
}

float Between(Random& random, float low, float high)
{
    return low + (high - low) * static_cast<float>(random() >> 8) / 16777216.0f;
}

float RandomBits(Random& random)
{
    return std::bit_cast<float>(static_cast<uint32_t>(random()));
}

std::vector<float> HardValues()
{
    const float inf = std::numeric_limits<float>::infinity();
    const float denormal = std::numeric_limits<float>::denorm_min();
    const float tiny = std::numeric_limits<float>::min();
    const float huge = std::numeric_limits<float>::max();
    return {0.0f,
            -0.0f,
            1.0f,
            -1.0f,
            std::nextafter(1.0f, 2.0f),
            std::nextafter(1.0f, 0.0f),
            0.5f,
            2.0f,
            5.0f,
            inf,
            -inf,
            std::numeric_limits<float>::quiet_NaN(),
            -1e-8f,
            1e-8f,
            denormal,
            -denormal,
            tiny,
            -tiny,
            huge,
            -huge,
            1e20f,
            -1e20f,
            1e-40f,
            16383.0f / 16384.0f};
}

float RandomSignal(Random& random)
{
    static const std::vector<float> hard = HardValues();
    switch (random() % 16) {
    case 0: return hard[random() % hard.size()];
    case 1: return RandomBits(random);
    case 2: return Between(random, 1, 20);
    case 3: return Between(random, -3, 0);
    case 4: return static_cast<float>(random() % 16385) / 16384.0f;
    case 5: return std::nextafter(static_cast<float>(random() % 16385) / 16384.0f, random() % 2 ? 2.0f : -1.0f);
    default: return Between(random, 0, 1);
    }
}

// Grades ---------------------------------------------------------------------------------------------------------------

OCSettings NeutralGrade()
{
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    return grade;
}

namespace {

struct Picker {
    Random& random;
    GradeReach reach;

    float operator()(float knobLow, float knobHigh, float entryLow, float entryHigh)
    {
        switch (reach) {
        case reachKnob: return Between(random, knobLow, knobHigh);
        case reachEntry: return Between(random, entryLow, entryHigh);
        case reachExtremes: return random() % 2 ? entryLow : entryHigh;
        case reachBits: return RandomBits(random);
        }
        return 0;
    }
    float operator()(float low, float high) { return (*this)(low, high, low, high); }
};

void FillHSL(OCHSLBlock* block, Picker& pick)
{
    *block = {.on = 1,
              .hue = pick(-360, 360, -3600, 3600),
              .saturation = pick(0, 300, -1000, 1000),
              .vibrance = pick(-100, 100),
              .brightness = pick(-100, 100),
              .contrast = pick(-100, 100),
              .contrastCenter = pick(0, 1),
              .gain = pick(0, 3, 0, 20),
              .gamma = pick(0.1f, 5, 0.1f, 10),
              .pedestal = pick(-1, 1)};
    // Some steps stay neutral, so that their tests of "all neutral" are reached.
    const auto skip = pick.random();
    if (skip & 1) block->hue = 0;
    if (skip & 2) block->saturation = 100;
    if (skip & 4) block->vibrance = 0;
    if (skip & 8) block->gain = 1;
    if (skip & 16) block->pedestal = 0;
}

void FillTriple(OCTriple* triple, Picker& pick)
{
    *triple = {.gain = pick(0, 3, 0, 20), .gamma = pick(0.1f, 5, 0.1f, 10), .pedestal = pick(-1, 1)};
}

void FillChannels(OCChannelBlock* block, Picker& pick)
{
    block->on = 1;
    FillTriple(&block->group, pick);
    for (OCTriple& channel : block->channel) FillTriple(&channel, pick);
    if (pick.random() % 4 == 0) // no gamma: the tables are passed by
        block->group.gamma = block->channel[0].gamma = block->channel[1].gamma = block->channel[2].gamma = 1;
}

void FillRanges(OCRanges<OCChannelBlock>* ranges, bool master, bool others, Picker& pick)
{
    if (master) FillChannels(&ranges->master, pick);
    if (!others) return;
    const auto which = pick.random() % 7 + 1;
    if (which & 1) FillChannels(&ranges->highlights, pick);
    if (which & 2) FillChannels(&ranges->midtones, pick);
    if (which & 4) FillChannels(&ranges->shadows, pick);
}

void FillCurve(HCurve* curve, Picker& pick)
{
    Random& random = pick.random;
    if (random() % 4 == 0) {
        curve->curveKind = 1;
        for (float& sample : curve->points.samples) sample = pick(0, 1);
        return;
    }
    curve->curveKind = 0;
    HCurvePoints& xy = curve->points.xy;
    if (pick.reach == reachBits) {
        for (float& word : curve->points.samples) word = RandomBits(random);
        xy.pointCount = random() % 2 ? static_cast<int32_t>(random() % 20) : static_cast<int32_t>(random());
        return;
    }
    xy.pointCount = static_cast<int32_t>(1 + random() % 16);
    float x = 0;
    for (int32_t i = 0; i < xy.pointCount; ++i) {
        xy.x[i] = x;
        xy.y[i] = pick(0, 1);
        x = x + Between(random, 0, 1) * (1 - x);
    }
    if (random() % 4 == 0) // a loop
        for (int32_t i = 0; i < xy.pointCount; ++i) xy.x[i] = pick(0, 1);
}

void FillSecondary(OCSecondary* s, Picker& pick)
{
    Random& random = pick.random;
    s->on = 1;
    s->lumatol = pick(0, 0.5f, 0, 1);
    s->chromatol = pick(0, 0.5f, 0, 1);
    s->softness = random() % 8 == 0 ? 0 : pick(0, 0.3f, 0, 1);
    s->preview = random() % 3 == 0;
    s->previewStyle = pick.reach == reachBits ? static_cast<int32_t>(random()) : static_cast<int32_t>(random() % 5);
    s->invert = random() % 3 == 0;
    s->hue = random() % 4 == 0 ? 0 : pick(-360, 360, -3600, 3600);
    s->saturation = random() % 4 == 0 ? 100 : pick(0, 300, -1000, 1000);
    s->hueoffset_tintangle = pick(-360, 360, -3600, 3600);
    s->hueoffset_strength = random() % 4 == 0 ? 0 : pick(0, 1);
    s->gain = pick(0, 3, 0, 20);
    s->gamma = random() % 3 == 0 ? 1 : pick(0.1f, 5, 0.1f, 10);
    s->ped = pick(-1, 1);
    for (OCColorSample& sample : s->sample) {
        sample.on = random() % 3 == 0 ? 0 : random() % 8 == 0 ? 0x100 : 1 + static_cast<uint32_t>(random() % 255);
        sample.red = pick(0, 1);
        sample.green = pick(0, 1);
        sample.blue = pick(0, 1);
    }
}

void FillLimiter(OCSettings* grade, Picker& pick)
{
    Random& random = pick.random;
    OCLimiterBlock& l = grade->limiter;
    grade->limiter_enable = 1;
    grade->limiter_preview = random() % 4 == 0;
    l.limiter_chroma_max = pick(70, 130);
    l.limiter_chroma_min = pick(-40, 0);
    l.limiter_luma_max = pick(70, 130);
    l.limiter_softclip_enable = random() % 2;
    l.limiter_softclip_knee = pick(60, 100);
    l.limiter_softclip_white_level = pick(80, 120);
    l.limiter_softclip_max_level = pick(110, 160);
    l.limiter_clip_method =
        pick.reach == reachBits ? static_cast<int32_t>(random()) : static_cast<int32_t>(random() % 5);
    l.limiter_system = 1 + static_cast<int32_t>(random() % 4);
    OCVideoLevels& levels = grade->videoLevels;
    levels.videoSetupPresent = random() % 2;
    if (random() % 2) levels = {16, 235, 1, 254, levels.videoSetupPresent, 1};
    if (pick.reach == reachBits) levels.videoMaxLevel = random() % 2 ? 0 : static_cast<int32_t>(random());
}

} // namespace

OCSettings RandomGrade(Random& random, uint32_t mask, GradeReach reach)
{
    OCSettings grade = NeutralGrade();
    Picker pick = {.random = random, .reach = reach};
    const auto has = [mask](GradeTool tool) { return (mask >> tool & 1) != 0; };
    if (has(toolHSLMaster) || has(toolHSLRanges)) grade.primaryOn = grade.hslOn = 1;
    if (has(toolHSLMaster)) FillHSL(&grade.hsl.master, pick);
    if (has(toolHSLRanges)) {
        const auto which = random() % 7 + 1;
        if (which & 1) FillHSL(&grade.hsl.highlights, pick);
        if (which & 2) FillHSL(&grade.hsl.midtones, pick);
        if (which & 4) FillHSL(&grade.hsl.shadows, pick);
    }
    if (has(toolHueOffset)) {
        grade.primaryOn = grade.hueOffsetOn = 1;
        for (OCHueOffsetTriple* triple : {&grade.hueOffset.master, &grade.hueOffset.shadows, &grade.hueOffset.midtones,
                                          &grade.hueOffset.highlights}) {
            triple->tintangle = pick(-360, 360, -3600, 3600);
            triple->strength = pick(0, 1);
        }
    }
    if (has(toolRGBMaster) || has(toolRGBRanges)) {
        grade.rgbOn = 1;
        FillRanges(&grade.rgb, has(toolRGBMaster), has(toolRGBRanges), pick);
    }
    if (has(toolYCCMaster) || has(toolYCCRanges)) {
        grade.ycbcrOn = 1;
        FillRanges(&grade.ycbcr, has(toolYCCMaster), has(toolYCCRanges), pick);
    }
    if (has(toolCMYMaster) || has(toolCMYRanges)) {
        grade.cmyOn = 1;
        FillRanges(&grade.cmy, has(toolCMYMaster), has(toolCMYRanges), pick);
    }
    if (has(toolLevels)) {
        grade.levelsOn = 1;
        for (OCLevelsBlock& block : grade.levels) {
            block.on = random() % 4 != 0;
            block.inblackpt = pick(0, 0.4f, 0, 1);
            block.inwhitept = pick(0.6f, 1, 0, 1);
            block.ingraypt = random() % 3 == 0 ? 0.5f : pick(0, 1);
            block.outblackpt = pick(0, 1);
            block.outwhitept = pick(0, 1);
            block.outgraypt = pick(0, 1);
        }
    }
    if (has(toolRecovery)) {
        grade.inputControls_highlight_recovery = pick(0, 1);
        grade.outputControls_highlight_recovery = pick(0, 1);
    }
    if (has(toolRGBCurves)) {
        grade.curvesOn = grade.rgbCurvesOn = 1;
        for (HCurve& curve : grade.rgbCurve) FillCurve(&curve, pick);
    }
    if (has(toolHSLCurves)) {
        grade.curvesOn = grade.hslCurvesOn = 1;
        for (HCurve& curve : grade.hslCurve) FillCurve(&curve, pick);
    }
    if (has(toolLumaRange)) {
        grade.lumaRangeOn = 1;
        grade.lumaRange.lumarange_shadowx = pick(0, 1);
        grade.lumaRange.lumarange_shadowy = pick(0, 1);
        grade.lumaRange.lumarange_highlightx = pick(0, 1);
        grade.lumaRange.lumarange_highlighty = pick(0, 1);
    }
    if (has(toolSecondaries)) {
        grade.secondaryOn = 1;
        const auto which = random() % 63 + 1;
        for (uint32_t i = 0; i < kOCSecondaryCount; ++i)
            if (which >> i & 1) FillSecondary(&grade.secondary[i], pick);
    }
    if (has(toolLimiter)) FillLimiter(&grade, pick);
    return grade;
}

HCurve CurveOf(std::initializer_list<std::pair<float, float>> points)
{
    HCurve curve = {};
    HCurvePoints& xy = curve.points.xy;
    for (const auto& [x, y] : points) {
        xy.x[xy.pointCount] = x;
        xy.y[xy.pointCount] = y;
        ++xy.pointCount;
    }
    return curve;
}

// Comparison -----------------------------------------------------------------------------------------------------------

namespace {

constexpr size_t kGuard = 256;
constexpr uint8_t kGuardByte = 0xA5;

} // namespace

bool SameFloat(float a, float b)
{
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}

GuardedPlanes::GuardedPlanes(uint32_t width, uint32_t height, uint32_t rowBytes, uint32_t shift)
{
    const size_t used = size_t{rowBytes} * height;
    const size_t planeBytes = (used + kGuard + 63) / 64 * 64;
    memory_.assign(kGuard + planeBytes * 4 + 64 + shift, kGuardByte);
    const auto address = reinterpret_cast<uintptr_t>(memory_.data()) + kGuard;
    first_ = kGuard + (64 - address % 64) % 64 + shift;
    frame.width = width;
    frame.height = height;
    frame.rowBytes = rowBytes;
    frame.pixelFormat = pixFormatRGBYPlanar_Float;
    frame.baseAddr = memory_.data() + first_;
    frame.planeCount = 4;
    frame.planeBytes = static_cast<uint32_t>(planeBytes);
}

testing::AssertionResult GuardedPlanes::GuardsAreWhole() const
{
    const size_t used = size_t{frame.rowBytes} * frame.height;
    for (size_t i = 0; i < memory_.size(); ++i) {
        const size_t plane = i < first_ ? 4 : (i - first_) / frame.planeBytes;
        const bool inside = plane < 4 && (i - first_) % frame.planeBytes < used;
        if (!inside && memory_[i] != kGuardByte)
            return testing::AssertionFailure()
                   << "guard byte " << static_cast<ptrdiff_t>(i - first_) << " from the first plane was written";
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult SamePlanes(const FBFrame& expected, const FBFrame& seen, uint32_t rows)
{
    for (uint32_t plane = 0; plane < 4; ++plane)
        for (uint32_t row = 0; row < rows; ++row)
            for (uint32_t column = 0; column < expected.rowBytes / 4; ++column) {
                const float a = At(expected, plane, row, column);
                const float b = At(seen, plane, row, column);
                if (SameFloat(a, b)) continue;
                char text[160];
                std::snprintf(text, sizeof text, "plane %u, row %u, column %u: expected %08x (%.9g), seen %08x (%.9g)",
                              plane, row, column, std::bit_cast<uint32_t>(a), static_cast<double>(a),
                              std::bit_cast<uint32_t>(b), static_cast<double>(b));
                return testing::AssertionFailure() << text;
            }
    return testing::AssertionSuccess();
}

testing::AssertionResult KernelAgrees(const OCKernel& kernel, const OCProcessParams& params, const KernelCase& shape,
                                      Random& random)
{
    GuardedPlanes source(shape.width, shape.sourceHeight, shape.rowBytes, shape.sourceShift);
    source.Fill([&](uint32_t, uint32_t, uint32_t) { return RandomSignal(random); });
    GuardedPlanes kept(shape.width, shape.sourceHeight, shape.rowBytes, 0);
    kept.Fill([&](uint32_t plane, uint32_t row, uint32_t column) { return At(source.frame, plane, row, column); });

    GuardedPlanes expected(shape.width, shape.destinationHeight, shape.rowBytes, 0);
    GuardedPlanes separate(shape.width, shape.destinationHeight, shape.rowBytes, shape.destinationShift);
    GuardedPlanes& seen = shape.inPlace ? source : separate;
    const auto before = [&](uint32_t plane, uint32_t row, uint32_t column) {
        return shape.inPlace ? At(source.frame, plane, row, column) : 0.25f;
    };
    expected.Fill(before);
    separate.Fill(before);
    OCProcessImageBandScalar(params, &kept.frame, &expected.frame);

    kernel.run(params, &source.frame, &seen.frame);
    const auto where = [&](testing::AssertionResult result) {
        return result << " [" << kernel.name << ", width " << shape.width << ", row bytes " << shape.rowBytes << "]";
    };
    if (auto result = SamePlanes(expected.frame, seen.frame, shape.destinationHeight); !result) return where(result);
    if (auto result = seen.GuardsAreWhole(); !result) return where(result);
    if (!shape.inPlace) {
        if (auto result = SamePlanes(kept.frame, source.frame, shape.sourceHeight); !result)
            return where(result << " of the source was changed");
        if (auto result = source.GuardsAreWhole(); !result) return where(result << " of the source");
    }
    return testing::AssertionSuccess();
}
