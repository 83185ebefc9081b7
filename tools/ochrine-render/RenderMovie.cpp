// Encoding and muxing. The order of packets in the file follows from their times alone, so that the file does not
// depend on which thread was how fast.
#include "tools/ochrine-render/RenderMovie.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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

/// Copies texts, but those that describe the old file or are written anew.
void CopyTexts(const AVDictionary* from, AVDictionary** to)
{
    constexpr const char* own[] = {"major_brand", "minor_version", "compatible_brands", "encoder",
                                   "timecode",    "vendor_id",     "duration"};
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(from, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        const auto is = [&](const char* key) { return std::strcmp(key, entry->key) == 0; };
        if (std::none_of(std::begin(own), std::end(own), is)) av_dict_set(to, entry->key, entry->value, 0);
    }
}

/// Fields of an interlaced movie, or AV_FIELD_PROGRESSIVE.
AVFieldOrder FieldsOf(const RenderSource& source)
{
    if (source.Movie() == nullptr || source.Movie()->Rotation() != 0) return AV_FIELD_PROGRESSIVE;
    const AVFieldOrder order = source.Movie()->Stream()->codecpar->field_order;
    return order == AV_FIELD_UNKNOWN ? AV_FIELD_PROGRESSIVE : order;
}

/// What a path leads to: a link stays a link, and the file behind it is replaced.
std::string TargetOf(const std::string& path)
{
    std::error_code failed;
    const std::filesystem::path target = std::filesystem::canonical(path, failed);
    return failed ? path : target.string();
}

/// A neighbour of a file. Its name does not grow with that of the file, which may be as long as names can be.
std::string TemporaryOf(const std::string& target)
{
    const std::string name = ".ochrine-" + std::to_string(std::random_device()()) + ".partial.mov";
    return (std::filesystem::path(target).parent_path() / name).string();
}

} // namespace

bool ProResEncoder::Start(const RenderSource& source, const OutputFormat& format, bool hasAlpha, int threads,
                          std::string* error)
{
    const ClipInfo& info = source.Info();
    matrix_ = info.matrix;
    isChromaHalved_ = info.isChromaHalved;
    is444_ = format.bits == 12;
    const AVPixelFormat kind = !is444_    ? AV_PIX_FMT_YUV422P10LE
                               : hasAlpha ? AV_PIX_FMT_YUVA444P10LE
                                          : AV_PIX_FMT_YUV444P10LE;
    const AVCodec* encoder = avcodec_find_encoder_by_name("prores_ks");
    codec_.reset(encoder != nullptr ? avcodec_alloc_context3(encoder) : nullptr);
    picture_.reset(av_frame_alloc());
    if (!codec_ || !picture_) {
        *error = "there is no ProRes encoder, or no memory for it";
        return false;
    }
    codec_->width = picture_->width = static_cast<int>(info.width);
    codec_->height = picture_->height = static_cast<int>(info.height);
    codec_->pix_fmt = kind;
    picture_->format = kind;
    codec_->time_base = {info.rate.denominator, info.rate.numerator};
    codec_->framerate = {info.rate.numerator, info.rate.denominator};
    codec_->sample_aspect_ratio = av_d2q(info.pixelAspect, 4096);
    codec_->thread_count = threads;
    codec_->thread_type = FF_THREAD_SLICE; // a frame in, its packet out
    codec_->profile = is444_ ? 4 : 3;
    codec_->color_range = picture_->color_range = AVCOL_RANGE_MPEG;
    codec_->colorspace = picture_->colorspace = SpaceOf(matrix_);
    codec_->color_primaries = picture_->color_primaries = static_cast<AVColorPrimaries>(info.primaries);
    codec_->color_trc = picture_->color_trc = static_cast<AVColorTransferCharacteristic>(info.transfer);
    codec_->field_order = FieldsOf(source);
    if (codec_->field_order != AV_FIELD_PROGRESSIVE) {
        codec_->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
        picture_->interlaced_frame = 1;
        picture_->top_field_first = codec_->field_order == AV_FIELD_TT || codec_->field_order == AV_FIELD_TB ? 1 : 0;
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "vendor", "apl0", 0); // other tools go by this name
    int result = av_frame_get_buffer(picture_.get(), 0);
    if (result >= 0) result = avcodec_open2(codec_.get(), encoder, &options);
    av_dict_free(&options);
    if (result >= 0) return true;
    *error = "cannot start the ProRes encoder: " + AVErrorText(result);
    return false;
}

