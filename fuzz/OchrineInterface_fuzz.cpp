// The C interface with arguments from anywhere: bytes as grades, keys, words, curves and images of any format, size, row
// bytes and orientation. Images have exactly the bytes that they claim, so that a step beyond them is seen.
#include "host/ochrine.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr uint32_t kFormats[] = {OCHRINE_ARGB8,        OCHRINE_ARGB16_32K, OCHRINE_YRGB_FLOAT, OCHRINE_RGBA_FLOAT,
                                 OCHRINE_PLANAR_FLOAT, OCHRINE_ABGR8,      OCHRINE_VUYA8,      OCHRINE_VUYA_FLOAT,
                                 OCHRINE_YUYV10_601,   OCHRINE_YUYV10_709, OCHRINE_BGRA_FLOAT, OCHRINE_RGB16_PLANAR,
                                 OCHRINE_BGRA8,        OCHRINE_UYVA8,      OCHRINE_UYVA8R,     205};

/// Takes values off the front of the input; an empty input gives zeros.
struct Reader {
    const uint8_t* bytes;
    size_t count;

    template <class T> T Take()
    {
        T value = {};
        const size_t part = std::min(count, sizeof value);
        if (part != 0) std::memcpy(&value, bytes, part);
        bytes += part;
        count -= part;
        return value;
    }
};

/// Memory on an odd place, exactly as long as told.
struct Pixels {
    std::unique_ptr<uint8_t[]> memory{};
    ochrine_image image{};

    Pixels(Reader* reader, uint32_t width, uint32_t height)
    {
        image.format = kFormats[reader->Take<uint8_t>() % std::size(kFormats)];
        image.width = width;
        image.height = height;
        const uint8_t how = reader->Take<uint8_t>();
        image.orientation = how & 1;
        image.row_bytes = ochrine_row_bytes(width, image.format) + (how >> 1 & 3) * 4;
        const bool isPlanar = image.format == OCHRINE_PLANAR_FLOAT || image.format == OCHRINE_RGB16_PLANAR;
        if (isPlanar) image.plane_bytes = image.row_bytes * height + (how >> 3 & 1) * 4;
        image.size = image.row_bytes * height + image.plane_bytes * 3 + (how >> 4 & 1);
        // One field in eight is what the input says, whatever that is.
        if (how >> 5 == 7) {
            switch (reader->Take<uint8_t>() % 6) {
            case 0: image.width = reader->Take<uint32_t>(); break;
            case 1: image.height = reader->Take<uint32_t>(); break;
            case 2: image.row_bytes = reader->Take<size_t>(); break;
            case 3: image.plane_bytes = reader->Take<size_t>(); break;
            case 4: image.size = std::min<size_t>(image.size, reader->Take<uint32_t>()); break;
            default: image.format = reader->Take<uint32_t>();
            }
        }
        memory.reset(new uint8_t[image.size]);
        for (size_t i = 0; i < image.size; ++i) memory[i] = reader->count ? reader->bytes[i % reader->count] : 0;
        image.pixels = memory.get();
    }
};

void Values(Reader* reader, ochrine_grade* grade)
{
    const auto offset = reader->Take<uint32_t>();
    const auto value = reader->Take<double>();
    double seen = 0;
    if (ochrine_grade_set(grade, offset, value) == OCHRINE_OK &&
        (ochrine_grade_get(grade, offset, &seen) != OCHRINE_OK || !std::isfinite(seen)))
        std::abort();
    (void)ochrine_grade_switch(grade, offset, static_cast<int>(offset >> 8));
    (void)ochrine_grade_set_word(grade, offset % 40000, reader->Take<uint32_t>());
    const std::string key(reinterpret_cast<const char*>(reader->bytes), std::min<size_t>(reader->count, 40));
    (void)ochrine_grade_set_key(grade, key.c_str(), value);
    float points[40];
    for (float& point : points) point = reader->Take<float>();
    (void)ochrine_grade_set_curve(grade, offset % 8, offset % 20, points, points + 20);
}

/// A grade that was taken comes back in both kinds.
void RoundTrip(const ochrine_grade* grade)
{
    ochrine_grade* back = nullptr;
    if (ochrine_grade_create(&back) != OCHRINE_OK) return;
    for (uint32_t kind : {OCHRINE_RECORD, OCHRINE_PRESET}) {
        size_t needed = 0;
        (void)ochrine_grade_to_bytes(grade, kind, nullptr, 0, &needed);
        std::vector<uint8_t> bytes(needed), again(needed);
        if (ochrine_grade_to_bytes(grade, kind, bytes.data(), needed, nullptr) != OCHRINE_OK) std::abort();
        if (ochrine_grade_from_bytes(back, bytes.data(), needed) != OCHRINE_OK) std::abort();
        if (ochrine_grade_to_bytes(back, kind, again.data(), needed, nullptr) != OCHRINE_OK || again != bytes)
            std::abort();
    }
    ochrine_grade_destroy(back);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static ochrine_renderer* renderers[2] = {};
    for (uint32_t i = 0; i < 2; ++i)
        if (!renderers[i] && ochrine_renderer_create(i + 1, &renderers[i]) != OCHRINE_OK) std::abort();
    ochrine_set_log(nullptr, nullptr);

    Reader reader = {data, size};
    const auto what = reader.Take<uint8_t>();
    ochrine_grade* grade = nullptr;
    if (ochrine_grade_create(&grade) != OCHRINE_OK) return 0;
    // Bytes of a grade stand at the end of the input, behind what images and values take.
    const auto head = std::min<size_t>(reader.Take<uint8_t>(), reader.count);
    if (ochrine_grade_from_bytes(grade, reader.bytes + head, reader.count - head) == OCHRINE_OK) RoundTrip(grade);
    if (what & 1) Values(&reader, grade);

    const uint32_t width = reader.Take<uint8_t>() % 70 + 1u, height = reader.Take<uint8_t>() % 30 + 1u;
    Pixels source(&reader, width, height), target(&reader, width, height);
    ochrine_renderer* renderer = renderers[what >> 1 & 1];
    (void)ochrine_renderer_set_grade(renderer, grade);
    const ochrine_image& to = what & 4 ? source.image : target.image;
    (void)ochrine_render(renderer, &source.image, &to, what >> 3 & 1);
    ochrine_grade_destroy(grade);
    BPSetLogSink(nullptr, nullptr);
    return 0;
}
