// The program when things go wrong: exit codes, complaints, and that nothing half stays.
#include "tests/tools/ochrine-render/RenderTest.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

class RenderFailures : public RenderTest {
  protected:
    /// Starts the program, sends a signal once `until` is there, and returns how it ended.
    int Interrupt(const std::vector<std::string>& words, int number, const std::string& until)
    {
        std::vector<const char*> arguments = {std::getenv("OC_RENDER_PROGRAM"), "--grade", "test.ocgrade"};
        for (const std::string& word : words) arguments.push_back(word.c_str());
        arguments.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_RDWR);
            dup2(nowhere, 1);
            dup2(nowhere, 2);
            if (chdir(folder_.path.c_str()) == 0) execv(arguments[0], const_cast<char* const*>(arguments.data()));
            _exit(99);
        }
        for (int i = 0; i < 3000 && Files(until).empty(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(kill(child, number), 0);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
};

} // namespace

TEST_F(RenderFailures, WrongArgumentsAreTold)
{
    MakePictures(1, 2);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "a clip and an output are wanted"},
        {"src_0001.png", "a clip and an output are wanted"},
        {"a b c", "one clip and one output at a time: c"},
        {"--nonsense a b", "unknown option --nonsense"},
        {"src_0001.png out.avi", "names no output"},
        {"--format jpeg src_0001.png out.png", "\"jpeg\" is no value for --format"},
        {"--format dpx10 src_0001.png out.png", "dpx10 wants a name that ends in .dpx"},
        {"--frames 5-2 src_%04d.png o_%04d.png", "\"5-2\" is no value for --frames"},
        {"--frames -3 src_%04d.png o_%04d.png", "\"-3\" is no value"},
        {"--frame x src_%04d.png o_%04d.png", "\"x\" is no value for --frame"},
        {"--chunk 4/3 src_%04d.png o_%04d.png", "\"4/3\" is no value for --chunk"},
        {"--chunk 0/3 src_%04d.png o_%04d.png", "\"0/3\" is no value"},
        {"--threads 0 src_%04d.png o_%04d.png", "\"0\" is no value for --threads"},
        {"--threads 257 src_%04d.png o_%04d.png", "\"257\" is no value"},
        {"--rate fast src_%04d.png o_%04d.png", "\"fast\" is no value for --rate"},
        {"--bad-frames x src_%04d.png o_%04d.png", "\"x\" is no value"},
        {"--alpha x src_%04d.png o_%04d.png", "\"x\" is no value"},
        {"--compression piz src_%04d.png o_%04d.exr", "\"piz\" is no value"},
        {"src_%04d.png out.png", "2 frames want numbered files"},
    };
    for (const auto& [words, answer] : cases) {
        const CommandResult result = Run(words);
        EXPECT_EQ(result.exit, 1) << words;
        EXPECT_NE(result.complained.find(answer), std::string::npos) << words << ": " << result.complained;
        EXPECT_EQ(result.said, "") << words;
    }
    EXPECT_EQ(Run("--grade= src_0001.png out.png").exit, 1);
    EXPECT_TRUE(Files().empty());
    EXPECT_EQ(Run("--help").exit, 0);
    EXPECT_EQ(Run("--version").said, "ochrine-render 3.0.9\n");
}

TEST_F(RenderFailures, ClipsAndGradesThatCannotBeReadAreTold)
{
    MakePictures(1, 1);
    WriteBytes(folder_.Path("src.txt"), "no clip at all, but a text", 26);
    WriteBytes(folder_.Path("src_empty.exr"), "", 0);
    WriteBytes(folder_.Path("src_short.exr"), "\x76\x2f\x31\x01\x02\0\0\0channels", 16);
    WriteBytes(folder_.Path("src_short.png"), "\x89PNG\r\n\x1a\n", 8);
    WriteBytes(folder_.Path("src_list.mov"), "#EXTM3U\nhttp://127.0.0.1:9/x.ts\n", 32);
    for (const char* clip : {"none.png", "none_%04d.png", ".", "src.txt", "src_empty.exr", "src_short.exr",
                             "src_short.png", "src_list.mov"}) {
        const CommandResult result = Run(std::string(clip) + " out.png");
        EXPECT_EQ(result.exit, 2) << clip << result.complained;
        EXPECT_NE(result.complained, "") << clip;
    }
    for (const char* grade : {"none.ocgrade", "src.txt", "src_empty.exr", ".", "src_0001.png"}) {
        EXPECT_EQ(Run(std::string("--grade ") + grade + " src_0001.png out.png").exit, 3) << grade;
    }
    EXPECT_TRUE(Files().empty());
}

