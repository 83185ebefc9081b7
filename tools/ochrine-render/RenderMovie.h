// Movies out: ProRes, with the sound, the timecode and the notes of the source.
#pragma once

#include "tools/ochrine-render/RenderFormat.h"
#include "tools/ochrine-render/RenderSource.h"
#include "tools/ochrine-render/RenderStill.h"

struct AVOutputDelete {
    void operator()(AVFormatContext* output) const
    {
        if (output->pb != nullptr) avio_closep(&output->pb);
        avformat_free_context(output);
    }
};
using AVOutputPtr = std::unique_ptr<AVFormatContext, AVOutputDelete>;

/// One thread's encoder. ProRes keeps nothing from frame to frame, so that frames may be encoded by any of them.
/// Thread: any, one at a time.
class ProResEncoder {
  public:
    /// error   receives one sentence when false is returned
    bool Start(const RenderSource& source, const OutputFormat& format, bool hasAlpha, int threads, std::string* error);

    /// Encodes one frame; the packet carries no times. bpParamErr after a failure of the encoder.
    BPStatus Encode(const RenderPicture& picture, AVPacket* packet);

    const AVCodecContext* Codec() const { return codec_.get(); }

  private:
    ClipMatrix matrix_ = ClipMatrix::rec709;
    bool isChromaHalved_ = false, is444_ = false;
    AVCodecPtr codec_;
    AVFramePtr picture_;
};

/// A movie that is being written under a temporary name, and disappears unless Finish moves it into place.
/// Thread: any, one at a time.
class MovieFile {
  public:
    MovieFile() = default;
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    /// Starts the movie of frames first to last of the source.
    ///
    /// codec       an encoder of the kind whose packets will come
    /// keepAudio   copies the packets of sound that begin between the first frame and the end of the last
    /// warning     receives one sentence about what cannot be kept, or nothing
    bool Start(const std::string& path, const RenderSource& source, const AVCodecContext* codec, int64_t first,
               int64_t last, bool keepAudio, std::string* warning);

    /// Takes the packet of a frame; frames come in rising order. It is empty afterwards.
    BPStatus Put(int64_t number, AVPacket* packet);

    /// Writes the rest, waits until it is on the disk, and moves the movie into place.
    BPStatus Finish();

    /// One sentence after a failure.
    const std::string& Error() const { return error_; }

  private:
    bool TryStart(const std::string& path, const RenderSource& source, const AVCodecContext* codec, int64_t first,
                  int64_t last, bool keepAudio, std::string* warning);
    BPStatus Fail(const std::string& what, int result);
    bool AddVideo(const RenderSource& source, const AVCodecContext* codec);
    bool OpenSound(std::string* warning);
    BPStatus Write(AVPacket* packet);
    BPStatus CopySound(int64_t untilTime);
    int64_t TimeOf(int64_t number) const;
    bool CloseDisk();

    std::string path_;   ///< as it was given, for what is said
    std::string target_; ///< what it leads to
    std::string temporary_, error_;
    const RenderSource* source_ = nullptr;
    int64_t first_ = 0, last_ = 0;
    AVRational base_ = {1, 25}; ///< of TimeOf
    AVOutputPtr output_;
    AVStream* video_ = nullptr;
    AVInputPtr sound_;
    std::vector<int> soundTo_; ///< stream of the output for each of the sound's file, or -1
    AVPacketPtr waiting_;      ///< packet of sound that was read and is not due yet
    bool hasWaiting_ = false;
};
