// The resampler, by way of zimg. Rows go through small rings of aligned lines, one channel at a time: any picture
// memory will do, and no plane is copied whole.
#include "src/FBResample.h"

#include <cmath>
#include <cstring>
#include <zimg.h>

namespace {

constexpr size_t kAlignment = 64;
constexpr uint32_t kSideLimit = 65535;

size_t RoundUp(size_t value)
{
    return (value + kAlignment - 1) / kAlignment * kAlignment;
}

size_t SampleBytes(FBSampleKind kind)
{
    return kind == fbSample8u4 ? 1 : sizeof(float);
}

uint32_t ChannelsOf(FBSampleKind kind)
{
    return kind == fbSample32f1 ? 1 : 4;
}

size_t LineBytes(FBSampleKind kind, uint32_t width)
{
    return RoundUp(width * SampleBytes(kind)) + kAlignment;
}

/// A ring of lines on one side, and the picture that they come from or go to.
struct Side {
    uint8_t* lines;
    size_t lineBytes;
    uint32_t mask;
    uint8_t* picture; ///< the channel's sample of the region's first pixel
    uint32_t rowBytes, pixelBytes;
};

struct Channel {
    Side in, out;
};

template <class Sample> void Gather(const uint8_t* from, size_t step, uint8_t* to, unsigned left, unsigned right)
{
    if (step == sizeof(Sample)) {
        std::memcpy(to + left * step, from + left * step, (right - left) * step);
        return;
    }
    for (size_t i = left; i < right; ++i) std::memcpy(to + i * sizeof(Sample), from + i * step, sizeof(Sample));
}

template <class Sample> void Scatter(const uint8_t* from, uint8_t* to, size_t step, unsigned left, unsigned right)
{
    if (step == sizeof(Sample)) {
        std::memcpy(to + left * step, from + left * step, (right - left) * step);
        return;
    }
    for (size_t i = left; i < right; ++i) std::memcpy(to + i * step, from + i * sizeof(Sample), sizeof(Sample));
}

template <class Sample> int ReadLine(void* user, unsigned row, unsigned left, unsigned right)
{
    const Side& side = static_cast<const Channel*>(user)->in;
    Gather<Sample>(side.picture + size_t{row} * side.rowBytes, side.pixelBytes,
                   side.lines + (row & side.mask) * side.lineBytes, left, right);
    return 0;
}

template <class Sample> int WriteLine(void* user, unsigned row, unsigned left, unsigned right)
{
    const Side& side = static_cast<const Channel*>(user)->out;
    Scatter<Sample>(side.lines + (row & side.mask) * side.lineBytes, side.picture + size_t{row} * side.rowBytes,
                    side.pixelBytes, left, right);
    return 0;
}

bool IsSound(const FBRegion& region)
{
    return region.width >= 1 && region.height >= 1 && region.width <= kSideLimit && region.height <= kSideLimit &&
           region.x >= 0 && region.y >= 0;
}

zimg_image_format FormatOf(FBSampleKind kind, uint32_t width, uint32_t height)
{
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = width;
    format.height = height;
    format.pixel_type = kind == fbSample8u4 ? ZIMG_PIXEL_BYTE : ZIMG_PIXEL_FLOAT;
    format.color_family = ZIMG_COLOR_GREY;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

int32_t Fail()
{
    char message[256];
    const int32_t number = zimg_get_last_error(message, sizeof message);
    zimg_clear_last_error();
    return number != 0 ? number : bpParamErr;
}

/// How a destination lies on its source.
struct Mapping {
    FBRegion source, destination;
    double xFactor, yFactor, xShift, yShift;
};

zimg_filter_graph* BuildGraph(FBSampleKind kind, const Mapping& mapping)
{
    // zimg sees the region as the picture: what lies outside is not sampled.
    zimg_image_format from = FormatOf(kind, mapping.source.width, mapping.source.height);
    from.active_region.left = -mapping.xShift / mapping.xFactor;
    from.active_region.top = -mapping.yShift / mapping.yFactor;
    from.active_region.width = mapping.destination.width / mapping.xFactor;
    from.active_region.height = mapping.destination.height / mapping.yFactor;
    const zimg_image_format to = FormatOf(kind, mapping.destination.width, mapping.destination.height);
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.resample_filter = ZIMG_RESIZE_BICUBIC;
    params.filter_param_a = 0; // Catmull-Rom
    params.filter_param_b = 0.5;
    params.dither_type = ZIMG_DITHER_NONE;
    params.cpu_type = ZIMG_CPU_AUTO;
    return zimg_filter_graph_build(&from, &to, &params);
}

/// What a graph works in: a ring of lines on each side, then its own memory.
struct Workspace {
    unsigned inMask, outMask;
    size_t inLineBytes, outLineBytes;
    size_t inBytes, outBytes, graphBytes;

    size_t Total() const { return inBytes + outBytes + graphBytes; }
};

/// 0, or the number of a failure.
int32_t PlanWorkspace(FBSampleKind kind, const zimg_filter_graph* graph, const FBRegion& source,
                      const FBRegion& destination, Workspace* plan)
{
    unsigned inLines = 0, outLines = 0;
    if (zimg_filter_graph_get_input_buffering(graph, &inLines) ||
        zimg_filter_graph_get_output_buffering(graph, &outLines) ||
        zimg_filter_graph_get_tmp_size(graph, &plan->graphBytes))
        return Fail();
    plan->inMask = zimg_select_buffer_mask(inLines);
    plan->outMask = zimg_select_buffer_mask(outLines);
    plan->inLineBytes = LineBytes(kind, source.width);
    plan->outLineBytes = LineBytes(kind, destination.width);
    // A graph that keeps every line gets as many as the picture has.
    const size_t inCount = plan->inMask == ZIMG_BUFFER_MAX ? source.height : size_t{plan->inMask} + 1;
    const size_t outCount = plan->outMask == ZIMG_BUFFER_MAX ? destination.height : size_t{plan->outMask} + 1;
    plan->inBytes = RoundUp(inCount * plan->inLineBytes);
    plan->outBytes = RoundUp(outCount * plan->outLineBytes);
    return 0;
}

// The graph of the last call, which serves again for the next plane and the next frame. Thread: main.
struct CachedGraph {
    FBSampleKind kind;
    Mapping mapping;
    zimg_filter_graph* graph;
};
CachedGraph gCached = {};

/// The graph for a mapping, owned by the cache; null after a failure.
const zimg_filter_graph* GraphFor(FBSampleKind kind, const Mapping& mapping)
{
    if (gCached.graph && gCached.kind == kind && std::memcmp(&gCached.mapping, &mapping, sizeof mapping) == 0)
        return gCached.graph;
    FBReleaseResampler();
    gCached = {.kind = kind, .mapping = mapping, .graph = BuildGraph(kind, mapping)};
    return gCached.graph;
}

/// Whether zimg may work in the picture itself: one channel, rows on its boundaries.
bool IsDirect(const uint8_t* picture, uint32_t rowBytes, uint32_t channels)
{
    return channels == 1 && reinterpret_cast<uintptr_t>(picture) % kAlignment == 0 && rowBytes % kAlignment == 0;
}

} // namespace

size_t FBResampleScratchBytes(FBSampleKind kind, const FBRegion& source, const FBRegion& destination, FBResampleMethod)
{
    if (!IsSound(source) || !IsSound(destination)) return 0;
    const zimg_filter_graph* graph = GraphFor(kind, {.source = source,
                                                     .destination = destination,
                                                     .xFactor = static_cast<double>(destination.width) / source.width,
                                                     .yFactor = static_cast<double>(destination.height) / source.height,
                                                     .xShift = 0,
                                                     .yShift = 0});
    Workspace plan = {};
    if (!graph || PlanWorkspace(kind, graph, source, destination, &plan) != 0) return 0;
    return plan.Total();
}

int32_t FBResample(FBSampleKind kind, const FBResampleCall& call)
{
    if (!call.scratch) return bpMemFullErr;
    if (call.method != fbResampleCubic || !IsSound(call.sourceRegion) || !IsSound(call.destinationRegion) ||
        !(call.xFactor > 0) || !(call.yFactor > 0) ||
        static_cast<uint64_t>(call.sourceRegion.x) + call.sourceRegion.width > call.sourceWidth ||
        static_cast<uint64_t>(call.sourceRegion.y) + call.sourceRegion.height > call.sourceHeight)
        return bpParamErr;
    const zimg_filter_graph* graph = GraphFor(kind, {.source = call.sourceRegion,
                                                     .destination = call.destinationRegion,
                                                     .xFactor = call.xFactor,
                                                     .yFactor = call.yFactor,
                                                     .xShift = call.xShift,
                                                     .yShift = call.yShift});
    if (!graph) return Fail();
    Workspace plan = {};
    int32_t result = PlanWorkspace(kind, graph, call.sourceRegion, call.destinationRegion, &plan);
    if (result == 0 && plan.Total() > call.scratchBytes) result = bpMemFullErr;

    const uint32_t channels = ChannelsOf(kind);
    const auto pixelBytes = static_cast<uint32_t>(channels * SampleBytes(kind));
    for (uint32_t c = 0; c < channels && result == 0; ++c) {
        const size_t sample = c * SampleBytes(kind);
        Channel channel = {
            .in = {.lines = call.scratch,
                   .lineBytes = plan.inLineBytes,
                   .mask = plan.inMask,
                   .picture = const_cast<uint8_t*>(call.source) + size_t(call.sourceRegion.y) * call.sourceRowBytes +
                              size_t(call.sourceRegion.x) * pixelBytes + sample,
                   .rowBytes = call.sourceRowBytes,
                   .pixelBytes = pixelBytes},
            .out = {.lines = call.scratch + plan.inBytes,
                    .lineBytes = plan.outLineBytes,
                    .mask = plan.outMask,
                    .picture = call.destination + size_t(call.destinationRegion.y) * call.destinationRowBytes +
                               size_t(call.destinationRegion.x) * pixelBytes + sample,
                    .rowBytes = call.destinationRowBytes,
                    .pixelBytes = pixelBytes}};
        zimg_image_buffer_const from = {};
        from.version = ZIMG_API_VERSION;
        from.plane[0].data = channel.in.lines;
        from.plane[0].stride = static_cast<ptrdiff_t>(plan.inLineBytes);
        from.plane[0].mask = plan.inMask;
        zimg_image_buffer to = {};
        to.version = ZIMG_API_VERSION;
        to.plane[0].data = channel.out.lines;
        to.plane[0].stride = static_cast<ptrdiff_t>(plan.outLineBytes);
        to.plane[0].mask = plan.outMask;
        const bool bytes = kind == fbSample8u4;
        zimg_filter_graph_callback read = bytes ? ReadLine<uint8_t> : ReadLine<float>;
        zimg_filter_graph_callback write = bytes ? WriteLine<uint8_t> : WriteLine<float>;
        if (IsDirect(channel.in.picture, channel.in.rowBytes, channels)) {
            from.plane[0].data = channel.in.picture;
            from.plane[0].stride = channel.in.rowBytes;
            from.plane[0].mask = ZIMG_BUFFER_MAX;
            read = nullptr;
        }
        if (IsDirect(channel.out.picture, channel.out.rowBytes, channels)) {
            to.plane[0].data = channel.out.picture;
            to.plane[0].stride = channel.out.rowBytes;
            to.plane[0].mask = ZIMG_BUFFER_MAX;
            write = nullptr;
        }
        if (zimg_filter_graph_process(graph, &from, &to, call.scratch + plan.inBytes + plan.outBytes, read, &channel,
                                      write, &channel))
            result = Fail();
    }
    return result;
}

void FBReleaseResampler()
{
    zimg_filter_graph_free(gCached.graph);
    gCached = {};
}