TEST_F(RenderFailures, AMissingFrameEndsTheRenderBeforeItBegins)
{
    MakePictures(1, 9);
    std::filesystem::remove(folder_.Path("src_0004.png"));
    std::filesystem::remove(folder_.Path("src_0006.png"));
    std::filesystem::remove(folder_.Path("src_0007.png"));
    CommandResult result = Run("src_%04d.png out_%04d.png");
    EXPECT_EQ(result.exit, 4);
    EXPECT_NE(result.complained.find("frames 4, 6-7 are missing"), std::string::npos) << result.complained;
    EXPECT_TRUE(Files().empty());
    result = Run("--frames 8-11 src_%04d.png out_%04d.png");
    EXPECT_EQ(result.exit, 4);
    EXPECT_NE(result.complained.find("frames 10-11 are missing"), std::string::npos) << result.complained;
    EXPECT_EQ(Run("--frames 20-30 src_%04d.png out_%04d.png").exit, 4);
    EXPECT_EQ(Run("--frames 1-3 src_%04d.png out_%04d.png").exit, 0);
    EXPECT_EQ(Files().size(), 3u);
}

TEST_F(RenderFailures, BadFramesAreSkippedOrHeldWhenAsked)
{
    MakePictures(1, 5);
    std::filesystem::remove(folder_.Path("src_0003.png"));
    std::filesystem::resize_file(folder_.Path("src_0004.png"), 30);
    CommandResult result = Run("--bad-frames skip src_%04d.png s_%04d.png");
    EXPECT_EQ(result.exit, 0);
    EXPECT_EQ(Files("s_"), (std::vector<std::string>{"s_0001.png", "s_0002.png", "s_0005.png"}));
    EXPECT_NE(result.complained.find("2 bad frames were left out"), std::string::npos);
    result = Run("--bad-frames hold --threads 3 src_%04d.png h_%04d.png");
    EXPECT_EQ(result.exit, 0);
    ASSERT_EQ(Files("h_").size(), 5u);
    EXPECT_EQ(BytesOf(folder_.Path("h_0003.png")), BytesOf(folder_.Path("h_0002.png")));
    EXPECT_EQ(BytesOf(folder_.Path("h_0004.png")), BytesOf(folder_.Path("h_0002.png")));
    EXPECT_NE(BytesOf(folder_.Path("h_0005.png")), BytesOf(folder_.Path("h_0002.png")));
    // A part that begins with a hole holds the frame of the part before.
    ASSERT_EQ(Run("--bad-frames hold --frames 4-5 src_%04d.png p_%04d.png").exit, 0);
    EXPECT_EQ(BytesOf(folder_.Path("p_0004.png")), BytesOf(folder_.Path("h_0004.png")));
    // A movie keeps its length when frames are held, and its times when they are left out.
    for (const char* what : {"hold", "skip"}) {
        ASSERT_EQ(Run(std::string("--bad-frames ") + what + " src_%04d.png m_" + what + ".mov").exit, 0);
        const std::string probe = OutputOf("ffprobe -v error -show_entries packet=pts_time -of csv=p=0 " +
                                           folder_.Path(std::string("m_") + what + ".mov"));
        EXPECT_EQ(probe, std::string(what) == "hold" ? "0.000000\n0.040000\n0.080000\n0.120000\n0.160000\n"
                                                     : "0.000000\n0.040000\n0.160000\n");
    }
}

