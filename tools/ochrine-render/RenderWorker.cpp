// Rows go through in bands that fit the cache: brought in, graded in place, and left for the encoder.
#include "tools/ochrine-render/RenderWorker.h"

#include "src/FBTransfer.h"
#include "src/platform/BPMemory.h"
#include "tools/ochrine-render/RenderParallel.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

constexpr uint32_t kBandRows = 16;

}

RenderWorker::RenderWorker(const RenderOptions& options, const RenderSource& source, const OCEngine* engine,
                           int threads)
    : options_(options), source_(source), engine_(engine), threads_(threads),
      hasAlpha_(options.keepAlpha && options.format.hasAlpha && source.HasAlpha()), reader_(threads)
{
}

RenderWorker::~RenderWorker()
{
    BPFree(alpha_);
    if (frame_ != nullptr) FBDisposeFrameBuffer(frame_);
}

bool RenderWorker::Prepare(std::string* error)
{
    const ClipInfo& info = source_.Info();
    *error = "out of memory";
    if (!packet_ || !source_frame_.picture) return false;
    if (FBCreateRGBFrameBuffer(info.width, info.height, &frame_, pixFormatRGBYPlanar_Float) != bpNoErr) return false;
    if (hasAlpha_) {
        alpha_ = static_cast<float*>(BPAllocate(size_t{info.width} * info.height * sizeof(float)));
        if (alpha_ == nullptr) return false;
    }
    if (options_.format.file != OutputFile::movie) return true;
    return encoder_.Start(source_, options_.format, hasAlpha_, threads_, error);
}

/// Pictures of 8 bits and turned ones, through the pixels that a host would hand over.
BPStatus RenderWorker::BringInPacked()
{
    const AVFrame& picture = *source_frame_.picture;
    ClipInfo info = source_.Info();
    FBPixelFormat format = info.pixelFormat;
    if (!PictureConverter::FormatFor(picture.format, &format)) return bpParamErr;
    if (!ClipSetFormat(&info, info.width, info.height, format)) return bpParamErr;
    pixels_.resize(static_cast<size_t>(ClipFrameBytes(info)));
    BPStatus err = bpNoErr;
    if (source_.Movie() != nullptr) {
        if (format != source_.Info().pixelFormat) return bpParamErr;
        err = source_.Movie()->ConvertPicture(picture, &converter_, &scratch_, pixels_.data());
    } else {
        err = converter_.ToPixels(&picture, format, pixels_.data(), info.rowBytes);
    }
    if (err == bpNoErr) FBTransferPixToFBFrameSSE(pixels_.data(), info.rowBytes, 0, format, frame_);
    return err;
}

BPStatus RenderWorker::GradeRows(std::string* error)
{
    const AVFrame& picture = *source_frame_.picture;
    FBPixelFormat format = pixFormatARGB8;
    const bool isTurned = source_.Movie() != nullptr && source_.Movie()->Rotation() != 0;
    const bool isDirect =
        !isTurned && PictureConverter::FormatFor(picture.format, &format) && format == pixFormatRGBA32_Float;
    double begin = Clock();
    if (!isDirect) {
        if (BPStatus err = BringInPacked(); err != bpNoErr) {
            *error = "its picture cannot be converted";
            return err;
        }
        times_.bringIn += Clock() - begin;
    }
    const bool hasPicturesAlpha = PictureConverter::HasAlpha(picture.format);
    const uint32_t bands = (frame_->height + kBandRows - 1) / kBandRows;
    std::vector<RenderTimes> spent(bands);
    std::atomic<bool> isBad{false};
    RenderParts(threads_, bands, [&](uint32_t band) {
        const uint32_t row = band * kBandRows;
        const uint32_t rows = std::min(kBandRows, frame_->height - row);
        const double start = Clock();
        if (isDirect && PictureConverter::RowsToFrame(&picture, row, rows, *frame_) != bpNoErr) isBad = true;
        if (hasAlpha_ && hasPicturesAlpha) {
            PictureConverter::RowsToAlpha(&picture, row, rows, alpha_);
        } else if (hasAlpha_) {
            std::fill_n(alpha_ + size_t{row} * frame_->width, size_t{rows} * frame_->width, 1.0f);
        }
        const FBFrame part = FBBandOf(*frame_, row, rows);
        // The kernel walks the padding too, which must not go through one grade after the other.
        const size_t used = size_t{part.width} * sizeof(float);
        for (uint32_t i = 0; used < part.rowBytes && i < 3 * rows; ++i) {
            uint8_t* line = part.baseAddr + size_t{i / rows} * part.planeBytes + size_t{i % rows} * part.rowBytes;
            std::memset(line + used, 0, part.rowBytes - used);
        }
        const double middle = Clock();
        OCProcessImageBand(engine_, &part, &part, nullptr, 0, 0);
        spent[band].bringIn = middle - start;
        spent[band].grade = Clock() - middle;
    });
    for (const RenderTimes& part : spent) {
        times_.bringIn += part.bringIn;
        times_.grade += part.grade;
    }
    if (!isBad) return bpNoErr;
    *error = "its picture cannot be converted";
    return bpParamErr;
}

BPStatus RenderWorker::Encode()
{
    const RenderPicture picture = {.frame = frame_, .alpha = alpha_};
    const PictureNotes& notes = source_frame_.notes;
    const uint32_t bits = options_.format.bits;
    switch (options_.format.file) {
    case OutputFile::exr: return EncodeEXR(picture, notes, bits == 16, options_.isZipped, threads_, &bytes_);
    case OutputFile::dpx: return EncodeDPX(picture, notes, bits, threads_, &bytes_);
    case OutputFile::png: return EncodePNG(picture, notes, bits, threads_, &bytes_);
    case OutputFile::raw: return EncodeRaw(picture, &bytes_);
    case OutputFile::movie: return encoder_.Encode(picture, packet_.get());
    }
    return bpParamErr;
}

BPStatus RenderWorker::Render(std::string* error)
{
    BPStatus err = GradeRows(error);
    av_frame_unref(source_frame_.picture.get());
    if (err != bpNoErr) return err;
    const double begin = Clock();
    err = Encode();
    times_.encode += Clock() - begin;
    if (err != bpNoErr) *error = err == bpMemFullErr ? "out of memory" : "the encoder failed";
    return err;
}
