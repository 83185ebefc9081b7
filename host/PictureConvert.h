// Decoded pictures to host pixels, and planes of a graded frame to pictures for an encoder.
#pragma once

#include "host/ClipSource.h"

extern "C" {
#include <libavutil/frame.h>
}

struct SwsContext;

/// Keeps what swscale has set up between two pictures of the same kind.
class PictureConverter {
  public:
    PictureConverter() = default;
    ~PictureConverter();
    PictureConverter(const PictureConverter&) = delete;
    PictureConverter& operator=(const PictureConverter&) = delete;

    /// The format in which pictures of this kind are handed over: pixFormatARGB8 for components of up to 8 bits,
    /// otherwise pixFormatRGBA32_Float. False for pictures that cannot be converted.
    static bool FormatFor(int avPixelFormat, FBPixelFormat* format);

    /// The matrix of a picture; one that does not say is 601 up to 576 rows and 709 above.
    static ClipMatrix MatrixOf(const AVFrame* picture);

    /// True for pictures in YCbCr with half as many columns of chroma as of luma.
    static bool IsChromaHalved(int avPixelFormat);

    /// Converts with the picture's own matrix and range. Float keeps what lies outside 0 to 1; alpha is 1.
    ///
    /// format     one of those of FormatFor, whatever the picture has
    /// pixels     the picture's width x height, rows rowBytes apart
    ///
    /// bpParamErr for a picture that cannot be converted, bpMemFullErr.
    BPStatus ToPixels(const AVFrame* picture, FBPixelFormat format, uint8_t* pixels, uint32_t rowBytes);

    /// Rows of a picture straight into planes R, G, B of a frame in format 203 of its size: the values that ToPixels and
    /// a transfer would bring. Plane Y is left.
    ///
    /// bpParamErr for a picture whose FormatFor is pixFormatARGB8, or of another size.   Thread: any, own rows.
    static BPStatus RowsToFrame(const AVFrame* picture, uint32_t firstRow, uint32_t rowCount, const FBFrame& frame);

    /// True when pictures of this kind carry transparency that RowsToAlpha can read.
    static bool HasAlpha(int avPixelFormat);

    /// Transparency as fractions of the highest code, 1 is opaque. alpha has picture width x height floats.
    /// Thread: any, own rows.
    static void RowsToAlpha(const AVFrame* picture, uint32_t firstRow, uint32_t rowCount, float* alpha);

  private:
    BPStatus Scale(const AVFrame* picture, int targetFormat, uint8_t* pixels, uint32_t rowBytes);

    SwsContext* scaler_ = nullptr;
    int scalerKey_[6] = {};
};

/// Y'CbCr 4:2:2 of 10 bits, video range, of a frame in format 203 of the picture's size: rounded, cut to 4 to 1019. A NaN
/// counts as black.
///
/// isChromaHalved   the frame comes from a picture whose chroma sat on the even columns: those are taken as they are, so
///                  that what is not graded passes through unchanged. Otherwise chroma is halved by the filter
///                  -1 0 9 16 9 0 -1
/// picture          AV_PIX_FMT_YUV422P10LE with its memory
void PictureFromFrame422(const FBFrame& frame, ClipMatrix matrix, bool isChromaHalved, AVFrame* picture);

/// The same with chroma in every column, 4:4:4.
///
/// alpha     width x height floats that go into the picture's fourth plane as codes from 0 to 1,023, or null
/// picture   AV_PIX_FMT_YUV444P10LE, or AV_PIX_FMT_YUVA444P10LE with alpha
void PictureFromFrame444(const FBFrame& frame, ClipMatrix matrix, const float* alpha, AVFrame* picture);

/// R, G, B as big-endian words of 16 bits, rounded and cut to 0 to 65,535: AV_PIX_FMT_RGB48BE.
void PictureFromFrame48(const FBFrame& frame, AVFrame* picture);

/// R, G, B as they are, planes G, B, R: AV_PIX_FMT_GBRPF32LE.
void PictureFromFrameFloat(const FBFrame& frame, AVFrame* picture);

/// Red and blue weight of a matrix.
struct LumaWeights {
    double red, blue;
};
LumaWeights WeightsOf(ClipMatrix matrix);
