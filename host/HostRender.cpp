// The render loop: read, bring in, grade, write.
#include "host/HostRender.h"

namespace {

/// What one render owns.
struct Bench {
    OCEngine* engine = nullptr;
    FBFrame* source = nullptr;
    FBFrame* graded = nullptr;
    MPTask* tasks = nullptr;
    uint32_t taskCount = 0;

    ~Bench()
    {
        MPDisposeTasks(taskCount, &tasks);
        if (source != nullptr) FBDisposeFrameBuffer(source);
        if (graded != nullptr) FBDisposeFrameBuffer(graded);
        if (engine != nullptr) OCDisposeEngine(engine);
    }

    BPStatus Prepare(const ClipInfo& info, const OCSettings& grade, int threads)
    {
        if (BPStatus err = OCCreateEngine(&engine); err != bpNoErr) return err;
        OCUpdateParameters(engine, &grade);
        if (BPStatus err = FBCreateRGBFrameBuffer(info.width, info.height, &source, pixFormatRGBYPlanar_Float);
            err != bpNoErr) {
            return err;
        }
        if (BPStatus err = FBCreateRGBFrameBuffer(info.width, info.height, &graded, pixFormatRGBYPlanar_Float);
            err != bpNoErr) {
            return err;
        }
        taskCount = threads > 0 ? MPStartTaskCount(&tasks, static_cast<uint32_t>(threads)) : MPStartTasks(&tasks, true);
        return bpNoErr;
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
        FBTransferPixToFBFrame(pixels.data(), info.rowBytes, 0, info.pixelFormat, bench.source, bench.taskCount,
                               bench.tasks);
        ProcessImage(bench.engine, bench.source, bench.graded, &grade, 0, bench.taskCount, bench.tasks);
        if (BPStatus err = writer->WriteFrame(*bench.graded); err != bpNoErr) {
            *error = writer->Error();
            return err;
        }
        result->framesDone = number + 1;
        if (progress != nullptr) progress(number + 1, info.frameCount);
    }
    return bpNoErr;
}
