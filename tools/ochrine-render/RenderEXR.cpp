// OpenEXR files: header, table of blocks, blocks of rows. Blocks do not depend on each other, so that each thread
// packs some of them into room of their own; they move together afterwards.
#include "tools/ochrine-render/RenderParallel.h"
#include "tools/ochrine-render/RenderStill.h"

#include <atomic>
#include <bit>
#include <cstring>
#include <libdeflate.h>
#include <memory>

namespace {

constexpr uint32_t kZipRows = 16;
constexpr int kZipLevel = 1; // pictures hardly shrink further above it, and take several times as long

using CompressorPtr =
    std::unique_ptr<libdeflate_compressor, decltype([](libdeflate_compressor* c) { libdeflate_free_compressor(c); })>;

struct Layout {
    uint32_t width, height, channels, sampleBytes, blockRows, blockCount;
    size_t RowBytes() const { return size_t{width} * channels * sampleBytes; }
};

void AppendName(PictureBytes* bytes, const std::string& name, const std::string& type, uint32_t size)
{
    bytes->Append(name.c_str(), name.size() + 1);
    bytes->Append(type.c_str(), type.size() + 1);
    bytes->AppendLittle32(size);
}

void AppendFloat(PictureBytes* bytes, float value)
{
    bytes->AppendLittle32(std::bit_cast<uint32_t>(value));
}

void AppendWindow(PictureBytes* bytes, const char* name, const Layout& layout)
{
    AppendName(bytes, name, "box2i", 16);
    for (const uint32_t value : {0u, 0u, layout.width - 1, layout.height - 1}) bytes->AppendLittle32(value);
}

bool Has(const PictureNotes& notes, const char* name)
{
    for (const EXRAttribute& attribute : notes.attributes) {
        if (attribute.name == name) return true;
    }
    return false;
}

size_t HeaderRoom(const PictureNotes& notes)
{
    size_t room = 2048;
    for (const EXRAttribute& attribute : notes.attributes) {
        room += attribute.name.size() + attribute.type.size() + attribute.value.size() + 8;
    }
    return room;
}

void AppendHeader(const Layout& layout, const PictureNotes& notes, bool isHalf, bool isZipped, PictureBytes* bytes)
{
    bool hasLongName = false;
    for (const EXRAttribute& attribute : notes.attributes) {
        hasLongName = hasLongName || attribute.name.size() > 31 || attribute.type.size() > 31;
    }
    bytes->AppendLittle32(20000630);
    bytes->AppendLittle32(hasLongName ? 0x402 : 2);
    AppendName(bytes, "channels", "chlist", layout.channels * 18 + 1);
    for (const char* channel = layout.channels == 4 ? "ABGR" : "BGR"; *channel != 0; ++channel) {
        bytes->Append8(static_cast<uint32_t>(*channel));
        bytes->Append8(0);
        bytes->AppendLittle32(isHalf ? 1 : 2);
        bytes->AppendLittle32(0); // not perceptually linear, and three bytes of nothing
        bytes->AppendLittle32(1);
        bytes->AppendLittle32(1);
    }
    bytes->Append8(0);
    AppendName(bytes, "compression", "compression", 1);
    bytes->Append8(isZipped ? 3 : 0);
    AppendWindow(bytes, "dataWindow", layout);
    AppendWindow(bytes, "displayWindow", layout);
    if (notes.rate.numerator > 0) {
        AppendName(bytes, "framesPerSecond", "rational", 8);
        bytes->AppendLittle32(static_cast<uint32_t>(notes.rate.numerator));
        bytes->AppendLittle32(static_cast<uint32_t>(notes.rate.denominator));
    }
    AppendName(bytes, "lineOrder", "lineOrder", 1);
    bytes->Append8(0);
    AppendName(bytes, "pixelAspectRatio", "float", 4);
    AppendFloat(bytes, static_cast<float>(notes.pixelAspect));
    if (!Has(notes, "screenWindowCenter")) {
        AppendName(bytes, "screenWindowCenter", "v2f", 8);
        AppendFloat(bytes, 0.0f);
        AppendFloat(bytes, 0.0f);
    }
    if (!Has(notes, "screenWindowWidth")) {
        AppendName(bytes, "screenWindowWidth", "float", 4);
        AppendFloat(bytes, 1.0f);
    }
    TimecodeDigits digits = {};
    uint32_t word = 0;
    // The field has room for 39 frames.
    if (TimecodeFromText(notes.timecode, &digits) && digits.field[3] < 40 && TimecodeToBCD(digits, &word)) {
        AppendName(bytes, "timeCode", "timecode", 8);
        bytes->AppendLittle32(word | (digits.isDrop ? 0x40u : 0u));
        bytes->AppendLittle32(0);
    }
    for (const EXRAttribute& attribute : notes.attributes) {
        AppendName(bytes, attribute.name, attribute.type, static_cast<uint32_t>(attribute.value.size()));
        bytes->Append(attribute.value.data(), attribute.value.size());
    }
    bytes->Append8(0);
}

/// The rows of a block as they lie in a file: row by row, in each the channels A, B, G, R.
void FillBlock(const RenderPicture& picture, const Layout& layout, uint32_t firstRow, uint32_t rowCount, uint8_t* out)
{
    const FBFrame& frame = *picture.frame;
    for (uint32_t row = firstRow; row < firstRow + rowCount; ++row) {
        for (uint32_t channel = 4 - layout.channels; channel < 4; ++channel) {
            const uint8_t* plane = frame.baseAddr + size_t{3 - channel} * frame.planeBytes;
            const float* values = channel == 0 ? picture.alpha + size_t{row} * layout.width
                                               : reinterpret_cast<const float*>(plane + size_t{row} * frame.rowBytes);
            if (layout.sampleBytes == 2) {
                HalvesFromFloats(values, layout.width, reinterpret_cast<uint16_t*>(out));
            } else {
                std::memcpy(out, values, size_t{layout.width} * 4);
            }
            out += size_t{layout.width} * layout.sampleBytes;
        }
    }
}

/// What makes rows easy to pack: even bytes before odd ones, then differences.
void Predict(const uint8_t* in, size_t byteCount, uint8_t* out)
{
    const size_t half = (byteCount + 1) / 2;
    for (size_t i = 0; i < byteCount / 2; ++i) {
        out[i] = in[2 * i];
        out[half + i] = in[2 * i + 1];
    }
    if (byteCount % 2 != 0) out[half - 1] = in[byteCount - 1];
    // Backwards, so that each difference still finds its neighbour as it was.
    for (size_t i = byteCount - 1; i > 0; --i) out[i] = static_cast<uint8_t>(out[i] - out[i - 1] + 128);
}

/// Packs one block behind its eight bytes of row and size; returns all its bytes, 0 without memory.
size_t PackBlock(const RenderPicture& picture, const Layout& layout, bool isZipped, uint32_t block,
                 libdeflate_compressor* compressor, uint8_t* raw, uint8_t* predicted, uint8_t* out)
{
    const uint32_t firstRow = block * layout.blockRows;
    const uint32_t rowCount = std::min(layout.blockRows, layout.height - firstRow);
    const size_t byteCount = layout.RowBytes() * rowCount;
    size_t packed = 0;
    FillBlock(picture, layout, firstRow, rowCount, raw);
    if (isZipped) {
        Predict(raw, byteCount, predicted);
        // A block that does not shrink is stored as it is.
        packed = libdeflate_zlib_compress(compressor, predicted, byteCount, out + 8, byteCount - 1);
    }
    if (packed == 0) {
        std::memcpy(out + 8, raw, byteCount);
        packed = byteCount;
    }
    const uint32_t head[2] = {firstRow, static_cast<uint32_t>(packed)};
    std::memcpy(out, head, sizeof(head));
    return packed + 8;
}

} // namespace

