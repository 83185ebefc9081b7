// Decoded pictures to host pixels.
//
// Pictures of 8 bits go through swscale. Deeper ones are converted here: swscale would cut everything above white and
// below black, and where source and target are both float it copies only a quarter of each row.
#include "host/PictureConvert.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace {

/// The planes of a picture as floats: R, G, B or Y, Cb, Cr; 1 is the component's highest code.
struct Rows {
    std::vector<float> component[3];
    std::vector<float> chroma; ///< one row of subsampled chroma
    std::vector<uint16_t> codes;
};

bool IsFloat(const AVPixFmtDescriptor& kind)
{
    return (kind.flags & AV_PIX_FMT_FLAG_FLOAT) != 0;
}

bool IsRGB(const AVPixFmtDescriptor& kind)
{
    return (kind.flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

/// Reads one row of a component as the numbers of its code.
void ReadCodes(const AVFrame& picture, const AVPixFmtDescriptor& kind, int component, int row, int width,
               uint16_t* codes)
{
    const AVComponentDescriptor& c = kind.comp[component];
    const bool isWordPlane = c.step == 2 && c.shift == 0 && c.depth > 8 && (kind.flags & AV_PIX_FMT_FLAG_BE) == 0;
    if (isWordPlane) {
        // The usual planes of 9 to 16 bits.
        std::memcpy(codes, picture.data[c.plane] + static_cast<ptrdiff_t>(row) * picture.linesize[c.plane] + c.offset,
                    static_cast<size_t>(width) * 2);
        return;
    }
    av_read_image_line2(codes, const_cast<const uint8_t**>(picture.data), picture.linesize, &kind, 0, row, component,
                        width, (kind.flags & AV_PIX_FMT_FLAG_PAL) != 0 ? 1 : 0, 2);
}

void ReadFloats(const AVFrame& picture, const AVPixFmtDescriptor& kind, int component, int row, int width,
                std::vector<uint16_t>& codes, float* values)
{
    const AVComponentDescriptor& c = kind.comp[component];
    if (IsFloat(kind)) {
        const uint8_t* line =
            picture.data[c.plane] + static_cast<ptrdiff_t>(row) * picture.linesize[c.plane] + c.offset;
        for (int x = 0; x < width; ++x) {
            uint32_t word = 0;
            std::memcpy(&word, line + static_cast<ptrdiff_t>(x) * c.step, 4);
            if ((kind.flags & AV_PIX_FMT_FLAG_BE) != 0) word = __builtin_bswap32(word);
            values[x] = std::bit_cast<float>(word);
        }
        return;
    }
    ReadCodes(picture, kind, component, row, width, codes.data());
    const float top = static_cast<float>((1 << c.depth) - 1);
    for (int x = 0; x < width; ++x) values[x] = static_cast<float>(codes[static_cast<size_t>(x)]) / top;
}

/// Chroma of a full row. The samples sit on the left column of their group and in the middle of its rows. Between two
/// samples of a row comes the value of a cubic through four.
void ReadChroma(const AVFrame& picture, const AVPixFmtDescriptor& kind, int component, int row, Rows& rows, float* out)
{
    const int width = picture.width;
    const int chromaWidth = AV_CEIL_RSHIFT(width, kind.log2_chroma_w);
    const int chromaHeight = AV_CEIL_RSHIFT(picture.height, kind.log2_chroma_h);
    float* line = rows.chroma.data();
    const float position = (static_cast<float>(row) + 0.5f) / static_cast<float>(1 << kind.log2_chroma_h) - 0.5f;
    const int above = static_cast<int>(std::floor(position));
    const float weight = position - static_cast<float>(above);
    ReadFloats(picture, kind, component, std::clamp(above, 0, chromaHeight - 1), chromaWidth, rows.codes, line);
    if (weight > 0.0f) {
        ReadFloats(picture, kind, component, std::clamp(above + 1, 0, chromaHeight - 1), chromaWidth, rows.codes, out);
        for (int x = 0; x < chromaWidth; ++x) line[x] += (out[x] - line[x]) * weight;
    }
    const int group = 1 << kind.log2_chroma_w;
    if (group == 2) {
        for (int x = 0; x < width; ++x) {
            const int left = x >> 1;
            if ((x & 1) == 0) {
                out[x] = line[left];
                continue;
            }
            const float near = line[left] + line[std::min(left + 1, chromaWidth - 1)];
            const float far = line[std::max(left - 1, 0)] + line[std::min(left + 2, chromaWidth - 1)];
            out[x] = 0.5625f * near - 0.0625f * far;
        }
        return;
    }
    for (int x = 0; x < width; ++x) {
        const int left = x >> kind.log2_chroma_w;
        const int right = std::min(left + 1, chromaWidth - 1);
        const float t = static_cast<float>(x & (group - 1)) / static_cast<float>(group);
        out[x] = line[left] + (line[right] - line[left]) * t;
    }
}

/// From codes as fractions of the highest one to R, G, B.
struct Matrix {
    float lumaScale, lumaOffset, chromaScale, chromaOffset;
    float redCr, greenCb, greenCr, blueCb;
};

Matrix MatrixFor(const AVFrame& picture, const AVPixFmtDescriptor& kind)
{
    const int depth = kind.comp[0].depth;
    const double top = (1 << depth) - 1;
    const double unit = 1 << (depth - 8);
    const bool isFull = picture.color_range == AVCOL_RANGE_JPEG;
    const LumaWeights w = WeightsOf(PictureConverter::MatrixOf(&picture));
    const double green = 1.0 - w.red - w.blue;
    const double cr = 2.0 * (1.0 - w.red);
    const double cb = 2.0 * (1.0 - w.blue);
    return {.lumaScale = static_cast<float>(isFull ? 1.0 : top / (219.0 * unit)),
            .lumaOffset = static_cast<float>(isFull ? 0.0 : -16.0 / 219.0),
            .chromaScale = static_cast<float>(isFull ? 1.0 : top / (224.0 * unit)),
            .chromaOffset = static_cast<float>(isFull ? -128.0 * unit / top : -128.0 / 224.0),
            .redCr = static_cast<float>(cr),
            .greenCb = static_cast<float>(-cb * w.blue / green),
            .greenCr = static_cast<float>(-cr * w.red / green),
            .blueCb = static_cast<float>(cb)};
}

/// One row as planes of R, G, B.
void ConvertRow(const AVFrame& picture, const AVPixFmtDescriptor& kind, const Matrix& m, int row, Rows& rows,
                float* red, float* green, float* blue)
{
    const int width = picture.width;
    if (kind.nb_components < 3) {
        ReadFloats(picture, kind, 0, row, width, rows.codes, red);
        std::memcpy(green, red, static_cast<size_t>(width) * sizeof(float));
        std::memcpy(blue, red, static_cast<size_t>(width) * sizeof(float));
        return;
    }
    if (IsRGB(kind)) {
        ReadFloats(picture, kind, 0, row, width, rows.codes, red);
        ReadFloats(picture, kind, 1, row, width, rows.codes, green);
        ReadFloats(picture, kind, 2, row, width, rows.codes, blue);
        return;
    }
    float* luma = rows.component[0].data();
    float* cb = rows.component[1].data();
    float* cr = rows.component[2].data();
    ReadFloats(picture, kind, 0, row, width, rows.codes, luma);
    ReadChroma(picture, kind, 1, row, rows, cb);
    ReadChroma(picture, kind, 2, row, rows, cr);
    for (int x = 0; x < width; ++x) {
        const float y = luma[x] * m.lumaScale + m.lumaOffset;
        const float u = cb[x] * m.chromaScale + m.chromaOffset;
        const float v = cr[x] * m.chromaScale + m.chromaOffset;
        red[x] = y + m.redCr * v;
        green[x] = y + m.greenCb * u + m.greenCr * v;
        blue[x] = y + m.blueCb * u;
    }
}

Matrix MatrixOfKind(const AVFrame& picture, const AVPixFmtDescriptor& kind)
{
    return IsRGB(kind) || kind.nb_components < 3 || IsFloat(kind) ? Matrix{} : MatrixFor(picture, kind);
}

void MakeRows(const AVFrame& picture, Rows* rows)
{
    const size_t width = static_cast<size_t>(picture.width);
    for (std::vector<float>& line : rows->component) line.resize(width);
    rows->chroma.resize(width);
    rows->codes.resize(width);
}

/// True for kinds that av_read_image_line2 and the matrices above cover.
bool CanReadRows(const AVPixFmtDescriptor& kind)
{
    constexpr uint64_t refused = AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER;
    const bool isXYZ = kind.name != nullptr && std::strncmp(kind.name, "xyz", 3) == 0;
    if ((kind.flags & refused) != 0 || isXYZ) return false;
    return IsFloat(kind) ? kind.comp[0].depth == 32 : kind.comp[0].depth <= 16;
}

/// The kinds with a J mean the plain ones at full range, and swscale complains about them.
int WithoutJ(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P: return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P: return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P: return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P: return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P: return AV_PIX_FMT_YUV411P;
    default: return format;
    }
}

int SwsMatrix(ClipMatrix matrix)
{
    switch (matrix) {
    case ClipMatrix::rec601: return SWS_CS_ITU601;
    case ClipMatrix::rec709: return SWS_CS_ITU709;
    case ClipMatrix::smpte240: return SWS_CS_SMPTE240M;
    case ClipMatrix::rec2020: return SWS_CS_BT2020;
    }
    return SWS_CS_ITU709;
}

} // namespace

