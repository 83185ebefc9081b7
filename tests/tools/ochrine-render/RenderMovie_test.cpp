// The program with movies: pixels, sound, timecode, texts, times, parts.
#include "tests/tools/ochrine-render/RenderTest.h"

#include <cmath>
#include <cstring>
#include <filesystem>

namespace {

class RenderMovie : public RenderTest {
  protected:
    void MakeMovie(const std::string& more = "", const std::string& name = "src.mov")
    {
        ASSERT_TRUE(
            RunFFmpeg("-f lavfi -i testsrc2=size=192x108:rate=25 -f lavfi -i sine=frequency=440:sample_rate=48000"
                      " -f lavfi -i sine=frequency=1000:sample_rate=48000 -map 0 -map 1 -map 2 -t 2"
                      " -c:v prores_ks -profile:v 3 -c:a:0 pcm_s24le -c:a:1 aac -metadata:s:a:0 language=ger"
                      " -metadata title=Blau -metadata com.example.reel=A001 -metadata:s:v reel_name=A001C002"
                      " -movflags use_metadata_tags -timecode 01:00:00:00 -shortest " +
                      more + " " + folder_.Path(name)));
    }
    std::string Probe(const std::string& words, const std::string& file)
    {
        return OutputOf("ffprobe -v error " + words + " " + folder_.Path(file));
    }
    /// The packets of a stream, one behind the other.
    std::vector<uint8_t> Packets(const std::string& file, const std::string& stream)
    {
        const std::string raw = folder_.Path("src_packets");
        EXPECT_TRUE(RunFFmpeg("-i " + folder_.Path(file) + " -map " + stream + " -c copy -f data " + raw)) << file;
        return BytesOf(raw);
    }
};

} // namespace

TEST_F(RenderMovie, ProResShowsTheEnginesPicture)
{
    MakeMovie();
    for (const char* format : {"prores422hq", "prores4444"}) {
        ASSERT_EQ(Run(std::string("--format ") + format + " src.mov out.mov").exit, 0);
        const bool is444 = std::string(format) == "prores4444";
        const std::vector<uint8_t> bytes = Decoded("out.mov", is444 ? "yuv444p12le" : "yuv422p10le");
        const double unit = is444 ? 4.0 : 1.0; // codes of 12 bits
        const size_t count = 192 * 108;
        const size_t frameWords = is444 ? 3 * count : 2 * count;
        ASSERT_EQ(bytes.size(), 50 * frameWords * 2);
        for (const int32_t number : {0, 17, 49}) {
            const std::vector<float> wanted = Graded("src.mov", number, TestGrade());
            const auto* read =
                reinterpret_cast<const uint16_t*>(bytes.data()) + static_cast<size_t>(number) * frameWords;
            double sum[3] = {};
            for (size_t i = 0; i < count; ++i) {
                const double r = static_cast<double>(wanted[i]), g = static_cast<double>(wanted[count + i]),
                             b = static_cast<double>(wanted[2 * count + i]);
                const double y = 0.299 * r + 0.587 * g + 0.114 * b; // a small picture that tells no matrix
                const double codes[3] = {64 + 876 * y, 512 + 896 * (b - y) / 1.772, 512 + 896 * (r - y) / 1.402};
                for (size_t c = 0; c < (is444 ? 3u : 1u); ++c) {
                    sum[c] +=
                        std::abs(std::clamp(codes[c], 4.0, 1019.0) - static_cast<double>(read[c * count + i]) / unit);
                }
            }
            for (const double error : sum)
                EXPECT_LT(error / static_cast<double>(count), 3.0) << format << " " << number;
        }
        const std::string probe =
            Probe("-select_streams v -show_entries stream=codec_name,profile,codec_tag_string", "out.mov");
        EXPECT_NE(probe.find("codec_name=prores"), std::string::npos);
        EXPECT_NE(probe.find(std::string(format) == "prores4444" ? "ap4h" : "apch"), std::string::npos) << probe;
    }
}

