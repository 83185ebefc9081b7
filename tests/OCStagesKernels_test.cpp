// Every instruction set that this machine has, by name, against the readable kernel, bit for bit.
#include "src/OCStages.h"

#include "tests/CoreTest.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

class OCKernels : public testing::Test {
  protected:
    EnginePtr engine_ = MakeEngine();
    Random random_{1234};

    const OCProcessParams& Update(const OCSettings& grade)
    {
        OCUpdateParameters(engine_.get(), &grade);
        return *OCParametersOf(engine_.get());
    }
    KernelCase Shape(uint32_t width, uint32_t height)
    {
        return {.width = width,
                .sourceHeight = height,
                .destinationHeight = height,
                .rowBytes = width * 4,
                .sourceShift = static_cast<uint32_t>(random_() % 16) * 4,
                .destinationShift = static_cast<uint32_t>(random_() % 16) * 4,
                .inPlace = false};
    }
    void AllAgree(const OCProcessParams& params, const KernelCase& shape, const std::string& what)
    {
        for (const OCKernel& kernel : OCFastKernels())
            EXPECT_TRUE(KernelAgrees(kernel, params, shape, random_)) << what;
    }
};

constexpr uint32_t kEverything = (1u << toolCount) - 1;

// Kernels that are wrong, each in its own way.
void Right(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    OCProcessImageBandScalar(params, source, destination);
}

void LastBit(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    Right(params, source, destination);
    uint32_t word;
    float& value = At(*destination, 1, destination->height - 1, destination->width - 1);
    std::memcpy(&word, &value, 4);
    word ^= 1;
    std::memcpy(&value, &word, 4);
}

void SwappedLanes(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    Right(params, source, destination);
    std::swap(At(*destination, 0, 0, 0), At(*destination, 0, 0, 1));
}

void Overrun(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    Right(params, source, destination);
    (&At(*destination, 2, destination->height - 1, 0))[destination->rowBytes / 4] = 0;
}

void Underrun(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    Right(params, source, destination);
    (&At(*destination, 0, 0, 0))[-1] = 0;
}

void ShortByOne(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    const float kept = At(*destination, 3, destination->height - 1, destination->rowBytes / 4 - 1);
    Right(params, source, destination);
    At(*destination, 3, destination->height - 1, destination->rowBytes / 4 - 1) = kept;
}

void WritesSource(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    Right(params, source, destination);
    At(*source, 0, 0, 0) = 0.12345f;
}

void NegativeZero(const OCProcessParams& params, const FBFrame* source, const FBFrame* destination)
{
    Right(params, source, destination);
    for (uint32_t column = 0; column < destination->width; ++column)
        if (At(*destination, 0, 0, column) == 0) At(*destination, 0, 0, column) = -At(*destination, 0, 0, column);
}

} // namespace

TEST_F(OCKernels, TheHarnessCatchesABrokenKernelAnOverrunAndASwappedLane)
{
    const OCProcessParams& params = Update(NeutralGrade());
    const KernelCase shape = Shape(67, 3);
    EXPECT_TRUE(KernelAgrees({"right", Right}, params, shape, random_));
    const OCKernel wrong[] = {{"last bit", LastBit},          {"swapped lanes", SwappedLanes},
                              {"overrun", Overrun},           {"underrun", Underrun},
                              {"short by one", ShortByOne},   {"writes source", WritesSource},
                              {"negative zero", NegativeZero}};
    for (const OCKernel& kernel : wrong) {
        bool caught = false;
        for (int i = 0; i < 20 && !caught; ++i) caught = !KernelAgrees(kernel, params, shape, random_);
        EXPECT_TRUE(caught) << kernel.name;
    }
}

TEST_F(OCKernels, EveryInstructionSetHasAName)
{
    std::vector<std::string> names;
    for (const OCKernel& kernel : OCFastKernels()) names.push_back(kernel.name);
    ASSERT_GE(names.size(), 2u);
    EXPECT_EQ(names.back(), "best");
    std::string list;
    for (const std::string& name : names) {
        EXPECT_EQ(std::count(names.begin(), names.end(), name), 1) << name;
        list += (list.empty() ? "" : ", ") + name;
    }
    RecordProperty("kernels", list);
    std::printf("kernels on this machine: %s\n", list.c_str());
}

TEST_F(OCKernels, EveryWidthFromNothingTo67WithEverythingOnAndNothing)
{
    for (uint32_t width = 0; width <= 67; ++width) {
        const OCSettings everything = RandomGrade(random_, kEverything, reachKnob);
        const OCSettings neutral = NeutralGrade();
        for (const OCSettings* grade : {&everything, &neutral})
            for (uint32_t height : {1u, 3u})
                AllAgree(Update(*grade), Shape(width, height), "width " + std::to_string(width));
    }
}

