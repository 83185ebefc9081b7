// The program ochrine-host from the outside, with a program that stands for Ochrine.
#include "host/HostMisbehave.h"
#include "host/HostOptions.h"
#include "host/HostProgress.h"
#include "host/HostRun.h"
#include "host/HostSession.h"
#include "src/OCSettings.h"
#include "tests/host/ClipTest.h"

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::vector<uint8_t> Bytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The grade in a file; all zeros, and a failure, when the file is of another size.
OCSettings GradeIn(const std::string& path)
{
    OCSettings settings = {};
    const std::vector<uint8_t> bytes = Bytes(path);
    EXPECT_EQ(bytes.size(), sizeof(settings)) << path;
    if (bytes.size() == sizeof(settings)) std::memcpy(&settings, bytes.data(), sizeof(settings));
    return settings;
}

class HostProgram : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_NE(std::getenv("OC_HOST_PROGRAM"), nullptr);
        // A runtime folder for each test: an application that an earlier one left behind must not answer this one's host.
        runtimeBefore_ = std::getenv("XDG_RUNTIME_DIR");
        const std::string runtime = folder_.Path("runtime");
        std::filesystem::create_directory(runtime);
        std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
        setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
        ASSERT_TRUE(RunFFmpeg(std::string("-f lavfi -i color=black:s=192x32:r=25 -frames:v 6 -vf \"") + kPaintNumbers +
                              "\" -c:v png -pix_fmt rgb24 " + folder_.Path("clip.mov")));
    }

    /// Runs the program on the clip and returns its exit code; what it says goes to said_.
    int Run(const std::string& mode, const std::string& options, const std::string& clip = "clip.mov",
            const std::string& input = "")
    {
        const std::string pipe = input.empty() ? "" : "printf '" + input + "' | ";
        const std::string command = "cd " + folder_.path + " && " + pipe + "OC_FAKE_OUT=" + folder_.Path("frames") +
                                    " OC_FAKE_MODE=" + mode + " " + std::getenv("OC_HOST_PROGRAM") + " --app " +
                                    std::getenv("OC_FAKE_APPLICATION") + " --out-dir out " + options + " " + clip +
                                    " > log 2>&1";
        const int status = std::system(command.c_str());
        const std::vector<uint8_t> text = Bytes(folder_.Path("log"));
        said_.assign(text.begin(), text.end());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    bool Has(const char* name) { return std::filesystem::exists(folder_.Path(name)); }

    static bool IsBlockLeft()
    {
        return std::filesystem::exists(std::string(std::getenv("XDG_RUNTIME_DIR")) + "/ochrine/" + kOchrineBlockName);
    }

    void TearDown() override
    {
        EXPECT_FALSE(IsBlockLeft());
        setenv("XDG_RUNTIME_DIR", runtimeBefore_.c_str(), 1);
        if (HasFailure()) std::fputs(said_.c_str(), stderr);
    }

    TestFolder folder_;
    std::string said_;
    std::string runtimeBefore_;
};

} // namespace

TEST_F(HostProgram, WritesGradeAndClipAfterOK)
{
    ASSERT_EQ(Run("ok", ""), hostDone);
    const std::vector<uint8_t> grade = Bytes(folder_.Path("out/clip.ocgrade"));
    ASSERT_EQ(grade.size(), sizeof(OCSettings));
    OCSettings read = {};
    std::memcpy(&read, grade.data(), sizeof(read));
    EXPECT_EQ(read.signature, kOCSettingsSignature);
    EXPECT_EQ(read.hsl.master.saturation, 125.0f); // a fresh grade with one value changed
    EXPECT_EQ(read.hsl.master.gain, 1.0f);
    EXPECT_TRUE(Has("out/clip_graded.mov"));
    EXPECT_NE(said_.find("PROGRESS 6/6"), std::string::npos);
    EXPECT_EQ(said_.find("\r"), std::string::npos);
    // What it wrote can be rendered again, to the byte.
    ASSERT_EQ(Run("ok", "--render-only --grade out/clip.ocgrade --output again.mov"), hostDone);
    EXPECT_EQ(Bytes(folder_.Path("again.mov")), Bytes(folder_.Path("out/clip_graded.mov")));
}

TEST_F(HostProgram, StartsWithTheGradeGiven)
{
    ASSERT_EQ(Run("ok", ""), hostDone);
    ASSERT_EQ(Run("ok", "--grade out/clip.ocgrade --output x_%02d.exr"), hostDone);
    const OCSettings read = GradeIn(folder_.Path("out/clip.ocgrade"));
    EXPECT_EQ(read.hsl.master.saturation, 156.25f);
    EXPECT_TRUE(Has("x_00.exr") && Has("x_05.exr") && !Has("x_06.exr"));
}

