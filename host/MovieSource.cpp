// Frame n of a movie is the packet with the n-th presentation time. To reach it, decoding starts at the last key frame
// not later than it and runs forward; a decoder that is already on the way goes on.
#include "host/MovieSource.h"

#include "host/PictureReader.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <filesystem>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace {

constexpr size_t kFrameLimit = 4'000'000; // 18 hours at 60 frames a second
/// Decoded pictures that are kept, so that stepping back inside a group of pictures does not decode it anew each time.
constexpr size_t kKeptBytes = 192u << 20;
constexpr size_t kKeptPictures = 64;

struct Packet {
    int64_t presentation, decoding;
    bool isKey;
};

class MovieSource final : public MovieClip {
  public:
    MovieSource(const std::string& path, ClipDecoder decoder) : path_(path), decoder_(std::move(decoder)) {}

    bool Prepare(std::string* error);
    BPStatus ReadFrame(int32_t frameNumber, uint8_t* pixels) override;
    BPStatus ReadPicture(int32_t frameNumber, AVFrame* picture, bool* isExact) override;
    BPStatus ConvertPicture(const AVFrame& picture, PictureConverter* converter, std::vector<uint8_t>* scratch,
                            uint8_t* pixels) const override;
    void LimitKept(size_t pictures) override { keptLimit_ = std::max<size_t>(pictures, 1); }
    int Rotation() const override { return rotation_; }
    int64_t FrameTime(int32_t frameNumber) const override;
    AVRational TimeBase() const override;
    int64_t StartTime() const override { return hasTimes_ ? times_[0] : 0; }
    const AVFormatContext* Container() const override { return decoder_.input.get(); }
    const AVStream* Stream() const override { return decoder_.stream; }

  private:
    const AVFrame* Find(size_t frame);
    bool ListPackets(std::string* error);
    bool ListFromIndex();
    void ReadTimecode();
    BPStatus SeekBefore(size_t frame, size_t keysBack);
    BPStatus Reopen();
    BPStatus Advance(size_t frame);
    void Keep(const AVFrame& picture);

    std::string path_;
    ClipDecoder decoder_;
    PictureConverter converter_;
    std::vector<int64_t> times_;           // presentation time of each frame, rising
    std::vector<Packet> keys_;             // key frames by presentation time
    bool hasTimes_ = true;                 // false: frames are counted from the start
    AVFramePtr current_{av_frame_alloc()}; // the last picture decoded
    AVFramePtr ahead_{av_frame_alloc()};   // one beyond it, when a gap had to be looked over
    bool hasCurrent_ = false, hasAhead_ = false;
    size_t counted_ = 0;          // without times: pictures decoded since the start
    std::deque<AVFramePtr> kept_; // the latest pictures that were decoded, the last one at the end
    size_t keptLimit_ = 1;
    int rotation_ = 0;
    std::vector<uint8_t> unrotated_;
};

int64_t TimeOf(const AVFrame& picture)
{
    return picture.best_effort_timestamp != AV_NOPTS_VALUE ? picture.best_effort_timestamp : picture.pts;
}

// Movies whose every frame is a key frame and whose container has a complete index need no pass over the file.
bool MovieSource::ListFromIndex()
{
    AVStream* stream = decoder_.stream;
    const AVCodecDescriptor* kind = avcodec_descriptor_get(stream->codecpar->codec_id);
    const int count = avformat_index_get_entries_count(stream);
    if (kind == nullptr || (kind->props & AV_CODEC_PROP_INTRA_ONLY) == 0 || count < 1 || stream->nb_frames != count ||
        std::strstr(decoder_.input->iformat->name, "mov") == nullptr) {
        return false;
    }
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry* entry = avformat_index_get_entry(stream, i);
        if (entry == nullptr || (entry->flags & AVINDEX_DISCARD_FRAME) != 0 || entry->timestamp == AV_NOPTS_VALUE ||
            (!times_.empty() && entry->timestamp <= times_.back())) {
            times_.clear();
            keys_.clear();
            return false;
        }
        times_.push_back(entry->timestamp);
        keys_.push_back({entry->timestamp, entry->timestamp, true});
    }
    return true;
}

