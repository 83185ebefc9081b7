// What tests of the program share: running it, sources, and the engine's own pixels.
#pragma once

#include "src/OCSettings.h"
#include "tests/host/ClipTest.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

/// What a command said and how it ended.
struct CommandResult {
    int exit; ///< 128 and the signal when a signal ended it
    std::string said, complained;
};

std::string TextOf(const std::string& path);
std::vector<uint8_t> BytesOf(const std::string& path);
void WriteBytes(const std::string& path, const void* bytes, size_t byteCount);

/// What a shell command writes to standard output.
std::string OutputOf(const std::string& command);

/// A grade in which most tools do something.
OCSettings TestGrade();

class RenderTest : public testing::Test {
  protected:
    RenderTest();

    /// Runs the program in the folder, with the test grade unless the words name one.
    CommandResult Run(const std::string& words, const std::string& before = "");

    /// Frames first to last of noise as 16-bit pictures src_%04d.png, each different.
    void MakePictures(int first, int last, const std::string& size = "67x35");

    /// Names of all files in the folder, hidden ones too, without those that the test itself made.
    std::vector<std::string> Files(const std::string& prefix = "") const;
    bool Has(const std::string& name) const;

    /// What the engine makes of frame `number` of a clip: planes R, G, B without padding.
    std::vector<float> Graded(const std::string& clip, int32_t number, const OCSettings& grade);

    /// What the ffmpeg command decodes from a file, as raw video of a pixel format.
    std::vector<uint8_t> Decoded(const std::string& file, const std::string& pixelFormat);

    TestFolder folder_;
};