TEST_F(HostProgram, CancelWritesNothing)
{
    ASSERT_EQ(Run("cancel", ""), hostDone);
    EXPECT_NE(said_.find("cancelled"), std::string::npos);
    EXPECT_FALSE(Has("out/clip.ocgrade") || Has("out/clip_graded.mov"));
    ASSERT_EQ(Run("cancel", "--always-render"), hostDone);
    EXPECT_TRUE(Has("out/clip.ocgrade") && Has("out/clip_graded.mov"));
}

TEST_F(HostProgram, HandsTheFirstFrameOverInPieces)
{
    ASSERT_EQ(Run("ok", "--chunk-rows 9"), hostDone);
    EXPECT_TRUE(Has("out/clip_graded.mov"));
}

TEST_F(HostProgram, ServesTheFramesThatAreWanted)
{
    ASSERT_EQ(Run("request", ""), hostDone);
    std::string error;
    std::unique_ptr<ClipSource> clip = OpenClip(folder_.Path("clip.mov"), {}, &error);
    ASSERT_NE(clip, nullptr);
    std::vector<uint8_t> wanted;
    for (int32_t number : {3, 0, 5}) {
        const std::vector<uint8_t> frame = ReadFrame(clip.get(), number);
        wanted.insert(wanted.end(), frame.begin(), frame.end());
    }
    EXPECT_EQ(Bytes(folder_.Path("frames")), wanted);
    // Refused, the application gets none, and the session goes on.
    ASSERT_EQ(Run("request", "--misbehave=status11"), hostDone);
    EXPECT_TRUE(Bytes(folder_.Path("frames")).empty());
}

TEST_F(HostProgram, TellsHowASessionFailed)
{
    EXPECT_EQ(Run("die", ""), hostApplicationDied);
    EXPECT_NE(said_.find("exit code 5"), std::string::npos);
    EXPECT_EQ(Run("die-early", ""), hostApplicationDied);
    EXPECT_NE(said_.find("before it took the clip"), std::string::npos);
    EXPECT_EQ(Run("fail", ""), hostRefused);
    EXPECT_EQ(Run("nograde", ""), hostRefused);
    EXPECT_EQ(Run("hang", "--timeout 1"), hostTimeout);
    EXPECT_EQ(Run("ok", "--app " + folder_.Path("none")), hostNoApplication);
    EXPECT_EQ(Run("ok", "", "none.mov"), hostNoClip);
    EXPECT_EQ(Run("ok", "--grade clip.mov"), hostNoClip);
    EXPECT_EQ(Run("ok", "--nonsense"), hostUsage);
    EXPECT_EQ(Run("ok", "--output x.avi"), hostUsage);
    EXPECT_EQ(Run("ok", "--out-dir clip.mov/x"), hostNoOutput);
    EXPECT_FALSE(Has("out/clip.ocgrade") || Has("out/clip_graded.mov"));
}

TEST_F(HostProgram, RefusesASecondHostAndReplacesADeadOne)
{
    OchrineHost* other = nullptr;
    ASSERT_EQ(OchrineHostOpen(0, &other), ochrineOk);
    EXPECT_EQ(Run("ok", ""), hostBusy);
    OchrineHostClose(other);
    EXPECT_EQ(Run("ok", "--misbehave stale-block"), hostDone);
}