bool MovieSource::ListPackets(std::string* error)
{
    if (ListFromIndex()) return true;
    AVPacket* packet = decoder_.packet.get();
    const AVCodecDescriptor* kind = avcodec_descriptor_get(decoder_.stream->codecpar->codec_id);
    const bool isIntra = kind != nullptr && (kind->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
    size_t count = 0;
    while (av_read_frame(decoder_.input.get(), packet) >= 0) {
        const bool isShown = packet->stream_index == decoder_.stream->index && packet->size > 0 &&
                             (packet->flags & AV_PKT_FLAG_DISCARD) == 0;
        if (isShown) {
            int64_t time = packet->pts;
            if (time == AV_NOPTS_VALUE && isIntra) time = packet->dts;
            if (time == AV_NOPTS_VALUE) hasTimes_ = false;
            times_.push_back(time);
            const int64_t decoding = packet->dts != AV_NOPTS_VALUE ? packet->dts : time;
            if ((packet->flags & AV_PKT_FLAG_KEY) != 0) keys_.push_back({time, decoding, true});
            ++count;
        }
        av_packet_unref(packet);
        if (count > kFrameLimit) {
            *error = path_ + " has more than 4,000,000 frames";
            return false;
        }
    }
    std::sort(times_.begin(), times_.end());
    times_.erase(std::unique(times_.begin(), times_.end()), times_.end());
    if (!hasTimes_) times_.assign(count, 0);
    std::sort(keys_.begin(), keys_.end(),
              [](const Packet& a, const Packet& b) { return a.presentation < b.presentation; });
    if (times_.empty()) {
        *error = path_ + " holds no frame";
        return false;
    }
    return Reopen() == bpNoErr;
}

/// Back to the first packet, whatever the container thinks of seeking.
BPStatus MovieSource::Reopen()
{
    const int threads = decoder_.codec->thread_count;
    std::string ignored;
    ClipDecoder fresh;
    if (!ClipOpenDecoder(path_, threads, &fresh, &ignored)) return bpParamErr;
    decoder_ = std::move(fresh);
    hasCurrent_ = hasAhead_ = false;
    counted_ = 0;
    return bpNoErr;
}

void MovieSource::ReadTimecode()
{
    const AVDictionaryEntry* found = av_dict_get(decoder_.stream->metadata, "timecode", nullptr, 0);
    if (found == nullptr) found = av_dict_get(decoder_.input->metadata, "timecode", nullptr, 0);
    for (unsigned s = 0; found == nullptr && s < decoder_.input->nb_streams; ++s) {
        found = av_dict_get(decoder_.input->streams[s]->metadata, "timecode", nullptr, 0);
    }
    if (found != nullptr && std::strlen(found->value) <= 16) info_.timecode = found->value;
}

bool MovieSource::Prepare(std::string* error)
{
    if (!current_ || !ahead_) {
        *error = "out of memory";
        return false;
    }
    if (!ListPackets(error)) {
        if (error->empty()) *error = "cannot read " + path_;
        return false;
    }
    // The first picture tells size and kind more reliably than the header.
    if (ClipDecodeNext(&decoder_, current_.get()) != bpNoErr) {
        *error = "no frame of " + path_ + " can be decoded";
        return false;
    }
    hasCurrent_ = true;
    counted_ = 1;
    FBPixelFormat format = pixFormatARGB8;
    if (!PictureConverter::FormatFor(current_->format, &format)) {
        const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(current_->format));
        *error = "pictures of the kind " + std::string(name != nullptr ? name : "?") + " cannot be converted";
        return false;
    }
    rotation_ = ClipRotation(decoder_.stream);
    uint32_t width = static_cast<uint32_t>(current_->width);
    uint32_t height = static_cast<uint32_t>(current_->height);
    AVRational aspect = av_guess_sample_aspect_ratio(decoder_.input.get(), decoder_.stream, current_.get());
    if (rotation_ % 2 != 0) {
        std::swap(width, height);
        std::swap(aspect.num, aspect.den);
    }
    if (!ClipSetFormat(&info_, width, height, format)) {
        *error = "frames of " + std::to_string(width) + " x " + std::to_string(height) + " are too large";
        return false;
    }
    info_.pixelAspect = aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0;
    if (!(info_.pixelAspect > 0.05 && info_.pixelAspect < 20.0)) info_.pixelAspect = 1.0;
    const AVRational rate = av_guess_frame_rate(decoder_.input.get(), decoder_.stream, current_.get());
    if (rate.num > 0 && rate.den > 0 && av_q2d(rate) >= 1.0 && av_q2d(rate) <= 600.0) info_.rate = {rate.num, rate.den};
    const int bytes =
        av_image_get_buffer_size(static_cast<AVPixelFormat>(current_->format), current_->width, current_->height, 64);
    keptLimit_ = std::clamp<size_t>(bytes > 0 ? kKeptBytes / static_cast<size_t>(bytes) : 1, 1, kKeptPictures);
    info_.frameCount = static_cast<int32_t>(times_.size());
    info_.matrix = PictureConverter::MatrixOf(current_.get());
    if (current_->color_primaries != AVCOL_PRI_UNSPECIFIED && current_->color_primaries > 0) {
        info_.primaries = current_->color_primaries;
    } else if (info_.matrix == ClipMatrix::rec601) {
        info_.primaries = AVCOL_PRI_SMPTE170M;
    }
    if (current_->color_trc != AVCOL_TRC_UNSPECIFIED && current_->color_trc > 0) info_.transfer = current_->color_trc;
    info_.isChromaHalved = PictureConverter::IsChromaHalved(current_->format);
    info_.name = ClipNameOf(path_);
    info_.files = {path_};
    ReadTimecode();
    info_.dropFrame = ClipDropsFrames(info_.timecode, info_.rate);
    return true;
}