BPStatus ProResEncoder::Encode(const RenderPicture& picture, AVPacket* packet)
{
    // The encoder may still hold the last picture.
    if (av_frame_make_writable(picture_.get()) < 0) return bpMemFullErr;
    if (is444_) {
        const bool hasAlpha = codec_->pix_fmt == AV_PIX_FMT_YUVA444P10LE;
        PictureFromFrame444(*picture.frame, matrix_, hasAlpha ? picture.alpha : nullptr, picture_.get());
    } else {
        PictureFromFrame422(*picture.frame, matrix_, isChromaHalved_, picture_.get());
    }
    av_packet_unref(packet);
    if (avcodec_send_frame(codec_.get(), picture_.get()) < 0) return bpParamErr;
    return avcodec_receive_packet(codec_.get(), packet) < 0 ? bpParamErr : bpNoErr;
}

MovieFile::~MovieFile()
{
    output_.reset();
    if (!temporary_.empty()) unlink(temporary_.c_str());
}

BPStatus MovieFile::Fail(const std::string& what, int result)
{
    error_ = what + ": " + AVErrorText(result);
    return result == AVERROR(ENOSPC) || result == AVERROR(EFBIG) ? bpDiskFullErr : bpParamErr;
}

/// When a frame is shown, counted from the first of this movie.
int64_t MovieFile::TimeOf(int64_t number) const
{
    const MovieClip* movie = source_->Movie();
    if (movie == nullptr) return number - first_;
    if (number <= source_->Last()) {
        return movie->FrameTime(static_cast<int32_t>(number)) - movie->FrameTime(static_cast<int32_t>(first_));
    }
    const ClipRate rate = source_->Info().rate;
    return TimeOf(source_->Last()) + std::max<int64_t>(av_rescale_q(1, {rate.denominator, rate.numerator}, base_), 1);
}

bool MovieFile::AddVideo(const RenderSource& source, const AVCodecContext* codec)
{
    const ClipInfo& info = source.Info();
    video_ = avformat_new_stream(output_.get(), nullptr);
    if (video_ == nullptr || avcodec_parameters_from_context(video_->codecpar, codec) < 0) {
        error_ = "out of memory";
        return false;
    }
    video_->time_base = base_;
    video_->avg_frame_rate = codec->framerate;
    video_->sample_aspect_ratio = codec->sample_aspect_ratio;
    video_->codecpar->field_order = codec->field_order;
    if (const MovieClip* movie = source.Movie(); movie != nullptr) {
        CopyTexts(movie->Container()->metadata, &output_->metadata);
        // The name of the reel lies with the track of the timecode, and is written there from the video's texts.
        for (unsigned i = 0; i < movie->Container()->nb_streams; ++i) {
            const AVDictionaryEntry* reel =
                av_dict_get(movie->Container()->streams[i]->metadata, "reel_name", nullptr, 0);
            if (reel != nullptr) av_dict_set(&video_->metadata, "reel_name", reel->value, AV_DICT_DONT_OVERWRITE);
        }
        CopyTexts(movie->Stream()->metadata, &video_->metadata);
        for (const AVPacketSideDataType kind :
             {AV_PKT_DATA_MASTERING_DISPLAY_METADATA, AV_PKT_DATA_CONTENT_LIGHT_LEVEL}) {
            size_t byteCount = 0;
            const uint8_t* data = av_stream_get_side_data(movie->Stream(), kind, &byteCount);
            uint8_t* copy = data != nullptr ? av_stream_new_side_data(video_, kind, byteCount) : nullptr;
            if (copy != nullptr) std::memcpy(copy, data, byteCount);
        }
    }
    const std::string timecode = first_ == source.First() ? info.timecode : source.CountedTimecode(first_);
    if (!timecode.empty()) av_dict_set(&video_->metadata, "timecode", timecode.c_str(), 0);
    return true;
}