TEST_F(HostProgram, FindsAResidentApplication)
{
    const std::string start = "OC_FAKE_MODE=resident " + std::string(std::getenv("OC_FAKE_APPLICATION")) + " &";
    ASSERT_EQ(std::system(start.c_str()), 0);
    const std::string resident = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/ochrine/" + kOchrineResidentName;
    for (int i = 0; i < 200 && !std::filesystem::exists(resident); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    // Started anew it would end at once.
    ASSERT_EQ(Run("die-early", "--sessions 2"), hostDone);
    EXPECT_NE(said_.find("found the resident application"), std::string::npos);
    const OCSettings read = GradeIn(folder_.Path("out/clip.ocgrade"));
    EXPECT_EQ(read.hsl.master.saturation, 156.25f);
    for (int i = 0; i < 200 && std::filesystem::exists(resident); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_FALSE(std::filesystem::exists(resident));
}

TEST_F(HostProgram, KeepsTheClipOpenUntilItIsToldEnough)
{
    for (const char* input : {"open\\n\\nnonsense\\nquit\\nopen\\n", "\\n  open \\n"}) {
        std::filesystem::remove_all(folder_.Path("out"));
        ASSERT_EQ(Run("ok", "--serve --no-render", "clip.mov", input), hostDone);
        const OCSettings read = GradeIn(folder_.Path("out/clip.ocgrade"));
        EXPECT_EQ(read.hsl.master.saturation, 125.0f * 1.25f * 1.25f); // three sessions, each with the last one's grade
        EXPECT_FALSE(Has("out/clip_graded.mov"));
    }
    ASSERT_EQ(Run("ok", "--serve --no-render", "clip.mov", std::string(1000, 'x') + "\\nq\\n"), hostDone);
    EXPECT_NE(said_.find("is no command"), std::string::npos);
    // A session that fails does not end the host.
    ASSERT_EQ(Run("die", "--serve", "clip.mov", "\\n\\n"), hostDone);
    size_t failures = 0;
    for (size_t at = said_.find("failed with code 5"); at != std::string::npos;
         at = said_.find("failed with code 5", at + 1))
        ++failures;
    EXPECT_EQ(failures, 3u);
}

TEST_F(HostProgram, TheGradeIsKeptBeforeTheBlockGoes)
{
    // Once the block is gone the application takes the grade for safe.
    std::string error;
    std::unique_ptr<ClipSource> clip = OpenClip(folder_.Path("clip.mov"), {}, &error);
    ASSERT_NE(clip, nullptr);
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    HostOptions options;
    options.application = std::getenv("OC_FAKE_APPLICATION");
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    for (const char* mode : {"ok", "cancel"}) {
        setenv("OC_FAKE_MODE", mode, 1);
        int calls = 0;
        const auto keep = [&](const OCSettings& result, bool changed) -> int {
            ++calls;
            EXPECT_TRUE(IsBlockLeft());
            EXPECT_EQ(changed, std::string(mode) == "ok");
            EXPECT_EQ(result.hsl.master.saturation, 125.0f);
            return calls == 1 ? hostNoOutput : hostDone;
        };
        EXPECT_EQ(RunHostSession(platform, options, clip.get(), &grade, keep),
                  hostNoOutput); // its code is the session's
        EXPECT_EQ(calls, 1);
        EXPECT_FALSE(IsBlockLeft());
    }
    unsetenv("OC_FAKE_MODE");
}

/// The clock of a host whose application takes the clip at the first look at it; at the second one OK and an
/// interruption come together, behind the host's look at its block.
uint64_t ClockOfALateOK()
{
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    BPSharedMemory memory = {};
    if (platform.sharedMemory.open(kOchrineBlockName, kOchrineBlockBytes, &memory) == bpNoErr) {
        auto* block = reinterpret_cast<OchrineBlock*>(memory.address);
        if (OchrineLoadStatus(block) == kTKUIStatusDataReady) {
            OchrineStoreStatus(block, kTKUIStatusUIRunning);
        } else if (OchrineLoadStatus(block) == kTKUIStatusUIRunning) {
            const float saturation = 125;
            std::memcpy(reinterpret_cast<uint8_t*>(block->settings) + offsetof(OCSettings, hsl.master.saturation),
                        &saturation, sizeof saturation);
            OchrineStoreStatus(block, kTKUIStatusUIDone);
            std::raise(SIGINT);
        }
        platform.sharedMemory.close(&memory);
    }
    return platform.clock.monotonicMs();
}

TEST_F(HostProgram, AnInterruptedHostTakesAGradeThatIsDone)
{
    std::string error;
    std::unique_ptr<ClipSource> clip = OpenClip(folder_.Path("clip.mov"), {}, &error);
    ASSERT_NE(clip, nullptr);
    const std::string application = folder_.Path("application");
    std::ofstream(application) << "#!/bin/sh\nexec sleep 3\n";
    std::filesystem::permissions(application, std::filesystem::perms::owner_all);
    const pid_t child = fork(); // the interruption stays for good in the process that it reached
    if (child == 0) {
        HostCatchSignals();
        BPPlatform platform = {};
        BPFillLinuxPlatform(&platform);
        platform.clock.monotonicMs = ClockOfALateOK;
        HostOptions options;
        options.application = application;
        OCSettings grade = {};
        OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
        const auto keep = [](const OCSettings& result, bool changed) -> int {
            return changed && result.hsl.master.saturation == 125 ? 42 : 43;
        };
        _exit(RunHostSession(platform, options, clip.get(), &grade, keep));
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 42);
    EXPECT_FALSE(IsBlockLeft());
}

TEST_F(HostProgram, MisbehavesAsAsked)
{
    // The stand-in takes only blocks that are sound; the others it leaves alone until it gives up.
    EXPECT_EQ(Run("ok", "--misbehave version6"), hostApplicationDied);
    EXPECT_NE(said_.find("exit code 7"), std::string::npos);
    EXPECT_EQ(Run("ok", "--misbehave short-object"), hostApplicationDied);
    EXPECT_NE(said_.find("exit code 7"), std::string::npos);
    EXPECT_EQ(Run("ok", "--misbehave late-header"), hostDone);
    EXPECT_EQ(Run("ok", "--misbehave clips250"), hostDone);
    EXPECT_EQ(Run("request", "--misbehave die-pending"), 9);
    EXPECT_TRUE(IsBlockLeft());
    EXPECT_EQ(Run("request", "--misbehave never-answer"), 9); // and finds what the last one left
    EXPECT_EQ(Run("ok", ""), hostDone);
}

TEST_F(HostProgram, IsInterruptedCleanly)
{
    const std::string command = "cd " + folder_.path + " && OC_FAKE_MODE=hang timeout --foreground -s INT 1 " +
                                std::getenv("OC_HOST_PROGRAM") + " --app " + std::getenv("OC_FAKE_APPLICATION") +
                                " clip.mov > log 2>&1";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 124); // of timeout: it was sent
    const std::vector<uint8_t> text = Bytes(folder_.Path("log"));
    said_.assign(text.begin(), text.end());
    EXPECT_NE(said_.find("interrupted by signal 2"), std::string::npos);
}

// The examples of the documentation are hosts too.
class Example : public testing::TestWithParam<const char*> {
  protected:
    int Run(const std::string& mode, TestFolder* folder)
    {
        const std::string command = "cd " + folder->path + " && OC_FAKE_OUT=frames OC_FAKE_MODE=" + mode + " " +
                                    std::getenv(GetParam()) + " " + std::getenv("OC_FAKE_APPLICATION") + " grade >&2";
        const int status = std::system(command.c_str());
        const std::string block = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/ochrine/" + kOchrineBlockName;
        EXPECT_FALSE(std::filesystem::exists(block));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_P(Example, RunsASession)
{
    TestFolder folder;
    EXPECT_EQ(Run("cancel", &folder), 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("grade")));
    EXPECT_EQ(Run("die", &folder), 2);
    EXPECT_EQ(Run("fail", &folder), 2);
    EXPECT_EQ(Run("fresh-request", &folder), 0);
    EXPECT_EQ(Bytes(folder.Path("grade")).size(), sizeof(OCSettings));
    // Frames 3, 0 and 9: rows of blue, green, red, alpha.
    const std::vector<uint8_t> frames = Bytes(folder.Path("frames"));
    const size_t frame = size_t{640} * 360 * 4;
    ASSERT_EQ(frames.size(), 3 * frame);
    const int wanted[3] = {3, 0, 9};
    for (size_t i = 0; i < 3; ++i) {
        for (const size_t x : {0u, 100u, 639u}) {
            const uint8_t* pixel = frames.data() + i * frame + 359 * 640 * 4 + x * 4;
            EXPECT_EQ(pixel[0], 255 * 359 / 360);
            EXPECT_EQ(pixel[1], 128 + wanted[i] * 10);
            EXPECT_EQ(pixel[2], 255 * x / 640);
            EXPECT_EQ(pixel[3], 255);
        }
    }
}

TEST_P(Example, ReplacesADeadHostAndRespectsALiveOne)
{
    TestFolder folder;
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    ASSERT_EQ(LeaveStaleBlock(platform), ochrineOk);
    EXPECT_EQ(Run("cancel", &folder), 1);
    OchrineHost* other = nullptr;
    ASSERT_EQ(OchrineHostOpen(0, &other), ochrineOk);
    const std::string command = std::string(std::getenv(GetParam())) + " true " + folder.Path("grade") + " 2>/dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 3);
    EXPECT_EQ(OchrineHostBlock(other)->signature, kOchrineSignature);
    OchrineHostClose(other);
}

INSTANTIATE_TEST_SUITE_P(Hosts, Example, testing::Values("OC_MINIMAL_C", "OC_MINIMAL_PYTHON"),
                         [](const testing::TestParamInfo<const char*>& host) { return std::string(host.param + 11); });
