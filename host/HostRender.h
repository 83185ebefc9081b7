// A clip through the engine into an output.
#pragma once

#include "host/ClipSource.h"
#include "host/ClipWriter.h"
#include "src/OCSettings.h"

struct HostRenderResult {
    int32_t framesDone;     ///< frames handed to the output
    int32_t framesReplaced; ///< of these, frames that could not be read and for which the one before stands
    bool wasInterrupted;
};

/// Renders every frame of `clip` with `grade` and hands it to `writer`, without finishing the output.
///
/// threads      workers of the engine, 0 for one a processor
/// progress     called after each frame with frames done and all, may be null
/// isCancelled  asked before each frame, may be null
/// error        receives one sentence after a failure
///
/// The pixels are those that the application shows for the same grade, bit by bit.   Thread: main.
BPStatus RenderClip(ClipSource* clip, const OCSettings& grade, ClipWriter* writer, int threads,
                    void (*progress)(int32_t done, int32_t total), bool (*isCancelled)(), HostRenderResult* result,
                    std::string* error);