BPStatus EncodeEXR(const RenderPicture& picture, const PictureNotes& notes, bool isHalf, bool isZipped, int threads,
                   PictureBytes* bytes)
{
    static_assert(std::endian::native == std::endian::little);
    Layout layout = {.width = picture.frame->width,
                     .height = picture.frame->height,
                     .channels = picture.alpha != nullptr ? 4u : 3u,
                     .sampleBytes = isHalf ? 2u : 4u,
                     .blockRows = isZipped ? kZipRows : 1,
                     .blockCount = 0};
    layout.blockCount = (layout.height + layout.blockRows - 1) / layout.blockRows;
    const size_t blockRoom = layout.RowBytes() * layout.blockRows + 8;
    if (!bytes->Start(HeaderRoom(notes) + layout.blockCount * (blockRoom + 8))) return bpMemFullErr;
    AppendHeader(layout, notes, isHalf, isZipped, bytes);

    uint8_t* const table = bytes->End();
    uint8_t* const blocks = table + size_t{layout.blockCount} * 8;
    std::vector<size_t> sizes(layout.blockCount);
    std::atomic<bool> isShort{false};
    const uint32_t partCount = std::min(layout.blockCount, 64u);
    RenderParts(threads, partCount, [&](uint32_t part) {
        CompressorPtr compressor(libdeflate_alloc_compressor(kZipLevel));
        PictureBytes scratch;
        if (!compressor || !scratch.Start(2 * blockRoom)) {
            isShort = true;
            return;
        }
        const uint32_t end = static_cast<uint32_t>(uint64_t{layout.blockCount} * (part + 1) / partCount);
        for (uint32_t b = static_cast<uint32_t>(uint64_t{layout.blockCount} * part / partCount); b < end; ++b) {
            sizes[b] = PackBlock(picture, layout, isZipped, b, compressor.get(), scratch.Data(),
                                 scratch.Data() + blockRoom, blocks + b * blockRoom);
        }
    });
    if (isShort) return bpMemFullErr;
    bytes->Grow(size_t{layout.blockCount} * 8);
    for (uint32_t b = 0; b < layout.blockCount; ++b) {
        const uint64_t offset = bytes->Size();
        std::memcpy(table + size_t{b} * 8, &offset, 8);
        if (bytes->End() != blocks + b * blockRoom) std::memmove(bytes->End(), blocks + b * blockRoom, sizes[b]);
        bytes->Grow(sizes[b]);
    }
    return bpNoErr;
}