LumaWeights WeightsOf(ClipMatrix matrix)
{
    switch (matrix) {
    case ClipMatrix::rec601: return {0.299, 0.114};
    case ClipMatrix::rec709: return {0.2126, 0.0722};
    case ClipMatrix::smpte240: return {0.212, 0.087};
    case ClipMatrix::rec2020: return {0.2627, 0.0593};
    }
    return {0.2126, 0.0722};
}

PictureConverter::~PictureConverter()
{
    sws_freeContext(scaler_);
}

bool PictureConverter::FormatFor(int avPixelFormat, FBPixelFormat* format)
{
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(avPixelFormat));
    if (kind == nullptr || kind->nb_components == 0) return false;
    int depth = 0;
    for (int c = 0; c < kind->nb_components; ++c) depth = std::max(depth, kind->comp[c].depth);
    const bool isPalette = (kind->flags & AV_PIX_FMT_FLAG_PAL) != 0;
    *format = depth > 8 && !isPalette ? pixFormatRGBA32_Float : pixFormatARGB8;
    if (*format == pixFormatRGBA32_Float && CanReadRows(*kind)) return true;
    *format = pixFormatARGB8;
    return sws_isSupportedInput(static_cast<AVPixelFormat>(WithoutJ(avPixelFormat))) != 0;
}