TEST_F(OCKernels, LargeOddWidths)
{
    for (uint32_t width : {769u, 1021u, 2047u, 4099u}) {
        AllAgree(Update(RandomGrade(random_, kEverything, reachKnob)), Shape(width, 3), "everything");
        AllAgree(Update(NeutralGrade()), Shape(width, 5), "neutral");
    }
}

TEST_F(OCKernels, EachToolAlone)
{
    for (uint32_t tool = 0; tool < toolCount; ++tool)
        for (GradeReach reach : {reachKnob, reachEntry, reachExtremes, reachBits})
            for (int round = 0; round < 4; ++round)
                AllAgree(
                    Update(RandomGrade(random_, 1u << tool | (tool == toolRecovery ? 1u << toolLevels : 0), reach)),
                    Shape(61, 4), "tool " + std::to_string(tool) + ", reach " + std::to_string(reach));
}

TEST_F(OCKernels, PairsOfTools)
{
    for (uint32_t a = 0; a < toolCount; ++a)
        for (uint32_t b = a + 1; b < toolCount; ++b)
            AllAgree(Update(RandomGrade(random_, 1u << a | 1u << b, random_() % 2 ? reachKnob : reachEntry)),
                     Shape(67, 2), "tools " + std::to_string(a) + " and " + std::to_string(b));
}

TEST_F(OCKernels, AnySetOfToolsWithAnyValues)
{
    for (int round = 0; round < 160; ++round) {
        const auto reach = static_cast<GradeReach>(round % 4);
        const uint32_t mask = round % 3 == 0 ? kEverything : static_cast<uint32_t>(random_()) & kEverything;
        AllAgree(Update(RandomGrade(random_, mask, reach)), Shape(1 + static_cast<uint32_t>(random_() % 150), 2),
                 "round " + std::to_string(round));
    }
}

TEST_F(OCKernels, FramesOfDifferentHeightShareTheRowsThatBothHave)
{
    for (const auto& [from, to] : {std::pair{5u, 3u}, {3u, 5u}, {1u, 8u}, {8u, 1u}, {0u, 2u}, {2u, 0u}})
        for (const OCSettings& grade : {NeutralGrade(), RandomGrade(random_, kEverything, reachKnob)}) {
            KernelCase shape = Shape(37, from);
            shape.destinationHeight = to;
            AllAgree(Update(grade), shape, std::to_string(from) + " rows to " + std::to_string(to));
        }
}

TEST_F(OCKernels, RowsWithPadding)
{
    for (uint32_t padding : {4u, 12u, 64u, 100u}) {
        KernelCase shape = Shape(41, 4);
        shape.rowBytes += padding;
        AllAgree(Update(RandomGrade(random_, kEverything, reachKnob)), shape, "padding");
        AllAgree(Update(NeutralGrade()), shape, "padding, neutral");
    }
}

TEST_F(OCKernels, AFrameMayBeItsOwnDestination)
{
    for (uint32_t width : {1u, 16u, 33u, 64u, 1001u})
        for (const OCSettings& grade : {NeutralGrade(), RandomGrade(random_, kEverything, reachKnob)}) {
            KernelCase shape = Shape(width, 3);
            shape.inPlace = true;
            AllAgree(Update(grade), shape, "in place");
        }
}

TEST_F(OCKernels, HardValuesInEveryChannel)
{
    const std::vector<float> hard = HardValues();
    const auto count = static_cast<uint32_t>(hard.size());
    for (int round = 0; round < 24; ++round) {
        const OCProcessParams& params =
            Update(RandomGrade(random_, round == 0 ? 0 : static_cast<uint32_t>(random_()) & kEverything,
                               static_cast<GradeReach>(round % 4)));
        // All triples of hard values.
        GuardedPlanes source(count * count, count, count * count * 4, 0);
        source.Fill([&](uint32_t plane, uint32_t row, uint32_t column) {
            return plane == 0 ? hard[row] : plane == 1 ? hard[column / count] : hard[column % count];
        });
        GuardedPlanes expected(count * count, count, count * count * 4, 0);
        OCProcessImageBandScalar(params, &source.frame, &expected.frame);
        for (const OCKernel& kernel : OCFastKernels()) {
            GuardedPlanes seen(count * count, count, count * count * 4, 0);
            kernel.run(params, &source.frame, &seen.frame);
            ASSERT_TRUE(SamePlanes(expected.frame, seen.frame, count)) << kernel.name << ", round " << round;
        }
    }
}

