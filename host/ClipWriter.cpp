// The encoders behind an output, and the moves that put complete files into place.
#include "host/ClipWriter.h"

#include "host/ClipDecoder.h"
#include "host/ClipSequence.h"
#include "host/PictureConvert.h"
#include "src/platform/BPFiles.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <random>

namespace {

using AVOutputPtr = std::unique_ptr<AVFormatContext, decltype([](AVFormatContext* output) {
                                        if (output->pb != nullptr) avio_closep(&output->pb);
                                        avformat_free_context(output);
                                    })>;

/// The name of an unfinished file: hidden, beside the target, with the target's suffix, and of this process alone.
std::string TemporaryOf(const std::string& path)
{
    static const std::string mark = "." + std::to_string(std::random_device()()) + ".partial";
    const std::filesystem::path target(path);
    return (target.parent_path() / ("." + target.stem().string() + mark + target.extension().string())).string();
}

void Discard(const std::string& path)
{
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

/// Replaces a file, which keeps its mode where the file system knows modes.
bool MoveInto(const std::string& from, const std::string& to, std::string* error)
{
    std::error_code ignored, failed;
    const std::filesystem::file_status old = std::filesystem::status(to, ignored);
    if (std::filesystem::is_regular_file(old))
        std::filesystem::permissions(from, old.permissions() & std::filesystem::perms::all, ignored);
    std::filesystem::rename(from, to, failed);
    if (!failed) return true;
    *error = "cannot write " + to + ": " + failed.message();
    return false;
}

AVFramePtr MakePicture(const ClipInfo& info, AVPixelFormat format)
{
    AVFramePtr picture(av_frame_alloc());
    if (!picture) return picture;
    picture->width = static_cast<int>(info.width);
    picture->height = static_cast<int>(info.height);
    picture->format = format;
    if (av_frame_get_buffer(picture.get(), 0) < 0) picture.reset();
    return picture;
}

AVCodecPtr MakeEncoder(const char* name, const ClipInfo& info, AVPixelFormat format, int threads)
{
    const AVCodec* kind = avcodec_find_encoder_by_name(name);
    AVCodecPtr codec(kind != nullptr ? avcodec_alloc_context3(kind) : nullptr);
    if (!codec) return codec;
    codec->width = static_cast<int>(info.width);
    codec->height = static_cast<int>(info.height);
    codec->pix_fmt = format;
    codec->time_base = {info.rate.denominator, info.rate.numerator};
    codec->framerate = {info.rate.numerator, info.rate.denominator};
    codec->sample_aspect_ratio = av_d2q(info.pixelAspect, 4096);
    codec->thread_count = threads;
    return codec;
}

AVColorSpace SpaceOf(ClipMatrix matrix)
{
    switch (matrix) {
    case ClipMatrix::rec601: return AVCOL_SPC_SMPTE170M;
    case ClipMatrix::rec709: return AVCOL_SPC_BT709;
    case ClipMatrix::smpte240: return AVCOL_SPC_SMPTE240M;
    case ClipMatrix::rec2020: return AVCOL_SPC_BT2020_NCL;
    }
    return AVCOL_SPC_BT709;
}

class MovieWriter final : public ClipWriter {
  public:
    ~MovieWriter() override
    {
        output_.reset();
        if (!temporary_.empty()) Discard(temporary_);
    }

    bool Start(const std::string& path, const ClipInfo& info, int threads);
    BPStatus WriteFrame(const FBFrame& frame) override;
    BPStatus Finish() override;

  private:
    BPStatus Fail(const std::string& what, int result)
    {
        error_ = what + ": " + AVErrorText(result);
        return bpParamErr;
    }
    bool Refuse(const std::string& what, int result) { return Fail(what, result) == bpNoErr; }
    BPStatus Drain();

    std::string path_, temporary_;
    ClipMatrix matrix_ = ClipMatrix::rec709;
    bool isChromaHalved_ = false;
    AVOutputPtr output_;
    AVCodecPtr codec_;
    AVPacketPtr packet_{av_packet_alloc()};
    AVFramePtr picture_;
    AVStream* stream_ = nullptr;
    int64_t next_ = 0;
};

bool MovieWriter::Start(const std::string& path, const ClipInfo& info, int threads)
{
    path_ = path;
    matrix_ = info.matrix;
    isChromaHalved_ = info.isChromaHalved;
    const std::string temporary = TemporaryOf(path);
    AVFormatContext* made = nullptr;
    int result = avformat_alloc_output_context2(&made, nullptr, "mov", temporary.c_str());
    output_.reset(made);
    codec_ = MakeEncoder("prores_ks", info, AV_PIX_FMT_YUV422P10LE, threads);
    picture_ = MakePicture(info, AV_PIX_FMT_YUV422P10LE);
    if (result < 0 || !codec_ || !picture_ || !packet_) {
        error_ = "there is no ProRes encoder, or no memory for it";
        return false;
    }
    codec_->profile = 3; // HQ
    // The encoder takes them from the picture, the container from the encoder.
    codec_->color_range = picture_->color_range = AVCOL_RANGE_MPEG;
    codec_->colorspace = picture_->colorspace = SpaceOf(matrix_);
    codec_->color_primaries = picture_->color_primaries = static_cast<AVColorPrimaries>(info.primaries);
    codec_->color_trc = picture_->color_trc = static_cast<AVColorTransferCharacteristic>(info.transfer);
    // Other tools go by this name.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "vendor", "apl0", 0);
    result = avcodec_open2(codec_.get(), codec_->codec, &options);
    av_dict_free(&options);
    stream_ = avformat_new_stream(made, nullptr);
    if (result < 0 || stream_ == nullptr) return Refuse("cannot start the ProRes encoder", result);
    avcodec_parameters_from_context(stream_->codecpar, codec_.get());
    stream_->time_base = codec_->time_base;
    stream_->avg_frame_rate = codec_->framerate;
    stream_->sample_aspect_ratio = codec_->sample_aspect_ratio;
    if (!info.timecode.empty()) av_dict_set(&stream_->metadata, "timecode", info.timecode.c_str(), 0);

    if (result = avio_open(&made->pb, ("file:" + temporary).c_str(), AVIO_FLAG_WRITE); result < 0) {
        return Refuse("cannot write " + temporary, result);
    }
    temporary_ = temporary;
    if (result = avformat_write_header(made, nullptr); result < 0) {
        return Refuse("cannot write " + temporary, result);
    }
    return true;
}

BPStatus MovieWriter::Drain()
{
    for (;;) {
        int result = avcodec_receive_packet(codec_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return bpNoErr;
        if (result < 0) return Fail("the encoder failed", result);
        packet_->stream_index = stream_->index;
        packet_->duration = 1;
        av_packet_rescale_ts(packet_.get(), codec_->time_base, stream_->time_base);
        result = av_interleaved_write_frame(output_.get(), packet_.get());
        if (result < 0) return Fail("cannot write " + path_, result);
    }
}

BPStatus MovieWriter::WriteFrame(const FBFrame& frame)
{
    // The encoder may still hold the last picture.
    if (int result = av_frame_make_writable(picture_.get()); result < 0) return Fail("out of memory", result);
    PictureFromFrame422(frame, matrix_, isChromaHalved_, picture_.get());
    picture_->pts = next_++;
    if (int result = avcodec_send_frame(codec_.get(), picture_.get()); result < 0) {
        return Fail("the encoder failed", result);
    }
    return Drain();
}

BPStatus MovieWriter::Finish()
{
    (void)avcodec_send_frame(codec_.get(), nullptr);
    if (BPStatus err = Drain(); err != bpNoErr) return err;
    if (int result = av_write_trailer(output_.get()); result < 0) return Fail("cannot write " + path_, result);
    if (int result = avio_closep(&output_->pb); result < 0) return Fail("cannot write " + path_, result);
    if (!MoveInto(temporary_, path_, &error_)) return bpParamErr;
    temporary_.clear();
    return bpNoErr;
}

class PictureWriter final : public ClipWriter {
  public:
    ~PictureWriter() override
    {
        for (const auto& [temporary, target] : written_) Discard(temporary);
    }

    bool Start(std::vector<std::string> files, OutputKind kind, const ClipInfo& info);
    BPStatus WriteFrame(const FBFrame& frame) override;
    BPStatus Finish() override;

  private:
    std::vector<std::string> files_;
    std::vector<std::pair<std::string, std::string>> written_; // temporary and final name
    OutputKind kind_ = OutputKind::png;
    AVCodecPtr codec_;
    AVPacketPtr packet_{av_packet_alloc()};
    AVFramePtr picture_;
};

bool PictureWriter::Start(std::vector<std::string> files, OutputKind kind, const ClipInfo& info)
{
    files_ = std::move(files);
    kind_ = kind;
    const bool isPNG = kind == OutputKind::png;
    const AVPixelFormat format = isPNG ? AV_PIX_FMT_RGB48BE : AV_PIX_FMT_GBRPF32LE;
    // One thread: a frame goes in and its packet comes out.
    codec_ = MakeEncoder(isPNG ? "png" : "exr", info, format, 1);
    picture_ = MakePicture(info, format);
    if (!codec_ || !picture_ || !packet_) {
        error_ = "there is no encoder for these pictures, or no memory for it";
        return false;
    }
    AVDictionary* options = nullptr;
    if (isPNG) codec_->compression_level = 3;
    if (!isPNG) av_dict_set(&options, "compression", "zip1", 0);
    if (!isPNG) av_dict_set(&options, "format", "float", 0);
    const int result = avcodec_open2(codec_.get(), codec_->codec, &options);
    av_dict_free(&options);
    if (result >= 0) return true;
    error_ = "cannot start the encoder: " + AVErrorText(result);
    return false;
}

BPStatus PictureWriter::WriteFrame(const FBFrame& frame)
{
    if (written_.size() >= files_.size() || av_frame_make_writable(picture_.get()) < 0) {
        error_ = "out of memory";
        return bpParamErr;
    }
    if (kind_ == OutputKind::png) {
        PictureFromFrame48(frame, picture_.get());
    } else {
        PictureFromFrameFloat(frame, picture_.get());
    }
    picture_->pts = static_cast<int64_t>(written_.size());
    int result = avcodec_send_frame(codec_.get(), picture_.get());
    if (result >= 0) result = avcodec_receive_packet(codec_.get(), packet_.get());
    if (result < 0) {
        error_ = "the encoder failed: " + AVErrorText(result);
        return bpParamErr;
    }
    const std::string& target = files_[written_.size()];
    const std::string temporary = TemporaryOf(target);
    const BPStatus err = BPWriteFile(temporary.c_str(), packet_->data, static_cast<size_t>(packet_->size));
    av_packet_unref(packet_.get());
    if (err != bpNoErr) {
        error_ = "cannot write " + target;
        return err;
    }
    written_.emplace_back(temporary, target);
    return bpNoErr;
}

BPStatus PictureWriter::Finish()
{
    while (!written_.empty()) {
        if (!MoveInto(written_.back().first, written_.back().second, &error_)) return bpParamErr;
        written_.pop_back();
    }
    return bpNoErr;
}

} // namespace

bool OutputKindOf(const std::string& path, OutputKind* kind)
{
    std::string suffix = std::filesystem::path(path).extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (suffix == ".mov") return *kind = OutputKind::movie, true;
    if (suffix == ".png") return *kind = OutputKind::png, true;
    if (suffix == ".exr") return *kind = OutputKind::exr, true;
    return false;
}

std::vector<std::string> OutputFiles(const std::string& path, OutputKind kind, int32_t frameCount, uint64_t first)
{
    std::vector<std::string> files;
    SequenceName name;
    if (kind == OutputKind::movie) return {path};
    if (!SequenceFromPattern(path, &name)) {
        if (frameCount == 1) return {path};
        const std::filesystem::path target(path);
        const std::string folder = target.parent_path().string();
        name = {.folder = folder.empty() ? "" : folder + "/",
                .prefix = target.stem().string() + "_",
                .suffix = target.extension().string(),
                .digits = 4,
                .number = 0};
    }
    for (int32_t i = 0; i < frameCount; ++i) files.push_back(SequencePath(name, first + static_cast<uint64_t>(i)));
    return files;
}

std::unique_ptr<ClipWriter> MakeClipWriter(const std::string& path, const ClipInfo& info, int threads,
                                           std::string* error)
{
    OutputKind kind = OutputKind::movie;
    if (!OutputKindOf(path, &kind)) {
        *error = path + " names no output: .mov, .png or .exr is wanted";
        return nullptr;
    }
    std::vector<std::string> files = OutputFiles(path, kind, info.frameCount, info.firstNumber);
    for (const std::string& file : {files.front(), files.back()}) {
        for (const std::string& source : info.files) {
            std::error_code ignored;
            if (std::filesystem::equivalent(file, source, ignored)) {
                *error = "the output would replace " + source + ", which is being read";
                return nullptr;
            }
        }
    }
    if (kind == OutputKind::movie) {
        auto movie = std::make_unique<MovieWriter>();
        if (movie->Start(path, info, threads)) return movie;
        *error = movie->Error();
        return nullptr;
    }
    auto pictures = std::make_unique<PictureWriter>();
    if (pictures->Start(std::move(files), kind, info)) return pictures;
    *error = pictures->Error();
    return nullptr;
}