TEST_F(RenderMovie, SoundIsCopiedPacketByPacket)
{
    MakeMovie();
    ASSERT_EQ(Run("src.mov out.mov").exit, 0);
    for (const char* stream : {"0:a:0", "0:a:1"}) {
        const std::vector<uint8_t> wanted = Packets("src.mov", stream);
        EXPECT_GT(wanted.size(), 10000u);
        EXPECT_EQ(Packets("out.mov", stream), wanted) << stream;
    }
    // And at the same times.
    for (const char* stream : {"a:0", "a:1"}) {
        const std::string words =
            std::string("-select_streams ") + stream + " -show_entries packet=pts_time -of csv=p=0";
        EXPECT_EQ(Probe(words, "out.mov"), Probe(words, "src.mov")) << stream;
    }
    EXPECT_NE(Probe("-show_streams", "out.mov").find("TAG:language=ger"), std::string::npos);
    ASSERT_EQ(Run("--no-audio src.mov silent.mov").exit, 0);
    EXPECT_EQ(Probe("-show_entries stream=codec_type -of csv=p=0", "silent.mov"), "video\ndata\n");
}

TEST_F(RenderMovie, TimecodeAndTextsAreKept)
{
    MakeMovie();
    ASSERT_EQ(Run("src.mov out.mov").exit, 0);
    const std::string probe = Probe("-show_streams -show_format", "out.mov");
    EXPECT_NE(probe.find("TAG:timecode=01:00:00:00"), std::string::npos) << probe;
    EXPECT_NE(probe.find("TAG:title=Blau"), std::string::npos);
    EXPECT_NE(probe.find("TAG:com.example.reel=A001"), std::string::npos);
    EXPECT_NE(probe.find("TAG:reel_name=A001C002"), std::string::npos);
    // A part starts with the timecode of its first frame.
    ASSERT_EQ(Run("--frames 27-40 src.mov part.mov").exit, 0);
    EXPECT_NE(Probe("-show_streams", "part.mov").find("TAG:timecode=01:00:01:02"), std::string::npos);
    ASSERT_EQ(Run("--frame 26 src.mov still.dpx").exit, 0);
    EXPECT_NE(Probe("-show_frames", "still.dpx").find("timecode=01:00:01:01"), std::string::npos);
}

TEST_F(RenderMovie, ColoursAreTaggedAsTheSourceWas)
{
    for (const char* colours : {"bt709:bt709:bt709", "bt2020:smpte2084:bt2020nc", "smpte170m:smpte170m:smpte170m"}) {
        std::string words(colours);
        const std::string primaries = words.substr(0, words.find(':'));
        const std::string matrix = words.substr(words.rfind(':') + 1);
        const std::string transfer = words.substr(primaries.size() + 1, words.rfind(':') - primaries.size() - 1);
        ASSERT_TRUE(RunFFmpeg(
            "-f lavfi -i testsrc2=size=64x32 -frames:v 2 -vf setparams=range=tv:color_primaries=" + primaries +
            ":color_trc=" + transfer + ":colorspace=" + matrix + " -c:v prores_ks " + folder_.Path("src.mov")));
        ASSERT_EQ(Run("src.mov out.mov").exit, 0);
        const std::string probe = Probe("-select_streams v -show_streams", "out.mov");
        EXPECT_NE(probe.find("color_space=" + matrix + "\n"), std::string::npos) << probe;
        EXPECT_NE(probe.find("color_transfer=" + transfer + "\n"), std::string::npos) << probe;
        EXPECT_NE(probe.find("color_primaries=" + primaries + "\n"), std::string::npos) << probe;
    }
}

