// Picture files, decoded from memory: one file is one picture, and the decoder stays for the next.
#pragma once

#include "host/ClipDecoder.h"
#include "host/PictureConvert.h"

#include <vector>

/// Thread: any, one at a time; readers share nothing.
class PictureReader {
  public:
    /// threads   that may work on one picture, 0 for one a processor
    explicit PictureReader(int threads) : threads_(threads) {}

    /// True when the file begins like a picture of a kind that is decoded here: PNG, EXR, DPX, JPEG or TIFF.
    static bool Knows(const std::string& path);

    /// Reads and decodes one file. Kinds that are not known here are left to the demuxers.
    ///
    /// picture   receives the picture, referenced by the caller until av_frame_unref
    /// error     receives one sentence after a failure
    ///
    /// bpFileNotFoundErr, bpPermissionErr, bpMemFullErr; bpParamErr for a file that cannot be decoded or whose picture
    /// is damaged.
    BPStatus Read(const std::string& path, AVFrame* picture, std::string* error);

    /// The bytes of the file that was read last, for what its header tells beyond the picture; empty when it was left
    /// to the demuxers.
    const std::vector<uint8_t>& Bytes() const { return bytes_; }

  private:
    bool Prepare(AVCodecID kind);
    BPStatus Decode(AVFrame* picture);

    int threads_;
    std::vector<uint8_t> bytes_;
    AVCodecPtr codec_;
    AVPacketPtr packet_;
};

/// True when the decoder itself says that a picture is not whole.
bool PictureIsDamaged(const AVFrame& picture);

/// Fills in what a picture tells of its clip: size, format, aspect, matrix, place of chroma.
/// error   receives one sentence when false is returned: it cannot be converted or is too large
bool ClipDescribePicture(const AVFrame& picture, ClipInfo* info, std::string* error);
