// Graded frames to a file: ProRes 422 HQ in a .mov, or a row of PNG (16 bits) or EXR (32-bit float) files.
//
// Everything is written under temporary names beside the target and moved into place by Finish; without it nothing of
// the output stays.
#pragma once

#include "host/ClipSource.h"

enum class OutputKind { movie, png, exr };

/// What a name asks for; false for any other suffix.
bool OutputKindOf(const std::string& path, OutputKind* kind);

/// The files that an output of this name consists of: one for a movie; for pictures the pattern's numbers from `first`
/// on. A picture name without pattern is one file for one frame, otherwise a number is put before the suffix.
std::vector<std::string> OutputFiles(const std::string& path, OutputKind kind, int32_t frameCount, uint64_t first);

/// Thread: any, one at a time.
class ClipWriter {
  public:
    virtual ~ClipWriter() = default;

    /// Takes the next frame, in format 203 and of the clip's size. bpParamErr after a failure of encoder or disk, told
    /// by Error.
    virtual BPStatus WriteFrame(const FBFrame& frame) = 0;

    /// Completes the files and moves them into place.
    virtual BPStatus Finish() = 0;

    /// One sentence after a failure.
    const std::string& Error() const { return error_; }

  protected:
    std::string error_;
};

/// Starts an output for a clip of this kind.
///
/// threads   of the encoder, 0 for one a processor
/// error     receives one sentence when null is returned
std::unique_ptr<ClipWriter> MakeClipWriter(const std::string& path, const ClipInfo& info, int threads,
                                           std::string* error);
