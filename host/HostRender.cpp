// The render loop: read, bring in, grade, write.
#include "host/HostRender.h"

#include "host/FrameRenderer.h"
#include "src/MPTasks.h"

namespace {

/// What one render owns.
struct Bench {
    FrameRenderer* renderer = nullptr;
    FBFrame* graded = nullptr;

    ~Bench()
    {
        if (graded != nullptr) FBDisposeFrameBuffer(graded);
        DisposeFrameRenderer(renderer);
    }

    BPStatus Prepare(const ClipInfo& info, const OCSettings& grade, int threads)
    {
        const uint32_t count = threads > 0 ? static_cast<uint32_t>(threads) : MPGetProcessorCount();
        if (BPStatus err = CreateFrameRenderer(count, &renderer); err != bpNoErr) return err;
        if (BPStatus err = SetRendererGrade(renderer, grade); err != bpNoErr) return err;
        return FBCreateRGBFrameBuffer(info.width, info.height, &graded, pixFormatRGBYPlanar_Float);
    }

    BPStatus Render(const ClipInfo& info, uint8_t* pixels) const
    {
        const RenderImage source = {
            .firstRow = pixels, .step = info.rowBytes, .planeBytes = 0, .format = info.pixelFormat};
        const RenderImage target = {.firstRow = graded->baseAddr,
                                    .step = graded->rowBytes,
                                    .planeBytes = graded->planeBytes,
                                    .format = pixFormatRGBYPlanar_Float};
        return RenderFrame(renderer, info.width, info.height, source, target, false);
    }
};

} // namespace

BPStatus RenderClip(ClipSource* clip, const OCSettings& grade, ClipWriter* writer, int threads,
                    void (*progress)(int32_t done, int32_t total), bool (*isCancelled)(), HostRenderResult* result,
                    std::string* error)
{
    *result = {};
    const ClipInfo& info = clip->Info();
    Bench bench;
    if (BPStatus err = bench.Prepare(info, grade, threads); err != bpNoErr) {
        *error = "out of memory";
        return err;
    }
    std::vector<uint8_t> pixels(static_cast<size_t>(ClipFrameBytes(info)));
    std::vector<uint8_t> spare(pixels.size());
    bool hasFrame = false;
    for (int32_t number = 0; number < info.frameCount; ++number) {
        if (isCancelled != nullptr && isCancelled()) {
            result->wasInterrupted = true;
            return bpNoErr;
        }
        if (clip->ReadFrame(number, spare.data()) == bpNoErr) {
            std::swap(pixels, spare);
            hasFrame = true;
        } else if (!hasFrame) {
            *error = "the first frame cannot be decoded";
            return bpParamErr;
        } else {
            ++result->framesReplaced;
        }
        if (BPStatus err = bench.Render(info, pixels.data()); err != bpNoErr) {
            *error = "out of memory";
            return err;
        }
        if (BPStatus err = writer->WriteFrame(*bench.graded); err != bpNoErr) {
            *error = writer->Error();
            return err;
        }
        result->framesDone = number + 1;
        if (progress != nullptr) progress(number + 1, info.frameCount);
    }
    return bpNoErr;
}