TEST_F(RenderMovie, DroppedNumbersStayDropped)
{
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=64x32:rate=30000/1001 -frames:v 4 -c:v prores_ks"
                          " -timecode '00:00:59;28' " +
                          folder_.Path("src.mov")));
    ASSERT_EQ(Run("--frames 2-3 src.mov out.mov").exit, 0);
    EXPECT_NE(Probe("-show_streams", "out.mov").find("TAG:timecode=00:01:00;02"), std::string::npos)
        << Probe("-show_streams", "out.mov");
}

TEST_F(RenderMovie, AnyThreadCountGivesTheSameMovie)
{
    MakeMovie();
    ASSERT_EQ(Run("--threads 1 src.mov one.mov").exit, 0);
    for (const int threads : {2, 3, 8}) {
        ASSERT_EQ(Run("--threads " + std::to_string(threads) + " src.mov more.mov").exit, 0);
        EXPECT_EQ(BytesOf(folder_.Path("more.mov")), BytesOf(folder_.Path("one.mov"))) << threads;
    }
}

TEST_F(RenderMovie, PartsHoldEachPacketOnce)
{
    MakeMovie();
    ASSERT_EQ(Run("src.mov whole.mov").exit, 0);
    for (int part = 1; part <= 3; ++part) {
        const std::string number = std::to_string(part);
        ASSERT_EQ(Run("--chunk " + number + "/3 src.mov part" + number + ".mov").exit, 0);
    }
    for (const char* stream : {"0:v:0", "0:a:0", "0:a:1"}) {
        std::vector<uint8_t> joined;
        for (int part = 1; part <= 3; ++part) {
            const std::vector<uint8_t> packets = Packets("part" + std::to_string(part) + ".mov", stream);
            EXPECT_FALSE(packets.empty());
            joined.insert(joined.end(), packets.begin(), packets.end());
        }
        EXPECT_EQ(joined, Packets("whole.mov", stream)) << stream;
    }
}

TEST_F(RenderMovie, TimesOfAnUnevenMovieAreKept)
{
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=64x32:rate=25 -frames:v 9 -vf setpts='N*N/25/TB' -vsync vfr"
                          " -c:v prores_ks -video_track_timescale 12800 " +
                          folder_.Path("src.mov")));
    ASSERT_EQ(Run("src.mov out.mov").exit, 0);
    const std::string words = "-select_streams v -show_entries packet=pts_time -of csv=p=0";
    EXPECT_EQ(Probe(words, "out.mov"), Probe(words, "src.mov"));
    EXPECT_NE(Probe(words, "out.mov").find("2.560000"), std::string::npos);
}

TEST_F(RenderMovie, FieldsStayFields)
{
    MakeMovie("-vf setfield=tff -flags +ildct -top 1");
    ASSERT_EQ(Run("src.mov out.mov").exit, 0);
    const std::string words = "-select_streams v -show_entries stream=field_order -of csv=p=0";
    EXPECT_EQ(Probe(words, "src.mov"), "tt\n");
    EXPECT_EQ(Probe(words, "out.mov"), "tt\n");
    EXPECT_NE(Probe("-select_streams v -read_intervals %+#1 -show_frames", "out.mov").find("top_field_first=1"),
              std::string::npos);
}

TEST_F(RenderMovie, MoviesOfGroupsAndTurnedOnesAreRenderedToTheFrame)
{
    ASSERT_TRUE(
        RunFFmpeg("-f lavfi -i testsrc2=size=192x108:rate=25 -frames:v 40 -c:v libx264 -bf 2 -g 12 -pix_fmt yuv420p " +
                  folder_.Path("src_a.mp4")));
    ASSERT_TRUE(
        RunFFmpeg("-i " + folder_.Path("src_a.mp4") + " -c copy -metadata:s:v rotate=90 " + folder_.Path("src_b.mp4")));
    for (const char* clip : {"src_a.mp4", "src_b.mp4"}) {
        ASSERT_EQ(Run(std::string("--frames 5-39 --threads 3 ") + clip + " o_%04d.raw").exit, 0);
        for (const int32_t number : {5, 6, 23, 39}) {
            char name[32] = {};
            std::snprintf(name, sizeof(name), "o_%04d.raw", number);
            const std::vector<float> wanted = Graded(clip, number, TestGrade());
            const std::vector<uint8_t> bytes = BytesOf(folder_.Path(name));
            ASSERT_EQ(bytes.size(), wanted.size() * 4);
            EXPECT_EQ(std::memcmp(bytes.data(), wanted.data(), bytes.size()), 0) << clip << " " << number;
        }
    }
}

