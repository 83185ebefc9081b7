// Opening, and frames by number.
#include "tools/ochrine-render/RenderSource.h"

#include <algorithm>
#include <filesystem>

namespace {

constexpr uint64_t kSpanLimit = 10'000'000; // frames from the first to the last

}

bool RenderSource::TakeFirst(const ClipRate* rate, std::string* error)
{
    PictureReader reader(threads_);
    const std::string file = FileOf(first_);
    firstPicture_.reset(av_frame_alloc());
    if (!firstPicture_) {
        *error = "out of memory";
        return false;
    }
    if (reader.Read(file, firstPicture_.get(), error) != bpNoErr) return false;
    if (!ClipDescribePicture(*firstPicture_, &info_, error)) {
        *error = file + ": " + *error;
        return false;
    }
    NotesFromPicture(*firstPicture_, reader.Bytes(), &firstNotes_);
    if (rate != nullptr) {
        info_.rate = *rate;
    } else if (firstNotes_.rate.numerator > 0) {
        info_.rate = firstNotes_.rate;
    }
    info_.timecode = firstNotes_.timecode;
    info_.dropFrame = ClipDropsFrames(info_.timecode, info_.rate);
    hasAlpha_ = PictureConverter::HasAlpha(firstPicture_->format);
    return true;
}

bool RenderSource::OpenSequence(const ClipRate* rate, std::string* error)
{
    numbers_ = SequenceNumbers(name_);
    if (numbers_.empty()) {
        *error = "no file has a name like " + path_;
        return false;
    }
    if (numbers_.back() - numbers_.front() >= kSpanLimit) {
        *error = path_ + ": the numbers lie too far apart";
        return false;
    }
    first_ = static_cast<int64_t>(numbers_.front());
    info_.frameCount = static_cast<int32_t>(numbers_.back() - numbers_.front() + 1);
    info_.name = name_.prefix;
    return TakeFirst(rate, error);
}

bool RenderSource::Open(const std::string& path, const ClipRate* rate, int threads, std::string* error)
{
    path_ = path;
    threads_ = threads;
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) {
        if (SequenceFromPattern(path, &name_)) return OpenSequence(rate, error);
        *error = "there is no file " + path;
        return false;
    }
    if (!std::filesystem::is_regular_file(path, ignored)) {
        *error = path + " is no file";
        return false;
    }
    if (!PictureReader::Knows(path)) {
        ClipDecoder decoder;
        if (!ClipOpenDecoder(path, threads, &decoder, error)) return false;
        if (!decoder.isStill) {
            movie_ = MakeMovieSource(path, std::move(decoder), error);
            if (!movie_) return false;
            movie_->LimitKept(1);
            info_ = movie_->Info();
            hasAlpha_ = movie_->Rotation() == 0 && PictureConverter::HasAlpha(movie_->Stream()->codecpar->format);
            return true;
        }
    }
    isStill_ = true;
    info_.frameCount = 1;
    if (SequenceFromFile(path, &name_) && name_.number <= INT64_MAX) first_ = static_cast<int64_t>(name_.number);
    return TakeFirst(rate, error);
}

bool RenderSource::Has(int64_t number) const
{
    if (number < First() || number > Last()) return false;
    if (movie_ || isStill_) return true;
    return std::binary_search(numbers_.begin(), numbers_.end(), static_cast<uint64_t>(number));
}

std::string RenderSource::FileOf(int64_t number) const
{
    return movie_ || isStill_ ? path_ : SequencePath(name_, static_cast<uint64_t>(number));
}

std::string RenderSource::CountedTimecode(int64_t number) const
{
    return info_.timecode.empty() ? "" : TimecodeAfter(info_.timecode, info_.rate, number - first_);
}

BPStatus RenderSource::ReadMovieFrame(int64_t number, SourceFrame* frame, std::string* error)
{
    bool isExact = false;
    BPStatus err = movie_->ReadPicture(static_cast<int32_t>(number), frame->picture.get(), &isExact);
    if (err == bpNoErr && !isExact) err = bpParamErr;
    if (err != bpNoErr) {
        *error = "frame " + std::to_string(number) + " of " + path_ + " cannot be decoded";
        return err;
    }
    frame->notes = {};
    frame->notes.timecode = CountedTimecode(number);
    frame->notes.rate = info_.rate;
    frame->notes.pixelAspect = info_.pixelAspect;
    return bpNoErr;
}

BPStatus RenderSource::ReadFrame(int64_t number, PictureReader* reader, SourceFrame* frame, std::string* error)
{
    if (!Has(number)) {
        *error = "frame " + std::to_string(number) + " is missing";
        return bpParamErr;
    }
    if (movie_) return ReadMovieFrame(number, frame, error);
    bool isTaken = false;
    if (number == first_) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (firstPicture_) {
            std::swap(frame->picture, firstPicture_);
            frame->notes = firstNotes_;
            firstPicture_.reset();
            isTaken = true;
        }
    }
    if (!isTaken) {
        const std::string file = FileOf(number);
        if (BPStatus err = reader->Read(file, frame->picture.get(), error); err != bpNoErr) return err;
        frame->notes = {};
        NotesFromPicture(*frame->picture, reader->Bytes(), &frame->notes);
        if (frame->picture->width != static_cast<int>(info_.width) ||
            frame->picture->height != static_cast<int>(info_.height)) {
            *error = file + " has another size than the first frame";
            return bpParamErr;
        }
    }
    if (frame->notes.timecode.empty()) frame->notes.timecode = CountedTimecode(number);
    frame->notes.rate = info_.rate;
    frame->notes.pixelAspect = info_.pixelAspect;
    return bpNoErr;
}
