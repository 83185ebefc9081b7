// One file, demuxed and decoded: the next picture, or back to a packet. Frames and numbers are the business of the clips.
#pragma once

#include "host/ClipSource.h"

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

/// Owner of what a library made.
template <class Thing, void (*Free)(Thing**)> struct AVDelete {
    void operator()(Thing* thing) const { Free(&thing); }
};
using AVFramePtr = std::unique_ptr<AVFrame, AVDelete<AVFrame, av_frame_free>>;
using AVPacketPtr = std::unique_ptr<AVPacket, AVDelete<AVPacket, av_packet_free>>;
using AVCodecPtr = std::unique_ptr<AVCodecContext, AVDelete<AVCodecContext, avcodec_free_context>>;
using AVInputPtr = std::unique_ptr<AVFormatContext, AVDelete<AVFormatContext, avformat_close_input>>;

/// The library's own words for an error number.
std::string AVErrorText(int number);

struct ClipDecoder {
    AVInputPtr input;
    AVCodecPtr codec;
    AVStream* stream = nullptr; ///< the chosen video stream, owned by `input`
    AVPacketPtr packet;
    bool isDraining = false;
    bool isStill = false; ///< a picture file, not a movie
};

/// Opens the file's best video stream. Only local files are touched, also by files that name others.
/// error   receives one sentence when false is returned
bool ClipOpenDecoder(const std::string& path, int threads, ClipDecoder* decoder, std::string* error);

/// Decodes the next picture in order of presentation. bpEndOfFileErr after the last one. A damaged packet is skipped.
BPStatus ClipDecodeNext(ClipDecoder* decoder, AVFrame* picture);

/// Goes to the last packet from which decoding can start that is not later than `timestamp` (of decoding).
BPStatus ClipSeek(ClipDecoder* decoder, int64_t timestamp);

/// Quarter turns clockwise, 0 to 3, that the file asks for.
int ClipRotation(const AVStream* stream);
