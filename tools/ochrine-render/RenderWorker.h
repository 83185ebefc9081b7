// What one thread does with one frame, from decoded picture to encoded bytes.
#pragma once

#include "src/OCEngine.h"
#include "tools/ochrine-render/RenderMovie.h"
#include "tools/ochrine-render/RenderReport.h"

/// A thread's own frame, buffers and encoder.
class RenderWorker {
  public:
    /// threads   that may work on one frame
    RenderWorker(const RenderOptions& options, const RenderSource& source, const OCEngine* engine, int threads);
    ~RenderWorker();
    RenderWorker(const RenderWorker&) = delete;
    RenderWorker& operator=(const RenderWorker&) = delete;

    /// Makes frame, buffers and encoder. error receives one sentence when false is returned.   Thread: main.
    bool Prepare(std::string* error);

    /// Grades and encodes what lies in Source().
    ///
    /// bpMemFullErr; bpParamErr for a picture that cannot be converted or encoded.   Thread: one at a time.
    BPStatus Render(std::string* error);

    PictureReader& Reader() { return reader_; }
    SourceFrame& Source() { return source_frame_; }
    PictureBytes& Bytes() { return bytes_; }     ///< of a picture file
    AVPacket* Packet() { return packet_.get(); } ///< of a movie
    const ProResEncoder& Encoder() const { return encoder_; }
    RenderTimes& Times() { return times_; }

    /// The clock that this worker's times are read from.
    double Clock() const { return threads_ > 1 ? RenderClock() : RenderThreadClock(); }

  private:
    BPStatus BringInPacked();
    BPStatus GradeRows(std::string* error);
    BPStatus Encode();

    const RenderOptions& options_;
    const RenderSource& source_;
    const OCEngine* engine_;
    int threads_;
    bool hasAlpha_;
    PictureReader reader_;
    SourceFrame source_frame_;
    PictureConverter converter_;
    std::vector<uint8_t> pixels_, scratch_; ///< of pictures that come packed: 8 bits, or turned
    FBFrame* frame_ = nullptr;
    float* alpha_ = nullptr;
    ProResEncoder encoder_;
    AVPacketPtr packet_{av_packet_alloc()};
    PictureBytes bytes_;
    RenderTimes times_;
};