/// Goes to a key frame from which `frame` can be decoded, `keysBack` key frames before the nearest.
BPStatus MovieSource::SeekBefore(size_t frame, size_t keysBack)
{
    hasCurrent_ = hasAhead_ = false;
    const auto after = std::upper_bound(keys_.begin(), keys_.end(), times_[frame],
                                        [](int64_t time, const Packet& key) { return time < key.presentation; });
    const size_t before = static_cast<size_t>(after - keys_.begin());
    if (before > keysBack && ClipSeek(&decoder_, keys_[before - 1 - keysBack].decoding) == bpNoErr) return bpNoErr;
    return Reopen();
}

/// Decodes forward until current_ is the frame, or the last one before it.
BPStatus MovieSource::Advance(size_t frame)
{
    const int64_t wanted = times_[frame];
    for (;;) {
        if (hasCurrent_ && TimeOf(*current_) == wanted) return bpNoErr;
        if (!hasAhead_) {
            if (BPStatus err = ClipDecodeNext(&decoder_, ahead_.get()); err != bpNoErr) {
                // Frames at the end that cannot be decoded show the last one that can.
                return hasCurrent_ ? bpNoErr : err;
            }
            hasAhead_ = true;
        }
        if (hasCurrent_ && TimeOf(*ahead_) > wanted) return bpNoErr;
        av_frame_unref(current_.get());
        av_frame_move_ref(current_.get(), ahead_.get());
        hasCurrent_ = true;
        hasAhead_ = false;
        Keep(*current_);
        if (TimeOf(*current_) > wanted) return bpNotFoundErr;
    }
}

void MovieSource::Keep(const AVFrame& picture)
{
    AVFramePtr copy(av_frame_clone(&picture));
    if (!copy) return;
    kept_.push_back(std::move(copy));
    if (kept_.size() > keptLimit_) kept_.pop_front();
}

BPStatus MovieSource::ConvertPicture(const AVFrame& picture, PictureConverter* converter, std::vector<uint8_t>* scratch,
                                     uint8_t* pixels) const
{
    const bool isTurned = rotation_ % 2 != 0;
    const uint32_t width = isTurned ? info_.height : info_.width;
    const uint32_t height = isTurned ? info_.width : info_.height;
    if (picture.width != static_cast<int>(width) || picture.height != static_cast<int>(height)) return bpParamErr;
    if (rotation_ == 0) return converter->ToPixels(&picture, info_.pixelFormat, pixels, info_.rowBytes);
    const size_t step = info_.rowBytes / info_.width;
    scratch->resize(static_cast<size_t>(ClipFrameBytes(info_)));
    if (BPStatus err =
            converter->ToPixels(&picture, info_.pixelFormat, scratch->data(), static_cast<uint32_t>(width * step));
        err != bpNoErr) {
        return err;
    }
    for (size_t row = 0; row < info_.height; ++row) {
        for (size_t x = 0; x < info_.width; ++x) {
            size_t fromX = x, fromRow = row;
            if (rotation_ == 1) fromX = row, fromRow = height - 1 - x;
            if (rotation_ == 2) fromX = width - 1 - x, fromRow = height - 1 - row;
            if (rotation_ == 3) fromX = width - 1 - row, fromRow = x;
            std::memcpy(pixels + row * info_.rowBytes + x * step, scratch->data() + (fromRow * width + fromX) * step,
                        step);
        }
    }
    return bpNoErr;
}

