// What tests of clips share: a folder that goes away, the ffmpeg command, and a clip computed from numbers.
#pragma once

#include "host/ClipSource.h"

#include <string>

/// A folder of its own below the temporary one, removed at the end.
struct TestFolder {
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    std::string Path(const std::string& name) const { return path + "/" + name; }
    std::string path;
};

/// Runs ffmpeg with these words behind "-loglevel error -y"; false when it fails.
bool RunFFmpeg(const std::string& words);

/// A clip in which every frame and every pixel differs; floats between about -0.2 and 1.4.
std::unique_ptr<ClipSource> MakeCountingClip(uint32_t width, uint32_t height, int32_t frames);

/// One frame of a clip; empty when it cannot be read.
std::vector<uint8_t> ReadFrame(ClipSource* clip, int32_t number);

/// The number that FrameNumberFilter has painted into a frame in format 32: 12 bits, as bright and dark columns.
int32_t PaintedNumber(const ClipInfo& info, const std::vector<uint8_t>& pixels);

/// A filter for ffmpeg that paints the frame's number into a picture of 192 pixels in width.
extern const char kPaintNumbers[];