bool PictureConverter::IsChromaHalved(int avPixelFormat)
{
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(avPixelFormat));
    return kind != nullptr && !IsRGB(*kind) && kind->nb_components >= 3 && kind->log2_chroma_w == 1;
}

ClipMatrix PictureConverter::MatrixOf(const AVFrame* picture)
{
    switch (picture->colorspace) {
    case AVCOL_SPC_BT709: return ClipMatrix::rec709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC: return ClipMatrix::rec601;
    case AVCOL_SPC_SMPTE240M: return ClipMatrix::smpte240;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL: return ClipMatrix::rec2020;
    default: break;
    }
    // Still pictures with full range are JPEG, which is 601 at any size.
    if (picture->format != WithoutJ(picture->format)) return ClipMatrix::rec601;
    return picture->height <= 576 ? ClipMatrix::rec601 : ClipMatrix::rec709;
}

BPStatus PictureConverter::Scale(const AVFrame* picture, int targetFormat, uint8_t* pixels, uint32_t rowBytes)
{
    const int format = WithoutJ(picture->format);
    const bool isFull = picture->color_range == AVCOL_RANGE_JPEG || format != picture->format;
    const int matrix = SwsMatrix(MatrixOf(picture));
    const int key[6] = {picture->width, picture->height, format, targetFormat, isFull ? 1 : 0, matrix};
    if (scaler_ == nullptr || !std::equal(std::begin(key), std::end(key), std::begin(scalerKey_))) {
        sws_freeContext(scaler_);
        scaler_ = sws_getContext(picture->width, picture->height, static_cast<AVPixelFormat>(format), picture->width,
                                 picture->height, static_cast<AVPixelFormat>(targetFormat),
                                 SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr,
                                 nullptr, nullptr);
        if (scaler_ == nullptr) return bpParamErr;
        const int* coefficients = sws_getCoefficients(matrix);
        // Refused for pairs that need no matrix, which is as good.
        (void)sws_setColorspaceDetails(scaler_, coefficients, isFull ? 1 : 0, coefficients, 1, 0, 1 << 16, 1 << 16);
        std::copy(std::begin(key), std::end(key), std::begin(scalerKey_));
    }
    uint8_t* const target[4] = {pixels, nullptr, nullptr, nullptr};
    const int targetRow[4] = {static_cast<int>(rowBytes), 0, 0, 0};
    const int rows = sws_scale(scaler_, const_cast<const uint8_t**>(picture->data), picture->linesize, 0,
                               picture->height, target, targetRow);
    return rows == picture->height ? bpNoErr : bpParamErr;
}

