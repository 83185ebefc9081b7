// What the writers of picture files share: bytes, codes, halves; and the one without a format, raw planes.
#include "tools/ochrine-render/RenderStill.h"

#include "src/platform/BPMemory.h"

#include <bit>
#include <cstring>

PictureBytes::~PictureBytes()
{
    BPFree(data_);
}

bool PictureBytes::Start(size_t byteCount)
{
    size_ = 0;
    if (byteCount <= room_) return true;
    BPFree(data_);
    data_ = static_cast<uint8_t*>(BPAllocate(byteCount));
    room_ = data_ != nullptr ? byteCount : 0;
    return data_ != nullptr;
}

void PictureBytes::Append(const void* bytes, size_t byteCount)
{
    if (byteCount == 0) return;
    std::memcpy(End(), bytes, byteCount);
    size_ += byteCount;
}

void PictureBytes::Append8(uint32_t value)
{
    data_[size_++] = static_cast<uint8_t>(value);
}

void PictureBytes::AppendBig16(uint32_t value)
{
    Append8(value >> 8);
    Append8(value);
}

void PictureBytes::AppendBig32(uint32_t value)
{
    AppendBig16(value >> 16);
    AppendBig16(value);
}

void PictureBytes::AppendLittle32(uint32_t value)
{
    AppendBig32(__builtin_bswap32(value));
}

void HalvesFromFloats(const float* values, size_t count, uint16_t* halves)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = std::bit_cast<uint32_t>(values[i]);
        const uint32_t magnitude = word & 0x7fffffff;
        // Below 2^-14 halves lie 2^-24 apart: the sum with 0.5 puts the rounded count of them into the low bits.
        const uint32_t small = std::bit_cast<uint32_t>(std::bit_cast<float>(magnitude) + 0.5f) - 0x3f000000u;
        const uint32_t normal = (magnitude + 0xc8000fffu + (magnitude >> 13 & 1)) >> 13;
        const uint32_t large = magnitude > 0x7f800000 ? 0x7e00u : 0x7c00u;
        const uint32_t half = magnitude >= 0x47800000 ? large : magnitude < 0x38800000 ? small : normal;
        halves[i] = static_cast<uint16_t>(half | (word >> 16 & 0x8000));
    }
}

void CodesFromFloats(const float* values, size_t count, float top, uint16_t* codes)
{
    for (size_t i = 0; i < count; ++i) {
        const float scaled = values[i] * top;
        const float low = scaled > 0.0f ? scaled : 0.0f; // a NaN too
        const float cut = low < top ? low : top;
        codes[i] = static_cast<uint16_t>(static_cast<int32_t>(cut + 0.5f));
    }
}

BPStatus EncodeRaw(const RenderPicture& picture, PictureBytes* bytes)
{
    static_assert(std::endian::native == std::endian::little);
    const FBFrame& frame = *picture.frame;
    const size_t rowBytes = size_t{frame.width} * sizeof(float);
    if (!bytes->Start(rowBytes * frame.height * 4)) return bpMemFullErr;
    for (size_t plane = 0; plane < 3; ++plane) {
        for (size_t row = 0; row < frame.height; ++row) {
            bytes->Append(frame.baseAddr + plane * frame.planeBytes + row * frame.rowBytes, rowBytes);
        }
    }
    if (picture.alpha != nullptr) bytes->Append(picture.alpha, rowBytes * frame.height);
    return bpNoErr;
}
