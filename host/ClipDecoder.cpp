// Demuxing and decoding of one file through the FFmpeg libraries.
#include "host/ClipDecoder.h"

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/display.h>
}

#ifdef OC_SANITIZES_THREADS
// The FFmpeg libraries are not instrumented: their atomics and condition variables are invisible, and memory that one of
// their threads hands to us looks like a race.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions()
{
    return "called_from_lib:libavcodec.so\ncalled_from_lib:libavutil.so\ncalled_from_lib:libavformat.so\n"
           "race:libavcodec.so\nrace:libavutil.so\nrace:libswscale.so\n";
}
#endif

std::string AVErrorText(int number)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(number, text, sizeof(text));
    return text;
}

bool ClipOpenDecoder(const std::string& path, int threads, ClipDecoder* decoder, std::string* error)
{
    *decoder = {};
    AVDictionary* options = nullptr;
    // A playlist in the disguise of a movie must not reach out of the machine.
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    // A percent sign in the name of a picture is no pattern; sequences are found by us.
    av_dict_set(&options, "pattern_type", "none", 0);
    AVFormatContext* opened = nullptr;
    int result = avformat_open_input(&opened, ("file:" + path).c_str(), nullptr, &options);
    av_dict_free(&options);
    if (result < 0) {
        *error = "cannot open " + path + ": " + AVErrorText(result);
        return false;
    }
    decoder->input.reset(opened);
    if (result = avformat_find_stream_info(opened, nullptr); result < 0) {
        *error = "cannot read " + path + ": " + AVErrorText(result);
        return false;
    }
    const AVCodec* kind = nullptr;
    const int index = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, &kind, 0);
    if (index < 0 || kind == nullptr) {
        *error = path + " holds no picture that can be decoded";
        return false;
    }
    decoder->stream = opened->streams[index];
    if ((decoder->stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        *error = path + " holds a cover picture and no clip";
        return false;
    }
    for (unsigned s = 0; s < opened->nb_streams; ++s) {
        if (static_cast<int>(s) != index) opened->streams[s]->discard = AVDISCARD_ALL;
    }
    decoder->codec.reset(avcodec_alloc_context3(kind));
    decoder->packet.reset(av_packet_alloc());
    if (!decoder->codec || !decoder->packet) {
        *error = "out of memory";
        return false;
    }
    if (result = avcodec_parameters_to_context(decoder->codec.get(), decoder->stream->codecpar); result >= 0) {
        decoder->codec->pkt_timebase = decoder->stream->time_base;
        decoder->codec->thread_count = threads;
        result = avcodec_open2(decoder->codec.get(), kind, nullptr);
    }
    if (result < 0) {
        *error = "cannot decode " + path + ": " + AVErrorText(result);
        return false;
    }
    const char* format = opened->iformat->name;
    const size_t length = std::strlen(format);
    decoder->isStill =
        std::strcmp(format, "image2") == 0 || (length > 5 && std::strcmp(format + length - 5, "_pipe") == 0);
    return true;
}

BPStatus ClipDecodeNext(ClipDecoder* decoder, AVFrame* picture)
{
    for (;;) {
        int result = avcodec_receive_frame(decoder->codec.get(), picture);
        if (result == 0) return bpNoErr;
        if (result != AVERROR(EAGAIN) || decoder->isDraining) return bpEndOfFileErr;
        result = av_read_frame(decoder->input.get(), decoder->packet.get());
        if (result < 0) {
            // The end, or as far as a damaged file can be read.
            decoder->isDraining = true;
            (void)avcodec_send_packet(decoder->codec.get(), nullptr);
            continue;
        }
        if (decoder->packet->stream_index == decoder->stream->index) {
            // A packet that cannot be decoded leaves a hole; what follows may be sound.
            (void)avcodec_send_packet(decoder->codec.get(), decoder->packet.get());
        }
        av_packet_unref(decoder->packet.get());
    }
}

BPStatus ClipSeek(ClipDecoder* decoder, int64_t timestamp)
{
    const int result = av_seek_frame(decoder->input.get(), decoder->stream->index, timestamp, AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(decoder->codec.get());
    decoder->isDraining = false;
    return result < 0 ? bpParamErr : bpNoErr;
}

int ClipRotation(const AVStream* stream)
{
    size_t byteCount = 0;
    const uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &byteCount);
    if (matrix == nullptr || byteCount < 9 * sizeof(int32_t)) return 0;
    const double angle = -av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix)); // clockwise
    if (!std::isfinite(angle)) return 0;
    const int turns = static_cast<int>(std::lround(angle / 90.0)) % 4;
    return turns < 0 ? turns + 4 : turns;
}
