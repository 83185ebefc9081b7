// DPX files: a header of 2,048 bytes, then rows of big-endian words. What a DPX source told of its origin, film and
// television goes into the new header.
#include "tools/ochrine-render/RenderParallel.h"
#include "tools/ochrine-render/RenderStill.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>

namespace {

constexpr size_t kHeaderBytes = 2048;
constexpr uint32_t kUndefined = 0xffffffff;

struct Range {
    uint16_t begin, end;
};
/// Creation and creator to copyright; orientation and source; film and television.
constexpr Range kCarried[] = {{136, 660}, {1408, 2048}};

void Put16(uint8_t* header, size_t offset, uint32_t value)
{
    header[offset] = static_cast<uint8_t>(value >> 8);
    header[offset + 1] = static_cast<uint8_t>(value);
}

void Put32(uint8_t* header, size_t offset, uint32_t value)
{
    Put16(header, offset, value >> 16);
    Put16(header, offset + 2, value);
}

void PutFloat(uint8_t* header, size_t offset, float value)
{
    Put32(header, offset, std::bit_cast<uint32_t>(value));
}

void FillHeader(const FBFrame& frame, const PictureNotes& notes, uint32_t bits, bool hasAlpha, uint64_t fileBytes,
                uint8_t* header)
{
    // Unknown numbers are all ones, unknown texts are empty.
    std::memset(header, 0, kHeaderBytes);
    for (size_t offset = 1408; offset < 1432; offset += 4) Put32(header, offset, 0);
    for (const Range& numbers : {Range{816, 820}, Range{1636, 1640}, Range{1712, 1732}, Range{1920, 1972}}) {
        std::fill(header + numbers.begin, header + numbers.end, uint8_t{0xff});
    }
    std::fill(header + 784, header + 800, uint8_t{0xff});
    if (notes.dpxHeader.size() == kHeaderBytes) {
        for (const Range& range : kCarried) {
            std::copy(notes.dpxHeader.begin() + range.begin, notes.dpxHeader.begin() + range.end, header + range.begin);
        }
    }
    std::memcpy(header, "SDPX", 4);
    Put32(header, 4, kHeaderBytes);
    std::memcpy(header + 8, "V2.0", 5);
    Put32(header, 16, fileBytes <= UINT32_MAX ? static_cast<uint32_t>(fileBytes) : kUndefined);
    Put32(header, 20, 1);
    Put32(header, 24, 1664);
    Put32(header, 28, 384);
    Put32(header, 32, 0);
    if (header[160] == 0) std::memcpy(header + 160, "ochrine-render 3.0.9", 21);
    Put32(header, 660, kUndefined); // not encrypted
    Put16(header, 768, 0);          // from left to right, from top to bottom
    Put16(header, 770, 1);
    Put32(header, 772, frame.width);
    Put32(header, 776, frame.height);
    Put32(header, 780, 0);            // unsigned
    header[800] = hasAlpha ? 51 : 50; // R, G, B (and A)
    header[801] = header[802] = 0;    // as the user defines
    header[803] = static_cast<uint8_t>(bits);
    Put16(header, 804, bits == 10 ? 1 : 0); // three to a word, from the top
    Put16(header, 806, 0);
    Put32(header, 808, kHeaderBytes);
    Put32(header, 812, 0);
    Put32(header, 1424, frame.width);
    Put32(header, 1428, frame.height);
    const double aspect = std::clamp(notes.pixelAspect, 0.05, 20.0);
    Put32(header, 1628, static_cast<uint32_t>(std::lround(aspect * 10000.0)));
    Put32(header, 1632, 10000);
    if (notes.rate.numerator > 0) {
        const double rate = static_cast<double>(notes.rate.numerator) / notes.rate.denominator;
        PutFloat(header, 1724, static_cast<float>(rate));
        PutFloat(header, 1940, static_cast<float>(rate));
    }
    TimecodeDigits digits = {};
    uint32_t word = 0;
    if (TimecodeFromText(notes.timecode, &digits) && TimecodeToBCD(digits, &word)) Put32(header, 1920, word);
}

void FillRow(const uint16_t* codes, uint32_t width, uint32_t channels, uint32_t bits, uint8_t* out)
{
    if (bits == 10) {
        for (uint32_t x = 0; x < width; ++x, out += 4) {
            const uint32_t word =
                uint32_t{codes[x]} << 22 | uint32_t{codes[width + x]} << 12 | uint32_t{codes[2 * width + x]} << 2;
            const uint32_t big = __builtin_bswap32(word);
            std::memcpy(out, &big, 4);
        }
        return;
    }
    for (uint32_t x = 0; x < width; ++x) {
        for (uint32_t channel = 0; channel < channels; ++channel, out += 2) {
            const uint16_t big = __builtin_bswap16(codes[size_t{channel} * width + x]);
            std::memcpy(out, &big, 2);
        }
    }
}

} // namespace

BPStatus EncodeDPX(const RenderPicture& picture, const PictureNotes& notes, uint32_t bits, int threads,
                   PictureBytes* bytes)
{
    const FBFrame& frame = *picture.frame;
    const uint32_t channels = bits != 10 && picture.alpha != nullptr ? 4 : 3;
    const size_t rowBytes = bits == 10 ? size_t{frame.width} * 4 : size_t{frame.width} * channels * 2;
    const uint64_t fileBytes = kHeaderBytes + uint64_t{rowBytes} * frame.height;
    if (!bytes->Start(fileBytes)) return bpMemFullErr;
    FillHeader(frame, notes, bits, channels == 4, fileBytes, bytes->Data());
    std::atomic<bool> isShort{false};
    const uint32_t partCount = std::min(frame.height, 64u);
    const float top = static_cast<float>((1u << bits) - 1);
    RenderParts(threads, partCount, [&](uint32_t part) {
        PictureBytes scratch;
        if (!scratch.Start(size_t{frame.width} * 8)) {
            isShort = true;
            return;
        }
        auto* codes = reinterpret_cast<uint16_t*>(scratch.Data());
        const uint64_t end = uint64_t{frame.height} * (part + 1) / partCount;
        for (uint64_t row = uint64_t{frame.height} * part / partCount; row < end; ++row) {
            for (uint32_t channel = 0; channel < channels; ++channel) {
                const uint8_t* plane = frame.baseAddr + size_t{channel} * frame.planeBytes + row * frame.rowBytes;
                const float* values =
                    channel == 3 ? picture.alpha + row * frame.width : reinterpret_cast<const float*>(plane);
                CodesFromFloats(values, frame.width, top, codes + size_t{channel} * frame.width);
            }
            FillRow(codes, frame.width, channels, bits, bytes->Data() + kHeaderBytes + row * rowBytes);
        }
    });
    if (isShort) return bpMemFullErr;
    bytes->Grow(fileBytes);
    return bpNoErr;
}
