// Frame counts as text: timecode, frames, or feet and frames.
#pragma once

#include <cstdint>

enum BPTimeDisplay : uint32_t {
    bpTimeTimecode = 1, ///< 0 too
    bpTimeFrames = 2,
    bpTimeFeet = 3,
};

inline constexpr uint32_t kBPDropFrame = 0;
inline constexpr uint32_t kBPNonDropFrame = 1;

/// Writes a frame count as text.
///
/// frame           frame number; negative numbers yield characters below '0'
/// frameRate100    frames a second times 100: 2398 and 2400, 2997 and 3000, 5994 and 6000 are families of their own,
///                 any other rate is divided by 100
/// displayFormat   a BPTimeDisplay; an unknown value is logged and leaves an empty text
/// dropFlag        0 drop-frame, otherwise non-drop
/// framesPerFoot   for feet and frames
/// startOffset     frames, added in the displays of frames and of feet, not in timecode
/// text, length    the buffer and its bytes; always ends in a zero byte unless length is 0; what does not fit is cut
///
/// A buffer below 12 bytes and a rate of 0 for timecode, and 0 frames per foot, are assertion failures that leave the
/// text empty.   Thread: any.
void BPFramesToTimecodeCString(int32_t frame, uint32_t frameRate100, uint32_t displayFormat, uint32_t dropFlag,
                               uint32_t framesPerFoot, int32_t startOffset, char* text, uint32_t length);
