// What a name on the command line stands for, and the clip made of picture files.
#include "host/ClipSequence.h"
#include "host/MovieSource.h"

#include <filesystem>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

/// Picture files, each opened when its frame is wanted: any order costs the same.
class SequenceSource final : public ClipSource {
  public:
    bool Prepare(std::vector<std::string> files, uint64_t firstNumber, const std::string& name,
                 const ClipOptions& options, std::string* error);
    BPStatus ReadFrame(int32_t frameNumber, uint8_t* pixels) override;

  private:
    BPStatus Decode(const std::string& path, AVFrame* picture, std::string* error);

    int threads_ = 0;
    PictureConverter converter_;
    AVFramePtr picture_{av_frame_alloc()};
};

BPStatus SequenceSource::Decode(const std::string& path, AVFrame* picture, std::string* error)
{
    ClipDecoder decoder;
    av_frame_unref(picture);
    if (!ClipOpenDecoder(path, threads_, &decoder, error)) return bpParamErr;
    if (BPStatus err = ClipDecodeNext(&decoder, picture); err != bpNoErr) {
        *error = path + " cannot be decoded";
        return err;
    }
    return bpNoErr;
}

bool SequenceSource::Prepare(std::vector<std::string> files, uint64_t firstNumber, const std::string& name,
                             const ClipOptions& options, std::string* error)
{
    threads_ = options.threads;
    if (!picture_) {
        *error = "out of memory";
        return false;
    }
    if (Decode(files.front(), picture_.get(), error) != bpNoErr) return false;
    FBPixelFormat format = pixFormatARGB8;
    if (!PictureConverter::FormatFor(picture_->format, &format)) {
        const char* unknown = av_get_pix_fmt_name(static_cast<AVPixelFormat>(picture_->format));
        *error = "pictures of the kind " + std::string(unknown != nullptr ? unknown : "?") + " cannot be converted";
        return false;
    }
    if (!ClipSetFormat(&info_, static_cast<uint32_t>(picture_->width), static_cast<uint32_t>(picture_->height),
                       format)) {
        *error = files.front() + " is too large";
        return false;
    }
    const AVRational aspect = picture_->sample_aspect_ratio;
    if (aspect.num > 0 && aspect.den > 0 && av_q2d(aspect) > 0.05 && av_q2d(aspect) < 20.0) {
        info_.pixelAspect = av_q2d(aspect);
    }
    info_.rate = options.sequenceRate;
    info_.frameCount = static_cast<int32_t>(files.size());
    const AVPixFmtDescriptor* kind = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture_->format));
    // Pictures in RGB have no matrix; movies made of them take that of their size.
    const bool isRGB = (kind->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0 || kind->nb_components < 3;
    info_.matrix = !isRGB                ? PictureConverter::MatrixOf(picture_.get())
                   : info_.height <= 576 ? ClipMatrix::rec601
                                         : ClipMatrix::rec709;
    info_.isChromaHalved = PictureConverter::IsChromaHalved(picture_->format);
    info_.dropFrame = ClipDropsFrames("", info_.rate);
    info_.firstNumber = static_cast<uint32_t>(firstNumber);
    info_.name = name;
    info_.files = std::move(files);
    return true;
}

BPStatus SequenceSource::ReadFrame(int32_t frameNumber, uint8_t* pixels)
{
    if (frameNumber < 0 || frameNumber >= info_.frameCount) return bpParamErr;
    std::string ignored;
    if (BPStatus err = Decode(info_.files[static_cast<size_t>(frameNumber)], picture_.get(), &ignored);
        err != bpNoErr) {
        return err;
    }
    if (picture_->width != static_cast<int>(info_.width) || picture_->height != static_cast<int>(info_.height)) {
        return bpParamErr;
    }
    return converter_.ToPixels(picture_.get(), info_.pixelFormat, pixels, info_.rowBytes);
}

/// What outputs of the row are named after: what stands before the number.
std::string NameOfRow(const SequenceName& row, const std::vector<std::string>& files)
{
    if (files.size() == 1) return ClipNameOf(files.front());
    const size_t end = row.prefix.find_last_not_of("._- ");
    return end == std::string::npos ? "clip" : row.prefix.substr(0, end + 1);
}

std::unique_ptr<ClipSource> OpenFiles(const SequenceName& row, std::vector<std::string> files, uint64_t first,
                                      const ClipOptions& options, std::string* error)
{
    auto sequence = std::make_unique<SequenceSource>();
    const std::string name = NameOfRow(row, files);
    if (!sequence->Prepare(std::move(files), first, name, options, error)) return nullptr;
    return sequence;
}

} // namespace

std::unique_ptr<ClipSource> OpenClip(const std::string& path, const ClipOptions& options, std::string* error)
{
    error->clear();
    std::error_code ignored;
    uint64_t first = 0;
    SequenceName name;
    if (!std::filesystem::exists(path, ignored)) {
        if (!SequenceFromPattern(path, &name)) {
            *error = "there is no file " + path;
            return nullptr;
        }
        std::vector<std::string> files = SequenceFiles(name, true, &first);
        if (files.empty()) {
            *error = "no file has a name like " + path;
            return nullptr;
        }
        return OpenFiles(name, std::move(files), first, options, error);
    }
    if (!std::filesystem::is_regular_file(path, ignored)) {
        *error = path + " is no file";
        return nullptr;
    }
    ClipDecoder decoder;
    if (!ClipOpenDecoder(path, options.threads, &decoder, error)) return nullptr;
    if (!decoder.isStill) return MakeMovieSource(path, std::move(decoder), error);

    std::vector<std::string> files;
    if (SequenceFromFile(path, &name)) files = SequenceFiles(name, false, &first);
    if (files.empty()) files = {path};
    return OpenFiles(name, std::move(files), files.size() > 1 ? first : 0, options, error);
}
