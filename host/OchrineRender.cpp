// The C interface: images are checked here, so that the renderer need not.
#include "host/OchrineObjects.h"

#include "src/platform/BPMemory.h"
#include "src/platform/BPThreads.h"

#include <algorithm>

namespace {

FBPixelFormat FormatOf(uint32_t format)
{
    return static_cast<FBPixelFormat>(static_cast<int32_t>(format));
}

/// The unit that addresses are multiples of.
uintptr_t ComponentOf(FBPixelFormat format)
{
    switch (static_cast<int32_t>(format)) {
    case pixFormatARGB16_32K:
    case pixFormatRGB16Planar: return 2;
    case pixFormatYRGB32_Float:
    case pixFormatRGBA32_Float:
    case pixFormatRGBYPlanar_Float:
    case pixFormatVUYA32_Float:
    case pixFormatBGRY32_Float:
    case pixFormatYUYV10_601:
    case pixFormatYUYV10_709: return 4;
    default: return 1;
    }
}

/// An image that holds what it says, and the bytes that will be touched.
struct Checked {
    RenderImage image;
    uintptr_t first, end;
};

bool AllAreMultiples(const ochrine_image& image, uintptr_t unit)
{
    return reinterpret_cast<uintptr_t>(image.pixels) % unit == 0 && image.row_bytes % unit == 0 &&
           image.plane_bytes % unit == 0;
}

/// Everything but the format, which the caller has found good. No sum here can exceed 64 bits: rows and planes are
/// compared with the size before they are multiplied.
ochrine_result Check(const ochrine_image& image, uint32_t planes, Checked* checked)
{
    const FBPixelFormat format = FormatOf(image.format);
    if (!image.pixels || image.orientation > OCHRINE_BOTTOM_UP) return OCHRINE_ARGUMENT;
    if (image.width < 1 || image.width > OCHRINE_SIDE_LIMIT) return OCHRINE_ARGUMENT;
    if (image.height < 1 || image.height > OCHRINE_SIDE_LIMIT) return OCHRINE_ARGUMENT;
    if (!AllAreMultiples(image, ComponentOf(format))) return OCHRINE_ARGUMENT;
    const auto address = reinterpret_cast<uintptr_t>(image.pixels);
    if (image.size > PTRDIFF_MAX || image.size > UINTPTR_MAX - address) return OCHRINE_ARGUMENT;

    const uint64_t rowPixels = RenderRowBytes(image.width, format);
    const uint64_t size = image.size, rowsBelow = image.height - 1;
    if (rowPixels > size || image.row_bytes < rowPixels) return OCHRINE_ARGUMENT;
    if (rowsBelow != 0 && image.row_bytes > (size - rowPixels) / rowsBelow) return OCHRINE_ARGUMENT;
    uint64_t needed = rowsBelow * image.row_bytes + rowPixels;
    if (planes > 1) {
        if (image.plane_bytes < needed || image.plane_bytes > UINT32_MAX) return OCHRINE_ARGUMENT;
        needed += (planes - 1) * uint64_t{image.plane_bytes};
    } else if (image.plane_bytes != 0) {
        return OCHRINE_ARGUMENT;
    }
    if (needed > size) return OCHRINE_ARGUMENT;

    const bool isUpright = image.orientation == OCHRINE_TOP_DOWN;
    const auto step = static_cast<ptrdiff_t>(image.row_bytes);
    *checked = {.image = {.firstRow = static_cast<uint8_t*>(image.pixels) +
                                      (isUpright ? 0 : static_cast<ptrdiff_t>(rowsBelow) * step),
                          .step = isUpright ? step : -step,
                          .planeBytes = image.plane_bytes,
                          .format = format},
                .first = address,
                .end = address + needed};
    return OCHRINE_OK;
}

/// True when a row may be written where it was read, because every pixel stays in its place.
bool IsSameImage(const ochrine_image& a, const ochrine_image& b)
{
    return a.pixels == b.pixels && a.row_bytes == b.row_bytes && a.plane_bytes == b.plane_bytes &&
           a.orientation == b.orientation && a.format == b.format;
}

} // namespace

size_t ochrine_row_bytes(uint32_t width, uint32_t format)
{
    if (width > OCHRINE_SIDE_LIMIT) return 0;
    return static_cast<size_t>(RenderRowBytes(width, FormatOf(format)));
}

int ochrine_can_read(uint32_t format)
{
    return RenderReads(FormatOf(format));
}

int ochrine_can_write(uint32_t format)
{
    return RenderWrites(FormatOf(format));
}

ochrine_result ochrine_renderer_create(uint32_t threads, ochrine_renderer** renderer)
{
    if (!renderer) return OCHRINE_ARGUMENT;
    *renderer = nullptr;
    if (threads > OCHRINE_THREAD_LIMIT) return OCHRINE_ARGUMENT;
    if (threads == 0) threads = std::min(BPProcessorCount(), OCHRINE_THREAD_LIMIT);
    auto* made = static_cast<ochrine_renderer*>(BPAllocate(sizeof(ochrine_renderer)));
    if (!made) return OCHRINE_NO_MEMORY;
    if (BPStatus err = CreateFrameRenderer(threads, &made->frames); err != bpNoErr) {
        BPFree(made);
        return ResultOf(err);
    }
    *renderer = made;
    return OCHRINE_OK;
}

void ochrine_renderer_destroy(ochrine_renderer* renderer)
{
    if (!renderer) return;
    DisposeFrameRenderer(renderer->frames);
    BPFree(renderer);
}

ochrine_result ochrine_renderer_set_grade(ochrine_renderer* renderer, const ochrine_grade* grade)
{
    if (!renderer || !grade) return OCHRINE_ARGUMENT;
    return ResultOf(SetRendererGrade(renderer->frames, grade->settings));
}

ochrine_result ochrine_render(ochrine_renderer* renderer, const ochrine_image* source, const ochrine_image* target,
                              uint32_t flags)
{
    if (!renderer || !source || !target || flags > OCHRINE_KEEP_ALPHA) return OCHRINE_ARGUMENT;
    const FBPixelFormat from = FormatOf(source->format), to = FormatOf(target->format);
    if (!RenderReads(from) || !RenderWrites(to)) return OCHRINE_FORMAT;
    const bool keepAlpha = flags == OCHRINE_KEEP_ALPHA;
    if (keepAlpha && (from != to || !RenderHasAlpha(to))) return OCHRINE_FORMAT;
    Checked in, out;
    if (ochrine_result err = Check(*source, RenderSourcePlanes(from), &in); err != OCHRINE_OK) return err;
    if (ochrine_result err = Check(*target, RenderTargetPlanes(to), &out); err != OCHRINE_OK) return err;
    if (source->width != target->width || source->height != target->height) return OCHRINE_ARGUMENT;
    if (in.first < out.end && out.first < in.end && !IsSameImage(*source, *target)) return OCHRINE_OVERLAP;
    return ResultOf(RenderFrame(renderer->frames, source->width, source->height, in.image, out.image, keepAlpha));
}
