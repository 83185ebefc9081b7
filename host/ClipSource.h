// A clip: a row of frames of one size that can be read in any order, as packed pixels that the application takes.
#pragma once

#include "src/TincturaFrameBuffer.h"
#include "src/platform/BPStatus.h"

#include <memory>
#include <string>
#include <vector>

/// The colour matrix of YCbCr pictures.
enum class ClipMatrix { rec601, rec709, smpte240, rec2020 };

struct ClipRate {
    int32_t numerator, denominator; ///< frames a second, both above 0
};

struct ClipInfo {
    std::string name;               ///< what outputs are named after
    uint32_t width = 0, height = 0; ///< pixels, rows; at least 1
    int32_t frameCount = 0;         ///< at least 1
    ClipRate rate = {25, 1};
    double pixelAspect = 1.0;                   ///< width of a pixel by its height
    FBPixelFormat pixelFormat = pixFormatARGB8; ///< pixFormatARGB8 or pixFormatRGBA32_Float
    uint32_t rowBytes = 0;                      ///< without padding
    ClipMatrix matrix = ClipMatrix::rec709;     ///< for YCbCr made of this clip
    bool isChromaHalved = false; ///< the pictures have half as many columns of chroma, on the even columns of luma
    int32_t primaries = 1, transfer = 1; ///< code points of ITU-T H.273; 1 is BT.709
    std::string timecode;                ///< of the first frame, as in the file; empty when there is none
    bool dropFrame = false;
    uint32_t firstNumber = 0;       ///< of a numbered sequence
    std::vector<std::string> files; ///< what it is read from, so that no output replaces it
};

/// Bytes of one frame.
inline uint64_t ClipFrameBytes(const ClipInfo& info)
{
    return uint64_t{info.rowBytes} * info.height;
}

/// Thread: any, one at a time.
class ClipSource {
  public:
    virtual ~ClipSource() = default;

    const ClipInfo& Info() const { return info_; }

    /// Reads one frame, 0 to frameCount - 1, into ClipFrameBytes bytes. bpParamErr for a frame that cannot be decoded
    /// or has another size; `pixels` may be half written then.
    virtual BPStatus ReadFrame(int32_t frameNumber, uint8_t* pixels) = 0;

  protected:
    ClipInfo info_;
};

struct ClipOptions {
    ClipRate sequenceRate = {25, 1}; ///< of numbered sequences and stills
    int threads = 0;                 ///< of the decoder, 0 for one a processor
};

/// Opens a movie, a numbered sequence (a name with %0Nd, or one file of a row) or a still.
///
/// error   receives one sentence without a newline when null is returned
std::unique_ptr<ClipSource> OpenClip(const std::string& path, const ClipOptions& options, std::string* error);

/// Fills in what follows from size and format; false when no block could carry such a frame.
bool ClipSetFormat(ClipInfo* info, uint32_t width, uint32_t height, FBPixelFormat format);

/// Frames a second times 100, rounded: 2997 for 30000/1001. At most 65,535.
uint16_t ClipRate100(ClipRate rate);

/// True when the timecode of this clip drops numbers: as its timecode is written, else for the rates 29.97 and 59.94.
bool ClipDropsFrames(const std::string& timecode, ClipRate rate);

/// Reads "25", "23.976", "29.97" or "30000/1001"; the usual decimals mean their exact fractions. False when it is none
/// of these or outside 1 to 600.
bool ClipParseRate(const std::string& text, ClipRate* rate);
