// Golden images: every kernel and the pool give what was once looked at and kept.
#include "tests/Golden.h"

#include "src/MPTasks.h"
#include "tests/CoreTest.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

namespace {

std::string GoldenFolder()
{
    const char* folder = std::getenv("OC_SOURCE_DIR");
    return std::string(folder ? folder : ".") + "/tests/golden/";
}

FramePtr FrameOf(const std::vector<float>& planes, uint32_t planeCount)
{
    FramePtr frame = MakeFrame(kGoldenWidth, kGoldenHeight);
    for (uint32_t plane = 0; plane < planeCount; ++plane)
        std::memcpy(frame->baseAddr + size_t{plane} * frame->planeBytes, planes.data() + plane * kGoldenPlane,
                    kGoldenPlane * sizeof(float));
    return frame;
}

class GoldenImages : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(Every, GoldenImages, testing::Range<size_t>(0, GoldenCases().size()),
                         [](const auto& which) { return std::to_string(which.param + 1); });

} // namespace

TEST(GoldenFolders, AreTheCasesAndNoOther)
{
    std::set<std::string> cases, folders;
    for (const GoldenCase& each : GoldenCases()) cases.insert(each.name);
    for (const auto& entry : std::filesystem::directory_iterator(GoldenFolder()))
        folders.insert(entry.path().filename().string());
    EXPECT_EQ(cases, folders);
    EXPECT_GE(cases.size(), 12u);
}

TEST_P(GoldenImages, AreReachedExactlyByEveryKernelAndThePool)
{
    const GoldenCase& which = GoldenCases()[GetParam()];
    Golden golden;
    ASSERT_TRUE(ReadGolden(GoldenFolder() + which.name, &golden)) << which.name;
    EnginePtr engine = MakeEngine();
    OCUpdateParameters(engine.get(), &golden.grade);
    const OCProcessParams& params = *OCParametersOf(engine.get());
    const FramePtr source = FrameOf(golden.source, 3), expected = FrameOf(golden.expected, 4);
    const FramePtr seen = MakeFrame(kGoldenWidth, kGoldenHeight);
    OCProcessImageBandScalar(params, source.get(), seen.get());
    EXPECT_TRUE(SamePlanes(*expected, *seen, kGoldenHeight)) << which.name << ", readable kernel";
    for (const OCKernel& kernel : OCFastKernels()) {
        std::memset(seen->baseAddr, 0, size_t{4} * seen->planeBytes);
        kernel.run(params, source.get(), seen.get());
        EXPECT_TRUE(SamePlanes(*expected, *seen, kGoldenHeight)) << which.name << ", " << kernel.name;
    }
    MPTask* tasks = nullptr;
    const uint32_t count = MPStartTaskCount(&tasks, 3);
    std::memset(seen->baseAddr, 0, size_t{4} * seen->planeBytes);
    ProcessImage(engine.get(), source.get(), seen.get(), &golden.grade, 0, count, tasks);
    MPDisposeTasks(count, &tasks);
    EXPECT_TRUE(SamePlanes(*expected, *seen, kGoldenHeight)) << which.name << ", three workers";
}

TEST_P(GoldenImages, AreWhatTheProgramThatWritesThemWouldWrite)
{
    const GoldenCase& which = GoldenCases()[GetParam()];
    Golden kept;
    ASSERT_TRUE(ReadGolden(GoldenFolder() + which.name, &kept)) << which.name;
    const Golden made = MakeGolden(which);
    EXPECT_EQ(std::memcmp(&kept.grade, &made.grade, sizeof kept.grade), 0) << which.name;
    EXPECT_EQ(std::memcmp(kept.source.data(), made.source.data(), kept.source.size() * 4), 0) << which.name;
}
