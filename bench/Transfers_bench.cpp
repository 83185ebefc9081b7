// Transfers and scaling beside what a user would take instead: a memory copy of as many bytes, libyuv, swscale and zimg.
// Each line alternates its candidates and prints medians as a row of a Markdown table.
#include "src/FBCopy.h"
#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <libyuv.h>
#include <string>
#include <vector>
#include <zimg.h>

extern "C" {
#include <libswscale/swscale.h>
}

namespace {

constexpr int kRounds = 15;
constexpr FBPixelFormat kPlanar = pixFormatRGBYPlanar_Float;

struct Size {
    uint32_t width, height;
    const char* name;
};
constexpr Size kHD = {1920, 1080, "1080p"}, kUHD = {3840, 2160, "UHD"};

using Work = std::function<void()>;

double Seconds(const Work& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Medians of candidates that take turns; an empty candidate gives 0.
std::vector<double> Medians(const std::vector<Work>& candidates)
{
    std::vector<std::vector<double>> times(candidates.size());
    for (int round = -2; round < kRounds; ++round)
        for (size_t i = 0; i < candidates.size(); ++i)
            if (candidates[i]) {
                const double time = Seconds(candidates[i]);
                if (round >= 0) times[i].push_back(time);
            }
    std::vector<double> medians;
    for (std::vector<double>& list : times) {
        std::sort(list.begin(), list.end());
        medians.push_back(list.empty() ? 0 : list[list.size() / 2]);
    }
    return medians;
}

struct Peer {
    const char* name;
    Work work;
};

/// One pair: memory on both sides, and who else can do it.
void Row(const char* label, const Size& size, size_t bytesIn, size_t bytesOut, const Work& one, const Work& two,
         const Peer& peer)
{
    static std::vector<uint8_t> from(size_t{1} << 28, 1), to(size_t{1} << 28, 2);
    const size_t copied = (bytesIn + bytesOut) / 2; // a copy reads and writes each of its bytes
    const std::vector<double> m = Medians({one, two, [&] { std::memcpy(to.data(), from.data(), copied); }, peer.work});
    const double pixels = static_cast<double>(size.width) * size.height * 1e-6;
    std::printf("| %s | %s | %.0f | %.0f | %.2f | %s | ", label, size.name, pixels / m[0], pixels / m[1], m[2] / m[0],
                peer.work ? peer.name : "");
    if (peer.work)
        std::printf("%.2f |\n", m[3] / m[0]);
    else
        std::printf("|\n");
    std::fflush(stdout);
}

struct Picture {
    std::vector<uint8_t> bytes;
    uint32_t rowBytes;
};

Picture MakePicture(const Size& size, FBPixelFormat format)
{
    Picture p;
    p.rowBytes = static_cast<uint32_t>(FBPixelRowBytes(size.width, format));
    p.bytes.resize(size_t{p.rowBytes} * size.height * (format == pixFormatRGB16Planar ? 3 : 1));
    const bool floats = format == pixFormatYRGB32_Float || format == pixFormatRGBA32_Float ||
                        format == pixFormatBGRY32_Float || format == pixFormatVUYA32_Float;
    for (size_t i = 0; i + 4 <= p.bytes.size(); i += 4) {
        uint32_t word = static_cast<uint32_t>(i * 2654435761u);
        if (floats) {
            const float value = static_cast<float>(word >> 8) * 0x1p-24f;
            std::memcpy(&word, &value, 4);
        }
        std::memcpy(&p.bytes[i], &word, 4);
    }
    return p;
}

/// 8-bit words into three float planes, as libyuv would be used: split, then scale each plane.
Work LibyuvIn(const Size& size, const Picture& picture, const FBFrame* frame)
{
    return [&size, &picture, frame] {
        static std::vector<uint8_t> planes[4];
        for (auto& plane : planes) plane.resize(size_t{size.width} * size.height);
        const int width = static_cast<int>(size.width), height = static_cast<int>(size.height);
        libyuv::SplitARGBPlane(picture.bytes.data(), static_cast<int>(picture.rowBytes), planes[0].data(), width,
                               planes[1].data(), width, planes[2].data(), width, planes[3].data(), width, width,
                               height);
        for (size_t c = 0; c < 3; ++c)
            for (uint32_t row = 0; row < size.height; ++row)
                libyuv::ByteToFloat(
                    planes[c].data() + size_t{row} * size.width,
                    reinterpret_cast<float*>(frame->baseAddr + c * frame->planeBytes + size_t{row} * frame->rowBytes),
                    1 / 255.0f, width);
    };
}

/// Three float planes to packed words of another format by swscale.
Work SwscaleOut(const Size& size, Picture* picture, const FBFrame* frame, AVPixelFormat format)
{
    SwsContext* context = sws_getContext(static_cast<int>(size.width), static_cast<int>(size.height),
                                         AV_PIX_FMT_GBRPF32LE, static_cast<int>(size.width),
                                         static_cast<int>(size.height), format, SWS_POINT, nullptr, nullptr, nullptr);
    if (!context) return {};
    return [context, &size, picture, frame] {
        const size_t plane = frame->planeBytes;
        const uint8_t* in[4] = {frame->baseAddr + plane, frame->baseAddr + 2 * plane, frame->baseAddr, nullptr};
        const int stride = static_cast<int>(frame->rowBytes);
        const int inStride[4] = {stride, stride, stride, 0};
        uint8_t* out[4] = {picture->bytes.data(), nullptr, nullptr, nullptr};
        const int outStride[4] = {static_cast<int>(picture->rowBytes), 0, 0, 0};
        sws_scale(context, in, inStride, 0, static_cast<int>(size.height), out, outStride);
    };
}

/// zimg on whole planes: 10-bit 4:2:2 to float R, G, B, or one float plane to another size.
struct Zimg {
    zimg_filter_graph* graph;
    void* working;
};

Zimg MakeZimg(const zimg_image_format& from, const zimg_image_format& to)
{
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.resample_filter = ZIMG_RESIZE_BICUBIC;
    params.resample_filter_uv = ZIMG_RESIZE_POINT;
    params.filter_param_a = 0;
    params.filter_param_b = 0.5;
    Zimg z = {zimg_filter_graph_build(&from, &to, &params), nullptr};
    size_t bytes = 0;
    if (z.graph) zimg_filter_graph_get_tmp_size(z.graph, &bytes);
    z.working = BPAllocate(bytes + 64);
    return z;
}

Work ZimgVideoIn(const Size& size, const FBFrame* frame)
{
    zimg_image_format from, to;
    zimg_image_format_default(&from, ZIMG_API_VERSION);
    from.width = size.width;
    from.height = size.height;
    from.pixel_type = ZIMG_PIXEL_WORD;
    from.depth = 10;
    from.subsample_w = 1;
    from.color_family = ZIMG_COLOR_YUV;
    from.matrix_coefficients = ZIMG_MATRIX_BT709;
    from.pixel_range = ZIMG_RANGE_LIMITED;
    zimg_image_format_default(&to, ZIMG_API_VERSION);
    to.width = size.width;
    to.height = size.height;
    to.pixel_type = ZIMG_PIXEL_FLOAT;
    to.color_family = ZIMG_COLOR_RGB;
    to.matrix_coefficients = ZIMG_MATRIX_RGB;
    const Zimg z = MakeZimg(from, to);
    if (!z.graph) return {};
    auto* planes = static_cast<uint8_t*>(BPAllocate(size_t{size.width} * size.height * 6));
    return [=, &size] {
        zimg_image_buffer_const in = {};
        in.version = ZIMG_API_VERSION;
        zimg_image_buffer out = {};
        out.version = ZIMG_API_VERSION;
        for (size_t c = 0; c < 3; ++c) {
            in.plane[c].data = planes + c * size_t{size.width} * size.height * 2;
            in.plane[c].stride = static_cast<ptrdiff_t>(size.width * (c ? 1 : 2));
            in.plane[c].mask = ZIMG_BUFFER_MAX;
            out.plane[c].data = frame->baseAddr + c * frame->planeBytes;
            out.plane[c].stride = frame->rowBytes;
            out.plane[c].mask = ZIMG_BUFFER_MAX;
        }
        zimg_filter_graph_process(z.graph, &in, &out, z.working, nullptr, nullptr, nullptr, nullptr);
    };
}

Work ZimgScale(const FBFrame* source, const FBFrame* destination)
{
    zimg_image_format from, to;
    zimg_image_format_default(&from, ZIMG_API_VERSION);
    from.width = source->width;
    from.height = source->height;
    from.pixel_type = ZIMG_PIXEL_FLOAT;
    from.color_family = ZIMG_COLOR_GREY;
    to = from;
    to.width = destination->width;
    to.height = destination->height;
    const Zimg z = MakeZimg(from, to);
    if (!z.graph) return {};
    return [=] {
        for (size_t c = 0; c < 4; ++c) {
            zimg_image_buffer_const in = {};
            in.version = ZIMG_API_VERSION;
            in.plane[0].data = source->baseAddr + c * source->planeBytes;
            in.plane[0].stride = source->rowBytes;
            in.plane[0].mask = ZIMG_BUFFER_MAX;
            zimg_image_buffer out = {};
            out.version = ZIMG_API_VERSION;
            out.plane[0].data = destination->baseAddr + c * destination->planeBytes;
            out.plane[0].stride = destination->rowBytes;
            out.plane[0].mask = ZIMG_BUFFER_MAX;
            zimg_filter_graph_process(z.graph, &in, &out, z.working, nullptr, nullptr, nullptr, nullptr);
        }
    };
}

FBFrame* MakeFrame(const Size& size)
{
    FBFrame* frame = nullptr;
    if (FBCreateRGBFrameBuffer(size.width, size.height, &frame, kPlanar) != bpNoErr) std::abort();
    return frame;
}

} // namespace

int main()
{
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr);
    MPTask* pool = nullptr;
    const uint32_t tasks = MPStartTaskCount(&pool, 2);
    std::printf("| transfer | size | Mpixel/s, 1 task | 2 tasks | of a copy | peer | times the peer |\n"
                "|---|---|---:|---:|---:|---|---:|\n");
    const struct {
        FBPixelFormat format;
        const char* name;
    } inputs[] = {{pixFormatARGB8, "32 in"},         {pixFormatBGRA8, "BGRA in"},
                  {pixFormatARGB16_32K, "200 in"},   {pixFormatYRGB32_Float, "201 in"},
                  {pixFormatRGBA32_Float, "202 in"}, {pixFormatBGRY32_Float, "215 in"},
                  {pixFormatVUYA8, "207 in"},        {pixFormatUYVA8, "v408 in"},
                  {pixFormatVUYA32_Float, "208 in"}, {pixFormatYUYV10_709, "210 in"},
                  {pixFormatRGB16Planar, "218 in"}},
      outputs[] = {{pixFormatARGB8, "32 out"},         {pixFormatBGRA8, "BGRA out"},
                   {pixFormatABGR8, "206 out"},        {pixFormatARGB16_32K, "200 out"},
                   {pixFormatYRGB32_Float, "201 out"}, {pixFormatRGBA32_Float, "202 out"},
                   {pixFormatBGRY32_Float, "215 out"}, {pixFormatVUYA8, "207 out"},
                   {pixFormatVUYA32_Float, "208 out"}, {pixFormatYUYV10_709, "210 out"}};
    for (const Size& size : {kHD, kUHD}) {
        FBFrame* frame = MakeFrame(size);
        const size_t frameBytes = size_t{frame->planeBytes} * 4;
        for (const auto& input : inputs) {
            const Picture picture = MakePicture(size, input.format);
            const uint32_t plane = picture.rowBytes * size.height;
            Peer peer = {"", {}};
            if (input.format == pixFormatARGB8 || input.format == pixFormatBGRA8)
                peer = {"libyuv", LibyuvIn(size, picture, frame)};
            if (input.format == pixFormatYUYV10_709) peer = {"zimg", ZimgVideoIn(size, frame)};
            Row(
                input.name, size, picture.bytes.size(), frameBytes,
                [&] {
                    FBTransferPixToFBFrame(picture.bytes.data(), picture.rowBytes, plane, input.format, frame, 1,
                                           nullptr);
                },
                [&] {
                    FBTransferPixToFBFrame(picture.bytes.data(), picture.rowBytes, plane, input.format, frame, tasks,
                                           pool);
                },
                peer);
        }
        const Picture noise = MakePicture(size, pixFormatRGBA32_Float);
        FBTransferPixToFBFrameSSE(noise.bytes.data(), noise.rowBytes, 0, pixFormatRGBA32_Float, frame);
        for (const auto& output : outputs) {
            Picture picture = MakePicture(size, output.format);
            Peer peer = {"", {}};
            if (output.format == pixFormatARGB8) peer = {"swscale", SwscaleOut(size, &picture, frame, AV_PIX_FMT_BGRA)};
            if (output.format == pixFormatBGRA8) peer = {"swscale", SwscaleOut(size, &picture, frame, AV_PIX_FMT_ARGB)};
            if (output.format == pixFormatABGR8) peer = {"swscale", SwscaleOut(size, &picture, frame, AV_PIX_FMT_RGBA)};
            Row(
                output.name, size, frameBytes * 3 / 4, picture.bytes.size(),
                [&] {
                    FBTransferFBFrameToPix(frame, nullptr, picture.bytes.data(), picture.rowBytes, output.format, 1,
                                           nullptr);
                },
                [&] {
                    FBTransferFBFrameToPix(frame, nullptr, picture.bytes.data(), picture.rowBytes, output.format, tasks,
                                           pool);
                },
                peer);
        }
        FBDisposeFrameBuffer(frame);
    }
    FBFrame* large = MakeFrame(kUHD);
    FBFrame* small = MakeFrame(kHD);
    for (size_t i = 0; i < large->planeBytes; ++i)
        reinterpret_cast<float*>(large->baseAddr)[i] = static_cast<float>(i % 977) / 977;
    Row(
        "203, UHD to HD", kHD, size_t{large->planeBytes} * 4, size_t{small->planeBytes} * 4,
        [&] { FBCopyFrameBuffer(large, small, 1, nullptr); }, [&] { FBCopyFrameBuffer(large, small, tasks, pool); },
        {"zimg", ZimgScale(large, small)});
    FBDisposeFrameBuffer(large);
    FBDisposeFrameBuffer(small);
    MPDisposeTasks(tasks, &pool);
    return 0;
}