TEST_F(RenderFailures, AFrameThatCannotBeReadIsHeldLikeADamagedOne)
{
    MakePictures(1, 4);
    const std::string lost = folder_.Path("src_0003.png");
    std::filesystem::remove(lost);
    std::filesystem::create_symlink("nowhere.png", lost); // its name is there, the file is not
    EXPECT_EQ(Run("src_%04d.png o_%04d.png").exit, 4);
    const CommandResult result = Run("--bad-frames hold src_%04d.png h_%04d.png");
    EXPECT_EQ(result.exit, 0) << result.complained;
    EXPECT_NE(result.complained.find("1 bad frames show the one before"), std::string::npos) << result.complained;
    EXPECT_EQ(BytesOf(folder_.Path("h_0003.png")), BytesOf(folder_.Path("h_0002.png")));
    EXPECT_EQ(Run("--bad-frames skip src_%04d.png s_%04d.png").exit, 0);
    EXPECT_FALSE(Has("s_0003.png"));
}

TEST_F(RenderFailures, ADamagedFrameStopsTheRender)
{
    MakePictures(1, 3, "160x90");
    // In the middle of the packed pixels.
    std::filesystem::resize_file(folder_.Path("src_0002.png"), 20000);
    const CommandResult result = Run("src_%04d.png out_%04d.mov");
    EXPECT_EQ(result.exit, 4) << result.complained;
    EXPECT_NE(result.complained.find("src_0002.png cannot be decoded"), std::string::npos) << result.complained;
    EXPECT_TRUE(Files().empty());
    // Another size is no frame of this sequence.
    MakePictures(2, 2, "64x48");
    EXPECT_NE(Run("src_%04d.png out_%04d.mov").complained.find("another size"), std::string::npos);
}

TEST_F(RenderFailures, AFullDiskLeavesNothingHalf)
{
    MakePictures(1, 4, "160x90");
    // Files of more than 30 blocks of 1,024 bytes cannot be written.
    for (const char* output : {"out_%04d.exr", "out_%04d.raw", "out.mov"}) {
        const CommandResult result = Run(std::string("src_%04d.png ") + output, "ulimit -f 15;");
        EXPECT_EQ(result.exit, 5) << output << result.complained;
        EXPECT_NE(result.complained.find("cannot write"), std::string::npos) << output << result.complained;
        EXPECT_TRUE(Files().empty()) << output << " " << Files().front();
    }
}

TEST_F(RenderFailures, PlacesThatCannotBeWrittenAreTold)
{
    MakePictures(1, 2);
    EXPECT_EQ(Run("src_%04d.png nowhere/out_%04d.png").exit, 5);
    EXPECT_EQ(Run("src_%04d.png nowhere/out.mov").exit, 5);
    CommandResult result = Run("src_%04d.png src_%04d.png");
    EXPECT_EQ(result.exit, 5);
    EXPECT_NE(result.complained.find("would replace src_0001.png"), std::string::npos) << result.complained;
    std::filesystem::create_symlink("src_0002.png", folder_.Path("src_link_0002.png"));
    EXPECT_EQ(Run("--frame 2 src_%04d.png src_link_%04d.png").exit, 5);
    std::filesystem::create_directory(folder_.Path("out_0001.png"));
    EXPECT_EQ(Run("src_%04d.png out_%04d.png").exit, 5);
    EXPECT_FALSE(Has("out_0002.png"));
}

TEST_F(RenderFailures, ASignalLeavesNoHalfFile)
{
    MakePictures(1, 120, "640x360");
    for (const int number : {SIGTERM, SIGINT}) {
        EXPECT_EQ(Interrupt({"src_%04d.png", "out.mov"}, number, "."), 128 + number);
        EXPECT_TRUE(Files().empty()) << Files().front();
    }
    EXPECT_EQ(Interrupt({"--format", "exr-float", "src_%04d.png", "out_%04d.exr"}, SIGTERM, "out_"), 128 + SIGTERM);
    const std::vector<std::string> files = Files();
    EXPECT_FALSE(files.empty());
    EXPECT_LT(files.size(), 120u);
    for (const std::string& file : files) {
        EXPECT_EQ(file.substr(0, 4), "out_");
        EXPECT_EQ(Decoded(file, "gbrpf32le").size(), size_t{640} * 360 * 12) << file;
    }
}
