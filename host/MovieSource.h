// A movie as a clip: every frame by number, to the frame.
#pragma once

#include "host/ClipDecoder.h"
#include "host/PictureConvert.h"

/// A movie: a clip whose pictures can also be had as they were decoded.
class MovieClip : public ClipSource {
  public:
    /// Decodes one frame and references it.
    ///
    /// isExact   receives false when the frame itself cannot be decoded whole and another picture stands for it
    ///
    /// Thread: any, one at a time.
    virtual BPStatus ReadPicture(int32_t frameNumber, AVFrame* picture, bool* isExact) = 0;

    /// Converts a picture of ReadPicture into ClipFrameBytes bytes, turned as the file asks for.
    ///
    /// converter, scratch   the caller's own
    ///
    /// Thread: any.
    virtual BPStatus ConvertPicture(const AVFrame& picture, PictureConverter* converter, std::vector<uint8_t>* scratch,
                                    uint8_t* pixels) const = 0;

    /// How many decoded pictures may be kept for going back, at least 1.
    virtual void LimitKept(size_t pictures) = 0;

    /// Quarter turns clockwise between a picture and the clip.
    virtual int Rotation() const = 0;

    /// Presentation time of a frame in units of TimeBase, counted from frame 0. Frames are one unit apart when the
    /// file tells no times.
    virtual int64_t FrameTime(int32_t frameNumber) const = 0;
    virtual AVRational TimeBase() const = 0;

    /// Presentation time of frame 0 as the file counts it, in units of TimeBase: where sound begins to belong to it.
    virtual int64_t StartTime() const = 0;

    /// The file and its video stream as opened, for what they tell beyond the pictures.
    virtual const AVFormatContext* Container() const = 0;
    virtual const AVStream* Stream() const = 0;
};

/// Makes a clip of an opened movie. The packets are listed once, so that frame n is the n-th by presentation time.
/// error   receives one sentence when null is returned
std::unique_ptr<MovieClip> MakeMovieSource(const std::string& path, ClipDecoder decoder, std::string* error);

/// The clip's name of a path: the file's name without suffix.
std::string ClipNameOf(const std::string& path);