BPStatus PictureConverter::ToPixels(const AVFrame* picture, FBPixelFormat format, uint8_t* pixels, uint32_t rowBytes)
{
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture->format));
    if (kind == nullptr || picture->width < 1 || picture->height < 1) return bpParamErr;
    if (format == pixFormatARGB8) {
        if (BPStatus err = Scale(picture, AV_PIX_FMT_BGRA, pixels, rowBytes); err != bpNoErr) return err;
        // Transparency is no part of the clip.
        if ((kind->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0) {
            for (int row = 0; row < picture->height; ++row) {
                uint8_t* pixel = pixels + static_cast<size_t>(row) * rowBytes;
                for (int x = 0; x < picture->width; ++x) pixel[x * 4 + 3] = 255;
            }
        }
        return bpNoErr;
    }
    if (format != pixFormatRGBA32_Float || !CanReadRows(*kind)) return bpParamErr;
    const size_t width = static_cast<size_t>(picture->width);
    Rows rows;
    MakeRows(*picture, &rows);
    std::vector<float> planes(width * 3);
    const float* red = planes.data();
    const float* green = red + width;
    const float* blue = green + width;
    const Matrix matrix = MatrixOfKind(*picture, *kind);
    for (int row = 0; row < picture->height; ++row) {
        ConvertRow(*picture, *kind, matrix, row, rows, planes.data(), planes.data() + width, planes.data() + 2 * width);
        auto* out = reinterpret_cast<float*>(pixels + static_cast<size_t>(row) * rowBytes);
        for (size_t x = 0; x < width; ++x, out += 4) {
            out[0] = red[x];
            out[1] = green[x];
            out[2] = blue[x];
            out[3] = 1.0f;
        }
    }
    return bpNoErr;
}

BPStatus PictureConverter::RowsToFrame(const AVFrame* picture, uint32_t firstRow, uint32_t rowCount,
                                       const FBFrame& frame)
{
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture->format));
    FBPixelFormat format = pixFormatARGB8;
    if (kind == nullptr || !FormatFor(picture->format, &format) || format != pixFormatRGBA32_Float ||
        picture->width != static_cast<int>(frame.width) || picture->height != static_cast<int>(frame.height)) {
        return bpParamErr;
    }
    Rows rows;
    MakeRows(*picture, &rows);
    const Matrix matrix = MatrixOfKind(*picture, *kind);
    for (uint32_t row = firstRow; row < firstRow + rowCount; ++row) {
        uint8_t* line = frame.baseAddr + size_t{row} * frame.rowBytes;
        ConvertRow(*picture, *kind, matrix, static_cast<int>(row), rows, reinterpret_cast<float*>(line),
                   reinterpret_cast<float*>(line + frame.planeBytes),
                   reinterpret_cast<float*>(line + 2 * size_t{frame.planeBytes}));
    }
    return bpNoErr;
}

bool PictureConverter::HasAlpha(int avPixelFormat)
{
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(avPixelFormat));
    return kind != nullptr && (kind->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 && (kind->flags & AV_PIX_FMT_FLAG_PAL) == 0 &&
           (kind->nb_components == 2 || kind->nb_components == 4) && CanReadRows(*kind);
}

void PictureConverter::RowsToAlpha(const AVFrame* picture, uint32_t firstRow, uint32_t rowCount, float* alpha)
{
    if (!HasAlpha(picture->format)) return;
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture->format));
    const size_t width = static_cast<size_t>(picture->width);
    std::vector<uint16_t> codes(width);
    for (uint32_t row = firstRow; row < firstRow + rowCount; ++row) {
        ReadFloats(*picture, *kind, kind->nb_components - 1, static_cast<int>(row), picture->width, codes,
                   alpha + row * width);
    }
}