/// Opens the source once more for its sound alone, so that pictures and sound are read each at its own pace.
bool MovieFile::OpenSound(std::string* warning)
{
    const MovieClip* movie = source_->Movie();
    if (movie == nullptr) return true;
    const AVFormatContext* pictures = movie->Container();
    const auto isSound = [](const AVStream* stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; };
    if (std::none_of(pictures->streams, pictures->streams + pictures->nb_streams, isSound)) return true;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AVFormatContext* opened = nullptr;
    const std::string file = source_->FileOf(first_);
    int result = avformat_open_input(&opened, ("file:" + file).c_str(), nullptr, &options);
    av_dict_free(&options);
    sound_.reset(result >= 0 ? opened : nullptr);
    for (unsigned s = 0; sound_ && s < opened->nb_streams; ++s) {
        if (!isSound(opened->streams[s])) opened->streams[s]->discard = AVDISCARD_ALL;
    }
    if (result >= 0) result = avformat_find_stream_info(opened, nullptr);
    if (result < 0) {
        error_ = "cannot read the sound of " + file + ": " + AVErrorText(result);
        return false;
    }
    soundTo_.assign(opened->nb_streams, -1);
    bool hasAny = false;
    for (unsigned s = 0; s < opened->nb_streams; ++s) {
        AVStream* from = opened->streams[s];
        from->discard = AVDISCARD_ALL;
        if (!isSound(from)) continue;
        const AVCodecID kind = from->codecpar->codec_id;
        if (avformat_query_codec(output_->oformat, kind, FF_COMPLIANCE_NORMAL) != 1) {
            *warning = std::string("sound of the kind ") + avcodec_get_name(kind) + " cannot be kept in a .mov";
            continue;
        }
        AVStream* to = avformat_new_stream(output_.get(), nullptr);
        if (to == nullptr || avcodec_parameters_copy(to->codecpar, from->codecpar) < 0) {
            error_ = "out of memory";
            return false;
        }
        // The container chooses its own name of the codec when it has none like the source's.
        if (av_codec_get_id(output_->oformat->codec_tag, to->codecpar->codec_tag) != kind) to->codecpar->codec_tag = 0;
        to->time_base = from->time_base;
        to->disposition = from->disposition;
        CopyTexts(from->metadata, &to->metadata);
        from->discard = AVDISCARD_DEFAULT;
        soundTo_[s] = to->index;
        hasAny = true;
    }
    if (!hasAny) sound_.reset();
    waiting_.reset(av_packet_alloc());
    if (sound_ && first_ > source_->First()) {
        // A little early: packets before the first frame are left out one by one.
        const int64_t start = movie->StartTime() + movie->FrameTime(static_cast<int32_t>(first_));
        const int64_t early = av_rescale_q(start, base_, {1, AV_TIME_BASE}) - AV_TIME_BASE;
        (void)avformat_seek_file(opened, -1, INT64_MIN, early, early, 0);
    }
    return waiting_ != nullptr;
}

bool MovieFile::Start(const std::string& path, const RenderSource& source, const AVCodecContext* codec, int64_t first,
                      int64_t last, bool keepAudio, std::string* warning)
{
    if (TryStart(path, source, codec, first, last, keepAudio, warning)) return true;
    if (!sound_) return false;
    // Some kinds of sound are refused by the container only when it begins.
    const std::string reason = error_;
    sound_.reset();
    if (!TryStart(path, source, codec, first, last, false, warning)) return false;
    *warning = "the sound cannot be kept in a .mov (" + reason + ")";
    return true;
}

bool MovieFile::TryStart(const std::string& path, const RenderSource& source, const AVCodecContext* codec,
                         int64_t first, int64_t last, bool keepAudio, std::string* warning)
{
    path_ = path;
    target_ = TargetOf(path);
    source_ = &source;
    first_ = first;
    last_ = last;
    const ClipRate rate = source.Info().rate;
    base_ = source.Movie() != nullptr ? source.Movie()->TimeBase() : AVRational{rate.denominator, rate.numerator};
    const std::string temporary = TemporaryOf(target_);
    AVFormatContext* made = nullptr;
    int result = avformat_alloc_output_context2(&made, nullptr, "mov", temporary.c_str());
    output_.reset(made);
    if (result < 0) return Fail("cannot make a movie", result) == bpNoErr;
    made->flags |= AVFMT_FLAG_BITEXACT; // no date, no name of a library
    if (!AddVideo(source, codec) || (keepAudio && !OpenSound(warning))) return false;
    if (result = avio_open(&made->pb, ("file:" + temporary).c_str(), AVIO_FLAG_WRITE); result < 0) {
        return Fail("cannot write " + temporary, result) == bpNoErr;
    }
    if (!temporary_.empty()) unlink(temporary_.c_str()); // of a first try
    temporary_ = temporary;
    AVDictionary* options = nullptr;
    // Any text has a place, not only the classic ones.
    if (av_dict_count(made->metadata) > 0) av_dict_set(&options, "movflags", "use_metadata_tags", 0);
    result = avformat_write_header(made, &options);
    av_dict_free(&options);
    if (result < 0) return Fail("cannot write " + path, result) == bpNoErr;
    return true;
}

