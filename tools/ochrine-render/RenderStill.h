// Graded frames as the bytes of picture files, written here and not by the FFmpeg encoders: those round halves towards
// zero, use one thread for a picture, and carry neither timecode nor attributes.
#pragma once

#include "src/TincturaFrameBuffer.h"
#include "tools/ochrine-render/RenderNotes.h"

#include <span>

/// A graded frame and its transparency.
struct RenderPicture {
    const FBFrame* frame;         ///< format 203
    const float* alpha = nullptr; ///< width x height, 1 is opaque; null: there is none
};

/// Bytes of a file to be, whose lack of memory is reported.
class PictureBytes {
  public:
    PictureBytes() = default;
    ~PictureBytes();
    PictureBytes(const PictureBytes&) = delete;
    PictureBytes& operator=(const PictureBytes&) = delete;

    /// Empties, and makes room for at most byteCount bytes; false without memory.
    bool Start(size_t byteCount);

    uint8_t* End() { return data_ + size_; }
    void Grow(size_t byteCount) { size_ += byteCount; }
    void Append(const void* bytes, size_t byteCount);
    void Append8(uint32_t value);
    void AppendBig16(uint32_t value);
    void AppendBig32(uint32_t value);
    void AppendLittle32(uint32_t value);

    uint8_t* Data() { return data_; }
    size_t Size() const { return size_; }
    size_t Room() const { return room_ - size_; }

  private:
    uint8_t* data_ = nullptr;
    size_t size_ = 0, room_ = 0;
};

// Each makes one file. The bytes depend on picture and notes alone, not on `threads`, those that may work on it.
// bpMemFullErr without memory.   Thread: any, own bytes.

/// OpenEXR, scan lines: half (rounded to nearest, ties to even) or float as it is; ZIP in blocks of 16 rows or none.
BPStatus EncodeEXR(const RenderPicture& picture, const PictureNotes& notes, bool isHalf, bool isZipped, int threads,
                   PictureBytes* bytes);

/// DPX, big-endian: 10 bits in words of 32, or 16 bits, cut to the range of the codes and rounded. 10 bits carry no
/// transparency. A NaN counts as black.
BPStatus EncodeDPX(const RenderPicture& picture, const PictureNotes& notes, uint32_t bits, int threads,
                   PictureBytes* bytes);

/// PNG of 8 or 16 bits, cut and rounded likewise.
BPStatus EncodePNG(const RenderPicture& picture, const PictureNotes& notes, uint32_t bits, int threads,
                   PictureBytes* bytes);

/// Planes R, G, B and, with transparency, A: 32-bit floats, little-endian, without header and padding.
BPStatus EncodeRaw(const RenderPicture& picture, PictureBytes* bytes);

/// Rounds to the nearest half, ties to even; what is too large becomes infinite, a NaN stays one.
void HalvesFromFloats(const float* values, size_t count, uint16_t* halves);

/// Rounds value * top to the nearest code from 0 to top; a NaN becomes 0.
void CodesFromFloats(const float* values, size_t count, float top, uint16_t* codes);
