// The tools of the clip tests.
#include "tests/host/ClipTest.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

extern "C" {
#include <libavutil/log.h>
}

const char kPaintNumbers[] = "geq=lum='16+219*mod(floor(N/pow(2\\,floor(X/16)))\\,2)':cb=128:cr=128";

TestFolder::TestFolder()
{
    av_log_set_level(AV_LOG_FATAL);
    std::string pattern = (std::filesystem::temp_directory_path() / "ochrine-test-XXXXXX").string();
    path = mkdtemp(pattern.data()) != nullptr ? pattern : "/nonexistent";
}

TestFolder::~TestFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

bool RunFFmpeg(const std::string& words)
{
    return std::system(("ffmpeg -nostdin -loglevel error -y " + words).c_str()) == 0;
}

namespace {

class CountingClip final : public ClipSource {
  public:
    CountingClip(uint32_t width, uint32_t height, int32_t frames)
    {
        (void)ClipSetFormat(&info_, width, height, pixFormatRGBA32_Float);
        info_.frameCount = frames;
        info_.name = "counting";
    }

    BPStatus ReadFrame(int32_t frameNumber, uint8_t* pixels) override
    {
        std::vector<float> values(static_cast<size_t>(ClipFrameBytes(info_) / 4));
        for (size_t i = 0; i < values.size(); ++i) {
            const uint32_t mixed = static_cast<uint32_t>(i * 2654435761u) + static_cast<uint32_t>(frameNumber) * 40503u;
            values[i] = static_cast<float>(mixed >> 8) / 16777216.0f * 1.6f - 0.2f;
        }
        std::memcpy(pixels, values.data(), values.size() * 4);
        return bpNoErr;
    }
};

} // namespace

std::unique_ptr<ClipSource> MakeCountingClip(uint32_t width, uint32_t height, int32_t frames)
{
    return std::make_unique<CountingClip>(width, height, frames);
}

std::vector<uint8_t> ReadFrame(ClipSource* clip, int32_t number)
{
    std::vector<uint8_t> pixels(static_cast<size_t>(ClipFrameBytes(clip->Info())));
    if (clip->ReadFrame(number, pixels.data()) != bpNoErr) pixels.clear();
    return pixels;
}

int32_t PaintedNumber(const ClipInfo& info, const std::vector<uint8_t>& pixels)
{
    if (pixels.empty() || info.pixelFormat != pixFormatARGB8) return -1;
    int32_t number = 0;
    for (uint32_t bit = 0; bit < 12; ++bit) {
        const uint8_t* pixel = pixels.data() + size_t{info.height / 2} * info.rowBytes + (bit * 16 + 8) * 4;
        if (pixel[1] > 127) number |= 1 << bit;
    }
    return number;
}