/// Packets come in the order that they shall have; the library's own queue could hold seconds of video back.
BPStatus MovieFile::Write(AVPacket* packet)
{
    int result = av_write_frame(output_.get(), packet);
    av_packet_unref(packet);
    if (result >= 0) result = output_->pb->error;
    return result < 0 ? Fail("cannot write " + path_, result) : bpNoErr;
}

/// Copies the packets of sound that begin before a time of the video; INT64_MAX copies the rest.
BPStatus MovieFile::CopySound(int64_t untilTime)
{
    const MovieClip* movie = source_->Movie();
    while (sound_) {
        AVPacket* packet = waiting_.get();
        if (!hasWaiting_ && av_read_frame(sound_.get(), packet) < 0) {
            sound_.reset();
            return bpNoErr;
        }
        hasWaiting_ = false;
        const auto from = static_cast<size_t>(packet->stream_index);
        const int to = from < soundTo_.size() ? soundTo_[from] : -1;
        const int64_t time = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        if (to < 0 || time == AV_NOPTS_VALUE) {
            av_packet_unref(packet);
            continue;
        }
        const AVRational base = sound_->streams[from]->time_base;
        const int64_t origin = movie->StartTime() + movie->FrameTime(static_cast<int32_t>(first_));
        if (first_ > source_->First() && av_compare_ts(time, base, origin, base_) < 0) {
            av_packet_unref(packet);
            continue;
        }
        if (untilTime != INT64_MAX && av_compare_ts(time, base, origin + untilTime, base_) >= 0) {
            hasWaiting_ = true;
            return bpNoErr;
        }
        if (last_ < source_->Last() && av_compare_ts(time, base, origin + TimeOf(last_ + 1), base_) >= 0) {
            // This stream is done; others may lie behind it in the file.
            soundTo_[from] = -1;
            av_packet_unref(packet);
            if (std::all_of(soundTo_.begin(), soundTo_.end(), [](int stream) { return stream < 0; })) sound_.reset();
            continue;
        }
        AVStream* stream = output_->streams[to];
        const int64_t shift = av_rescale_q(origin, base_, base);
        if (packet->pts != AV_NOPTS_VALUE) packet->pts -= shift;
        if (packet->dts != AV_NOPTS_VALUE) packet->dts -= shift;
        av_packet_rescale_ts(packet, base, stream->time_base);
        packet->stream_index = to;
        packet->pos = -1;
        if (BPStatus err = Write(packet); err != bpNoErr) return err;
    }
    return bpNoErr;
}

BPStatus MovieFile::Put(int64_t number, AVPacket* packet)
{
    const int64_t time = TimeOf(number);
    if (BPStatus err = CopySound(time); err != bpNoErr) return err;
    packet->stream_index = video_->index;
    packet->pts = packet->dts = time;
    packet->duration = TimeOf(number + 1) - time;
    packet->flags |= AV_PKT_FLAG_KEY;
    av_packet_rescale_ts(packet, base_, video_->time_base);
    return Write(packet);
}

/// Waits until the file is on the disk, with the mode of the one that it will replace where the file system knows
/// modes; false when it cannot get there.
bool MovieFile::CloseDisk()
{
    const int result = avio_closep(&output_->pb);
    if (result < 0) return Fail("cannot write " + path_, result) == bpNoErr;
    const int file = open(temporary_.c_str(), O_WRONLY | O_CLOEXEC);
    struct stat old = {};
    const bool replaces = stat(target_.c_str(), &old) == 0 && S_ISREG(old.st_mode);
    if (file >= 0 && replaces) (void)fchmod(file, old.st_mode & 0777);
    const bool isThere = file >= 0 && fsync(file) == 0;
    if (!isThere) error_ = "cannot write " + path_ + ": " + std::strerror(errno);
    if (file >= 0) close(file);
    return isThere;
}

BPStatus MovieFile::Finish()
{
    if (BPStatus err = CopySound(INT64_MAX); err != bpNoErr) return err;
    int result = av_write_trailer(output_.get());
    if (result >= 0) result = output_->pb->error;
    if (result < 0) return Fail("cannot write " + path_, result);
    if (!CloseDisk()) return bpParamErr;
    std::error_code failed;
    std::filesystem::rename(temporary_, target_, failed);
    if (failed) {
        error_ = "cannot write " + path_ + ": " + failed.message();
        return bpParamErr;
    }
    temporary_.clear();
    const std::string folder = std::filesystem::path(target_).parent_path().string();
    const int place = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (place >= 0) {
        (void)fsync(place);
        close(place);
    }
    return bpNoErr;
}
