// What is rendered: frames by the numbers that the user knows them by, from a movie, a numbered sequence or a still.
#pragma once

#include "host/ClipSequence.h"
#include "host/MovieSource.h"
#include "host/PictureReader.h"
#include "tools/ochrine-render/RenderNotes.h"

#include <mutex>

/// One decoded frame with what was told of it.
struct SourceFrame {
    AVFramePtr picture{av_frame_alloc()};
    PictureNotes notes;
};

/// Thread: main, but ReadFrame.
class RenderSource {
  public:
    /// Opens a movie, a pattern with %0Nd, or one picture file, which is a still whatever stands beside it.
    ///
    /// rate      of sequences and stills; null: as their files tell, else 25
    /// threads   of the decoder of a movie and of the first picture
    /// error     receives one sentence after a failure
    bool Open(const std::string& path, const ClipRate* rate, int threads, std::string* error);

    /// Size, rate, matrix and name. frameCount counts from First to Last, gaps included.
    const ClipInfo& Info() const { return info_; }
    int64_t First() const { return first_; }
    int64_t Last() const { return first_ + info_.frameCount - 1; }
    bool IsStill() const { return isStill_; }

    /// Null unless the source is a movie.
    MovieClip* Movie() const { return movie_.get(); }

    /// True when the frame has a file, or lies inside the movie.
    bool Has(int64_t number) const;

    /// The file of a frame of a sequence, or the movie.
    std::string FileOf(int64_t number) const;

    /// The timecode of a frame as it follows from that of the first; empty when that has none.
    std::string CountedTimecode(int64_t number) const;

    /// True when frames carry transparency.
    bool HasAlpha() const { return hasAlpha_; }

    /// Decodes one frame. Of a sequence any frame by any thread; of a movie one at a time, best in rising order.
    ///
    /// reader   the thread's own
    /// error    receives one sentence after a failure
    ///
    /// bpParamErr for a frame that is missing, damaged or of another size; bpMemFullErr.   Thread: any.
    BPStatus ReadFrame(int64_t number, PictureReader* reader, SourceFrame* frame, std::string* error);

  private:
    bool OpenSequence(const ClipRate* rate, std::string* error);
    bool TakeFirst(const ClipRate* rate, std::string* error);
    BPStatus ReadMovieFrame(int64_t number, SourceFrame* frame, std::string* error);

    ClipInfo info_;
    std::string path_;
    SequenceName name_;
    std::vector<uint64_t> numbers_;
    int64_t first_ = 0;
    bool isStill_ = false, hasAlpha_ = false;
    std::unique_ptr<MovieClip> movie_;
    int threads_ = 0;
    // The first picture was decoded to look at it; who asks for it first takes it.
    std::mutex mutex_;
    AVFramePtr firstPicture_;
    PictureNotes firstNotes_;
};