// Where all pixels of a register are alike, whole steps are left out: no hard value may stand beside them here.
TEST_F(OCKernels, PicturesOfUsualValuesTakeTheShortWays)
{
    for (int round = 0; round < 60; ++round) {
        OCSettings grade =
            RandomGrade(random_, round % 3 ? 1u << toolSecondaries | 1u << toolLimiter : kEverything, reachKnob);
        for (OCSecondary& s : grade.secondary) {
            if (round % 2) s.preview = s.invert = 0;
            s.lumatol *= 0.2f;
            s.chromatol *= 0.2f;
            s.softness *= 0.3f;
        }
        const OCProcessParams& params = Update(grade);
        GuardedPlanes source(640, 3, 2560, 0), expected(640, 3, 2560, 0);
        const float base[3] = {Between(random_, 0.05f, 0.9f), Between(random_, 0.05f, 0.9f),
                               Between(random_, 0.05f, 0.9f)};
        source.Fill([&](uint32_t plane, uint32_t, uint32_t column) {
            return plane == 3 ? 0.0f : base[plane] + 0.0004f * static_cast<float>(column) + Between(random_, 0, 0.01f);
        });
        OCProcessImageBandScalar(params, &source.frame, &expected.frame);
        for (const OCKernel& kernel : OCFastKernels()) {
            GuardedPlanes seen(640, 3, 2560, 0);
            kernel.run(params, &source.frame, &seen.frame);
            ASSERT_TRUE(SamePlanes(expected.frame, seen.frame, 3)) << kernel.name << ", round " << round;
        }
    }
}

// Registers that lie wholly beside a key are left alone: those that cross its edge by the last bits are not.
TEST_F(OCKernels, AtTheEdgesOfAKeyNothingIsLeftOut)
{
    for (int round = 0; round < 80; ++round) {
        OCSettings grade = NeutralGrade();
        grade.secondaryOn = grade.secondaryInUse = 1;
        OCSecondary& record = grade.secondary[0];
        record.on = 1;
        record.sample[0] = {1, Between(random_, 0.2f, 0.8f), Between(random_, 0.2f, 0.8f),
                            Between(random_, 0.2f, 0.8f)};
        record.softness = round % 5 ? Between(random_, 0.001f, 0.3f) : 0;
        if (round % 8 == 6) record.lumatol = -1000, record.softness = 31.6228f; // what is left of the two is small
        record.saturation = 300;
        record.gain = 3;
        const OCProcessParams& params = Update(grade);
        const OCSecondaryParams& s = params.secondary[0];
        ASSERT_EQ(s.sampleCount, 1u);
        const float fall = s.softness * s.softness;
        const float luma = s.lumaTolerance + fall, chroma = std::sqrt(s.chromaTolerance * s.chromaTolerance + fall);
        const float sign = round % 4 < 2 ? 1.0f : -1.0f;
        const bool isLuma = round % 2 == 0;
        GuardedPlanes source(640, 3, 2560, 0), expected(640, 3, 2560, 0);
        source.Fill([&](uint32_t plane, uint32_t row, uint32_t column) {
            const float step = (static_cast<float>(column) - 320) * (row == 0 ? 1e-7f : row == 1 ? 3e-6f : 1e-4f);
            const float y = s.sample[0].y + (isLuma ? sign * luma * (1 + step) : 0);
            const float u = s.sample[0].u + (isLuma ? 0 : sign * chroma * (1 + step) * 0.6f);
            const float v = s.sample[0].v + (isLuma ? 0 : chroma * (1 + step) * 0.8f);
            return plane == 0 ? y + 1.140251f * v : plane == 1 ? y - 0.393931f * u - 0.580809f * v : y + 2.028398f * u;
        });
        OCProcessImageBandScalar(params, &source.frame, &expected.frame);
        for (const OCKernel& kernel : OCFastKernels()) {
            GuardedPlanes seen(640, 3, 2560, 0);
            kernel.run(params, &source.frame, &seen.frame);
            ASSERT_TRUE(SamePlanes(expected.frame, seen.frame, 3)) << kernel.name << ", round " << round;
        }
    }
}

TEST(OCKeyBoxes, WildTolerancesHaveNoBoundsAndNoSampleHasNoInside)
{
    OCSecondaryParams s = {};
    s.softness = 0.1f;
    OCKeyBox box = OCKeyBoxOf(s);
    EXPECT_GT(box.low[0], box.high[0]);
    s.sampleCount = 1;
    s.sample[0] = {0.5f, 0.1f, -0.1f};
    s.lumaTolerance = s.chromaTolerance = 0.2f;
    box = OCKeyBoxOf(s);
    EXPECT_NEAR(box.low[0], 0.5f - 0.21f, 1e-4f);
    EXPECT_NEAR(box.high[2], -0.1f + std::sqrt(0.05f), 1e-4f);
    for (float wild : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        s.lumaTolerance = wild;
        box = OCKeyBoxOf(s);
        EXPECT_EQ(box.low[1], -std::numeric_limits<float>::infinity());
        EXPECT_EQ(box.high[1], std::numeric_limits<float>::infinity());
    }
}
