// What a name on the command line stands for, and the clip made of picture files.
#include "host/ClipSequence.h"
#include "host/MovieSource.h"
#include "host/PictureReader.h"

#include <filesystem>

namespace {

/// Picture files, each opened when its frame is wanted: any order costs the same.
class SequenceSource final : public ClipSource {
  public:
    bool Prepare(std::vector<std::string> files, uint64_t firstNumber, const std::string& name,
                 const ClipOptions& options, std::string* error);
    BPStatus ReadFrame(int32_t frameNumber, uint8_t* pixels) override;

  private:
    PictureReader reader_{0};
    PictureConverter converter_;
    AVFramePtr picture_{av_frame_alloc()};
    int32_t decoded_ = -1; ///< frame that picture_ holds
};

bool SequenceSource::Prepare(std::vector<std::string> files, uint64_t firstNumber, const std::string& name,
                             const ClipOptions& options, std::string* error)
{
    reader_ = PictureReader(options.threads);
    if (!picture_) {
        *error = "out of memory";
        return false;
    }
    if (reader_.Read(files.front(), picture_.get(), error) != bpNoErr) return false;
    decoded_ = 0;
    if (!ClipDescribePicture(*picture_, &info_, error)) {
        *error = files.front() + ": " + *error;
        return false;
    }
    info_.rate = options.sequenceRate;
    info_.frameCount = static_cast<int32_t>(files.size());
    info_.dropFrame = ClipDropsFrames("", info_.rate);
    info_.firstNumber = static_cast<uint32_t>(firstNumber);
    info_.name = name;
    info_.files = std::move(files);
    return true;
}

BPStatus SequenceSource::ReadFrame(int32_t frameNumber, uint8_t* pixels)
{
    if (frameNumber < 0 || frameNumber >= info_.frameCount) return bpParamErr;
    if (frameNumber != decoded_) {
        std::string ignored;
        decoded_ = -1;
        if (BPStatus err = reader_.Read(info_.files[static_cast<size_t>(frameNumber)], picture_.get(), &ignored);
            err != bpNoErr) {
            return err;
        }
        decoded_ = frameNumber;
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
    if (!PictureReader::Knows(path)) {
        ClipDecoder decoder;
        if (!ClipOpenDecoder(path, options.threads, &decoder, error)) return nullptr;
        if (!decoder.isStill) return MakeMovieSource(path, std::move(decoder), error);
    }
    std::vector<std::string> files;
    if (SequenceFromFile(path, &name)) files = SequenceFiles(name, false, &first);
    if (files.empty()) files = {path};
    if (files.size() == 1) first = 0;
    return OpenFiles(name, std::move(files), first, options, error);
}
