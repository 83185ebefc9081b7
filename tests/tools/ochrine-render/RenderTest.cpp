// The tools of the tests of the program.
#include "tests/tools/ochrine-render/RenderTest.h"

#include "host/GradeFile.h"
#include "src/MPTasks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

std::vector<uint8_t> BytesOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string TextOf(const std::string& path)
{
    const std::vector<uint8_t> bytes = BytesOf(path);
    return {bytes.begin(), bytes.end()};
}

void WriteBytes(const std::string& path, const void* bytes, size_t byteCount)
{
    std::ofstream(path, std::ios::binary)
        .write(static_cast<const char*>(bytes), static_cast<std::streamsize>(byteCount));
}

std::string OutputOf(const std::string& command)
{
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return text;
    char part[4096];
    for (size_t got = 0; (got = std::fread(part, 1, sizeof(part), pipe)) > 0;) text.append(part, got);
    pclose(pipe);
    return text;
}

OCSettings TestGrade()
{
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults);
    grade.primaryOn = grade.hslOn = grade.hsl.master.on = 1;
    grade.hsl.master.saturation = 130.0f;
    grade.hsl.master.gamma = 1.2f;
    grade.rgbOn = grade.rgb.master.on = 1;
    grade.rgb.master.channel[0].gain = 1.3f;
    grade.rgb.master.channel[2].pedestal = -0.1f;
    return grade;
}

RenderTest::RenderTest()
{
    EXPECT_EQ(WriteGradeFile(folder_.Path("test.ocgrade"), TestGrade()), bpNoErr);
}

CommandResult RenderTest::Run(const std::string& words, const std::string& before)
{
    const std::string grade = words.find("--grade") == std::string::npos ? "--grade test.ocgrade " : "";
    const std::string logs = std::filesystem::temp_directory_path() / std::filesystem::path(folder_.path).filename();
    const std::string command = "cd " + folder_.path + " && " + before + " " + std::getenv("OC_RENDER_PROGRAM") + " " +
                                grade + words + " > " + logs + ".out 2> " + logs + ".err";
    const int status = std::system(command.c_str());
    CommandResult result = {.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                            .said = TextOf(logs + ".out"),
                            .complained = TextOf(logs + ".err")};
    std::filesystem::remove(logs + ".out");
    std::filesystem::remove(logs + ".err");
    return result;
}

void RenderTest::MakePictures(int first, int last, const std::string& size)
{
    // Blocks of colour that differ from frame to frame, with codes of 16 bits.
    std::string crop = size;
    crop.replace(crop.find('x'), 1, ":");
    ASSERT_TRUE(RunFFmpeg("-f lavfi -i testsrc2=size=640x360:rate=25 -vf format=gbrp16le,noise=alls=40:allf=t,crop=" +
                          crop + ":0:0:exact=1 -frames:v " + std::to_string(last - first + 1) + " -start_number " +
                          std::to_string(first) + " -pix_fmt rgb48be " + folder_.Path("src_%04d.png")));
}

std::vector<std::string> RenderTest::Files(const std::string& prefix) const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("src") || name == "test.ocgrade" || !name.starts_with(prefix)) continue;
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool RenderTest::Has(const std::string& name) const
{
    return std::filesystem::exists(folder_.Path(name));
}

std::vector<float> RenderTest::Graded(const std::string& clip, int32_t number, const OCSettings& grade)
{
    std::string error;
    std::unique_ptr<ClipSource> source = OpenClip(folder_.Path(clip), {}, &error);
    EXPECT_NE(source, nullptr) << error;
    if (!source) return {};
    const ClipInfo& info = source->Info();
    const std::vector<uint8_t> pixels = ReadFrame(source.get(), number);
    FBFrame* frame = nullptr;
    OCEngine* engine = nullptr;
    EXPECT_EQ(FBCreateRGBFrameBuffer(info.width, info.height, &frame, pixFormatRGBYPlanar_Float), bpNoErr);
    EXPECT_EQ(OCCreateEngine(&engine), bpNoErr);
    OCUpdateParameters(engine, &grade);
    FBTransferPixToFBFrame(pixels.data(), info.rowBytes, 0, info.pixelFormat, frame, 1, nullptr);
    ProcessImage(engine, frame, frame, &grade, 0, 1, nullptr);
    std::vector<float> planes;
    for (size_t plane = 0; plane < 3; ++plane) {
        for (size_t row = 0; row < info.height; ++row) {
            const auto* values =
                reinterpret_cast<const float*>(frame->baseAddr + plane * frame->planeBytes + row * frame->rowBytes);
            planes.insert(planes.end(), values, values + info.width);
        }
    }
    OCDisposeEngine(engine);
    FBDisposeFrameBuffer(frame);
    return planes;
}

std::vector<uint8_t> RenderTest::Decoded(const std::string& file, const std::string& pixelFormat)
{
    const std::string raw = folder_.Path("src_decoded");
    EXPECT_TRUE(RunFFmpeg("-i " + folder_.Path(file) + " -f rawvideo -pix_fmt " + pixelFormat + " " + raw)) << file;
    std::vector<uint8_t> bytes = BytesOf(raw);
    std::filesystem::remove(raw);
    return bytes;
}
