// The demuxers probe a picture by decoding it, so that every file would be decoded twice. Here its first bytes name the
// decoder, and the file goes in as one packet.
#include "host/PictureReader.h"

#include "src/platform/BPFiles.h"

#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

constexpr size_t kFileLimit = size_t{1} << 30;

struct Kind {
    const char* start;
    size_t byteCount;
    AVCodecID codec;
};

constexpr Kind kKinds[] = {
    {"\x89PNG\r\n\x1a\n", 8, AV_CODEC_ID_PNG},
    {"\x76\x2f\x31\x01", 4, AV_CODEC_ID_EXR},
    {"SDPX", 4, AV_CODEC_ID_DPX},
    {"XPDS", 4, AV_CODEC_ID_DPX},
    {"\xff\xd8\xff", 3, AV_CODEC_ID_MJPEG},
    {"II\x2a\0", 4, AV_CODEC_ID_TIFF},
    {"MM\0\x2a", 4, AV_CODEC_ID_TIFF},
};

AVCodecID KindOf(const uint8_t* bytes, size_t byteCount)
{
    for (const Kind& kind : kKinds) {
        if (byteCount >= kind.byteCount && std::memcmp(bytes, kind.start, kind.byteCount) == 0) return kind.codec;
    }
    return AV_CODEC_ID_NONE;
}

BPStatus ReadThroughDemuxer(const std::string& path, int threads, AVFrame* picture, std::string* error)
{
    ClipDecoder decoder;
    if (!ClipOpenDecoder(path, threads, &decoder, error)) return bpParamErr;
    if (ClipDecodeNext(&decoder, picture) == bpNoErr && !PictureIsDamaged(*picture)) return bpNoErr;
    *error = path + " cannot be decoded";
    return bpParamErr;
}

} // namespace

bool PictureIsDamaged(const AVFrame& picture)
{
    return (picture.flags & AV_FRAME_FLAG_CORRUPT) != 0 || picture.decode_error_flags != 0;
}

bool PictureReader::Knows(const std::string& path)
{
    // Movies that begin like a picture.
    for (const std::string suffix : {".mjpg", ".mjpeg", ".apng", ".dng"}) {
        if (path.ends_with(suffix)) return false;
    }
    uint8_t start[8] = {};
    FILE* file = std::fopen(path.c_str(), "rbe");
    if (file == nullptr) return false;
    const size_t count = std::fread(start, 1, sizeof(start), file);
    std::fclose(file);
    return KindOf(start, count) != AV_CODEC_ID_NONE;
}

bool PictureReader::Prepare(AVCodecID kind)
{
    if (!packet_) packet_.reset(av_packet_alloc());
    if (!packet_) return false;
    if (codec_ && codec_->codec_id == kind) return true;
    const AVCodec* decoder = avcodec_find_decoder(kind);
    codec_.reset(decoder != nullptr ? avcodec_alloc_context3(decoder) : nullptr);
    if (!codec_) return false;
    codec_->thread_count = threads_;
    codec_->thread_type = FF_THREAD_SLICE; // a picture in, a picture out
    if (avcodec_open2(codec_.get(), decoder, nullptr) >= 0) return true;
    codec_.reset();
    return false;
}

BPStatus PictureReader::Decode(AVFrame* picture)
{
    if (av_new_packet(packet_.get(), static_cast<int>(bytes_.size())) < 0) return bpMemFullErr;
    std::memcpy(packet_->data, bytes_.data(), bytes_.size());
    packet_->flags |= AV_PKT_FLAG_KEY;
    int result = avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (result >= 0) result = avcodec_receive_frame(codec_.get(), picture);
    if (result < 0) {
        // What a damaged picture left behind must not reach the next one.
        codec_.reset();
        return result == AVERROR(ENOMEM) ? bpMemFullErr : bpParamErr;
    }
    return PictureIsDamaged(*picture) ? bpParamErr : bpNoErr;
}

BPStatus PictureReader::Read(const std::string& path, AVFrame* picture, std::string* error)
{
    av_frame_unref(picture);
    bytes_.clear();
    if (BPStatus err = BPReadFile(path.c_str(), kFileLimit, &bytes_); err != bpNoErr) {
        *error = err == bpFileNotFoundErr || err == bpNotFolderErr ? "there is no file " + path : "cannot read " + path;
        return err;
    }
    const AVCodecID kind = KindOf(bytes_.data(), bytes_.size());
    if (kind == AV_CODEC_ID_NONE || !Prepare(kind)) {
        bytes_.clear();
        return ReadThroughDemuxer(path, threads_, picture, error);
    }
    const BPStatus err = Decode(picture);
    if (err != bpNoErr) {
        av_frame_unref(picture);
        *error = path + " cannot be decoded";
    }
    return err;
}

bool ClipDescribePicture(const AVFrame& picture, ClipInfo* info, std::string* error)
{
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    FBPixelFormat format = pixFormatARGB8;
    if (!PictureConverter::FormatFor(picture.format, &format)) {
        *error = "pictures of the kind " + std::string(kind != nullptr ? kind->name : "?") + " cannot be converted";
        return false;
    }
    if (!ClipSetFormat(info, static_cast<uint32_t>(picture.width), static_cast<uint32_t>(picture.height), format)) {
        *error =
            "pictures of " + std::to_string(picture.width) + " x " + std::to_string(picture.height) + " are too large";
        return false;
    }
    const AVRational aspect = picture.sample_aspect_ratio;
    if (aspect.num > 0 && aspect.den > 0 && av_q2d(aspect) > 0.05 && av_q2d(aspect) < 20.0) {
        info->pixelAspect = av_q2d(aspect);
    }
    // Pictures in RGB have no matrix; movies made of them take that of their size.
    const bool isRGB = (kind->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0 || kind->nb_components < 3;
    info->matrix = !isRGB                ? PictureConverter::MatrixOf(&picture)
                   : info->height <= 576 ? ClipMatrix::rec601
                                         : ClipMatrix::rec709;
    info->isChromaHalved = PictureConverter::IsChromaHalved(picture.format);
    return true;
}