int64_t MovieSource::FrameTime(int32_t frameNumber) const
{
    if (!hasTimes_ || frameNumber < 0 || frameNumber >= info_.frameCount) return frameNumber;
    return times_[static_cast<size_t>(frameNumber)] - times_[0];
}

AVRational MovieSource::TimeBase() const
{
    return hasTimes_ ? decoder_.stream->time_base : AVRational{info_.rate.denominator, info_.rate.numerator};
}

/// The frame's picture, or the nearest that can be had in its place; null when there is none.
const AVFrame* MovieSource::Find(size_t frame)
{
    if (!hasTimes_) {
        if (counted_ > frame + 1 || !hasCurrent_) {
            if (Reopen() != bpNoErr) return nullptr;
        }
        while (counted_ < frame + 1) {
            av_frame_unref(current_.get());
            hasCurrent_ = ClipDecodeNext(&decoder_, current_.get()) == bpNoErr;
            if (!hasCurrent_) return nullptr;
            ++counted_;
        }
        return current_.get();
    }
    const int64_t wanted = times_[frame];
    for (const AVFramePtr& picture : kept_) {
        if (TimeOf(*picture) == wanted) return picture.get();
    }
    // On the way already, with no key frame in between?
    const auto key = std::upper_bound(keys_.begin(), keys_.end(), wanted,
                                      [](int64_t time, const Packet& entry) { return time < entry.presentation; });
    const int64_t start = key == keys_.begin() ? INT64_MIN : std::prev(key)->presentation;
    const int64_t at = hasCurrent_ ? TimeOf(*current_) : AV_NOPTS_VALUE;
    const bool isNext = hasCurrent_ && frame > 0 && at == times_[frame - 1];
    bool isNear = hasCurrent_ && at != AV_NOPTS_VALUE && at <= wanted && (at >= start || isNext);
    for (size_t keysBack = 0;; ++keysBack) {
        if (!isNear && SeekBefore(frame, keysBack) != bpNoErr) return nullptr;
        isNear = false;
        const BPStatus err = Advance(frame);
        if (err == bpNoErr) return current_.get();
        // Containers may seek too far. A few key frames back, then from the start; the start's first picture stands
        // for those before it that cannot be decoded.
        if (keysBack >= keys_.size() || keysBack > 8) {
            return err == bpNotFoundErr && hasCurrent_ ? current_.get() : nullptr;
        }
        if (keysBack == 3) keysBack = std::max<size_t>(keys_.size(), 9) - 1;
    }
}

BPStatus MovieSource::ReadFrame(int32_t frameNumber, uint8_t* pixels)
{
    if (frameNumber < 0 || frameNumber >= info_.frameCount) return bpParamErr;
    const AVFrame* picture = Find(static_cast<size_t>(frameNumber));
    return picture != nullptr ? ConvertPicture(*picture, &converter_, &unrotated_, pixels) : bpParamErr;
}

BPStatus MovieSource::ReadPicture(int32_t frameNumber, AVFrame* picture, bool* isExact)
{
    *isExact = false;
    if (frameNumber < 0 || frameNumber >= info_.frameCount) return bpParamErr;
    const size_t frame = static_cast<size_t>(frameNumber);
    const AVFrame* found = Find(frame);
    if (found == nullptr) return bpParamErr;
    *isExact = !PictureIsDamaged(*found) && (!hasTimes_ || TimeOf(*found) == times_[frame]);
    av_frame_unref(picture);
    return av_frame_ref(picture, found) < 0 ? bpMemFullErr : bpNoErr;
}

} // namespace

std::string ClipNameOf(const std::string& path)
{
    const std::string name = std::filesystem::path(path).stem().string();
    return name.empty() ? "clip" : name;
}

std::unique_ptr<MovieClip> MakeMovieSource(const std::string& path, ClipDecoder decoder, std::string* error)
{
    auto movie = std::make_unique<MovieSource>(path, std::move(decoder));
    if (!movie->Prepare(error)) return nullptr;
    return movie;
}