TEST_F(RenderMovie, AMovieThatIsThereIsLeftAloneWhenAsked)
{
    MakeMovie();
    WriteBytes(folder_.Path("out.mov"), "kept", 4);
    ASSERT_EQ(Run("--skip-existing src.mov out.mov").exit, 0);
    EXPECT_EQ(TextOf(folder_.Path("out.mov")), "kept");
    ASSERT_EQ(Run("src.mov out.mov").exit, 0);
    EXPECT_GT(BytesOf(folder_.Path("out.mov")).size(), 10000u);
}

TEST_F(RenderMovie, AReplacedMovieKeepsItsMode)
{
    MakeMovie();
    using std::filesystem::perms;
    for (const perms mode : {perms(0600), perms(0664)}) {
        WriteBytes(folder_.Path("out.mov"), "old", 3);
        std::filesystem::permissions(folder_.Path("out.mov"), mode);
        ASSERT_EQ(Run("src.mov out.mov").exit, 0);
        EXPECT_GT(BytesOf(folder_.Path("out.mov")).size(), 10000u);
        EXPECT_EQ(std::filesystem::status(folder_.Path("out.mov")).permissions(), mode);
    }
}

TEST_F(RenderMovie, AnyNameThatAFileCanHaveIsTaken)
{
    MakeMovie();
    const std::string name = std::string(251, 'n') + ".mov";
    const CommandResult result = Run("src.mov " + name);
    EXPECT_EQ(result.exit, 0) << result.complained;
    EXPECT_EQ(Files(), std::vector<std::string>{name});
}

TEST_F(RenderMovie, ALinkStaysALink)
{
    MakeMovie();
    std::filesystem::create_directory(folder_.Path("far"));
    WriteBytes(folder_.Path("far/real.mov"), "old", 3);
    std::filesystem::create_symlink("far/real.mov", folder_.Path("link.mov"));
    ASSERT_EQ(Run("src.mov link.mov").exit, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder_.Path("link.mov")));
    EXPECT_GT(BytesOf(folder_.Path("far/real.mov")).size(), 10000u);
    const std::filesystem::directory_iterator far(folder_.Path("far"));
    EXPECT_EQ(std::distance(begin(far), end(far)), 1);
}

TEST_F(RenderMovie, SoundThatDoesNotFitIsTold)
{
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=64x32:rate=25 -f lavfi -i sine -t 1 -c:v ffv1 -c:a flac " +
                          folder_.Path("src.mkv")));
    const CommandResult result = Run("src.mkv out.mov");
    EXPECT_EQ(result.exit, 0);
    EXPECT_NE(result.complained.find("sound cannot be kept"), std::string::npos) << result.complained;
}

TEST_F(RenderMovie, ATruncatedMovieIsNoWholeOne)
{
    MakeMovie("-movflags faststart");
    std::filesystem::resize_file(folder_.Path("src.mov"), std::filesystem::file_size(folder_.Path("src.mov")) / 2);
    const CommandResult result = Run("src.mov out.mov");
    EXPECT_EQ(result.exit, 4) << result.complained;
    EXPECT_TRUE(Files().empty());
    EXPECT_EQ(Run("--bad-frames hold src.mov out.mov").exit, 0);
    EXPECT_EQ(Probe("-select_streams v -count_packets -show_entries stream=nb_read_packets -of csv=p=0", "out.mov"),
              "50\n");
}
