// PNG files: filtered rows, packed part by part into one stream, in chunks with their sums.
#include "tools/ochrine-render/RenderParallel.h"
#include "tools/ochrine-render/RenderStill.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <libdeflate.h>
#include <memory>
#include <vector>
#include <zlib.h>

namespace {

using CompressorPtr =
    std::unique_ptr<libdeflate_compressor, decltype([](libdeflate_compressor* c) { libdeflate_free_compressor(c); })>;

/// Begins a chunk; its data follows, then EndChunk.
size_t BeginChunk(PictureBytes* bytes, const char type[4])
{
    const size_t at = bytes->Size();
    bytes->AppendBig32(0);
    bytes->Append(type, 4);
    return at;
}

void EndChunk(PictureBytes* bytes, size_t at)
{
    const size_t size = bytes->Size() - at - 8;
    const uint32_t big = __builtin_bswap32(static_cast<uint32_t>(size));
    std::memcpy(bytes->Data() + at, &big, 4);
    bytes->AppendBig32(libdeflate_crc32(0, bytes->Data() + at + 4, size + 4));
}

size_t HeadRoom(const PictureNotes& notes)
{
    size_t room = 1024 + notes.iccProfile.size() + notes.iccProfile.size() / 100 + notes.timecode.size();
    for (const auto& [key, value] : notes.texts) room += key.size() + value.size() + 32;
    return room;
}

/// A text of Latin letters goes into tEXt, any other into iTXt.
void AppendText(PictureBytes* bytes, const std::string& key, const std::string& value)
{
    const auto isPlain = [](unsigned char c) { return c >= 32 && c < 127; };
    if (key.empty() || key.size() > 79 || !std::all_of(key.begin(), key.end(), isPlain)) return;
    const bool isText =
        std::all_of(value.begin(), value.end(), [&](unsigned char c) { return isPlain(c) || c == '\n'; });
    const size_t at = BeginChunk(bytes, isText ? "tEXt" : "iTXt");
    bytes->Append(key.c_str(), key.size() + 1);
    if (!isText) bytes->AppendBig32(0); // not packed, no language, no translated key
    bytes->Append(value.data(), value.size());
    EndChunk(bytes, at);
}

void AppendProfile(PictureBytes* bytes, const std::vector<uint8_t>& profile)
{
    CompressorPtr compressor(libdeflate_alloc_compressor(6));
    PictureBytes packed;
    if (profile.empty() || !compressor) return;
    if (!packed.Start(libdeflate_zlib_compress_bound(compressor.get(), profile.size()))) return;
    packed.Grow(
        libdeflate_zlib_compress(compressor.get(), profile.data(), profile.size(), packed.Data(), packed.Room()));
    const size_t at = BeginChunk(bytes, "iCCP");
    bytes->Append("profile\0", 9); // its name, and the one way of packing: the zero at the end
    bytes->Append(packed.Data(), packed.Size());
    EndChunk(bytes, at);
}

/// One row as it lies in memory, big-endian.
void FillRow(const RenderPicture& picture, uint32_t row, uint32_t channels, uint32_t bits, uint16_t* codes,
             uint8_t* out)
{
    const FBFrame& frame = *picture.frame;
    for (uint32_t channel = 0; channel < channels; ++channel) {
        const uint8_t* plane = frame.baseAddr + size_t{channel} * frame.planeBytes + size_t{row} * frame.rowBytes;
        const float* values =
            channel == 3 ? picture.alpha + size_t{row} * frame.width : reinterpret_cast<const float*>(plane);
        CodesFromFloats(values, frame.width, static_cast<float>((1u << bits) - 1), codes);
        if (bits == 8) {
            for (uint32_t x = 0; x < frame.width; ++x) out[x * channels + channel] = static_cast<uint8_t>(codes[x]);
        } else {
            for (uint32_t x = 0; x < frame.width; ++x) {
                const uint16_t big = __builtin_bswap16(codes[x]);
                std::memcpy(out + (size_t{x} * channels + channel) * 2, &big, 2);
            }
        }
    }
}

/// Some rows of the picture, packed.
struct PackedPart {
    size_t size; ///< 0: out of memory
    size_t rawSize;
    uint32_t checksum; ///< of what was packed
};

constexpr int kBareStream = -15; // largest window, neither head nor sum
constexpr int kUsualMemory = 8;

/// Room for a part of `rawSize` bytes and for the mark that ends it.
size_t RoomFor(size_t rawSize)
{
    return compressBound(static_cast<uLong>(rawSize)) + 64;
}

/// Packs a part of a stream, so that the next part can follow at a byte. Differences of neighbours hold runs and noise;
/// a search for more costs twice the time and finds nothing.
PackedPart Pack(uint8_t* raw, size_t rawSize, uint8_t* out, bool isLast)
{
    z_stream stream = {};
    if (deflateInit2(&stream, 1, Z_DEFLATED, kBareStream, kUsualMemory, Z_RLE) != Z_OK) return {};
    stream.next_in = raw;
    stream.avail_in = static_cast<uInt>(rawSize);
    stream.next_out = out;
    stream.avail_out = static_cast<uInt>(RoomFor(rawSize));
    const int result = deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
    const bool isWhole = result == (isLast ? Z_STREAM_END : Z_OK) && stream.avail_in == 0 && stream.avail_out != 0;
    const size_t size = stream.total_out;
    deflateEnd(&stream);
    if (!isWhole) return {};
    return {size, rawSize, libdeflate_adler32(1, raw, rawSize)};
}

} // namespace

BPStatus EncodePNG(const RenderPicture& picture, const PictureNotes& notes, uint32_t bits, int threads,
                   PictureBytes* bytes)
{
    const FBFrame& frame = *picture.frame;
    const uint32_t channels = picture.alpha != nullptr ? 4 : 3;
    const size_t step = size_t{channels} * bits / 8;
    const size_t rowBytes = frame.width * step;
    // Their number does not follow the threads: the same picture is the same file.
    const uint32_t partCount = std::clamp(frame.height, 1u, 64u);
    const auto firstRow = [&](uint32_t part) {
        return static_cast<uint32_t>(uint64_t{frame.height} * part / partCount);
    };
    const size_t rawRoom = (rowBytes + 1) * ((frame.height + partCount - 1) / partCount);
    const size_t room = RoomFor(rawRoom);
    PictureBytes packed;
    if (rawRoom > INT32_MAX || !packed.Start(room * partCount)) return bpMemFullErr;
    std::vector<PackedPart> parts(partCount);
    RenderParts(threads, partCount, [&](uint32_t part) {
        PictureBytes scratch;
        if (!scratch.Start(2 * size_t{frame.width} + rowBytes + rawRoom)) return;
        auto* codes = reinterpret_cast<uint16_t*>(scratch.Data());
        uint8_t* line = scratch.Data() + 2 * size_t{frame.width};
        uint8_t* const raw = line + rowBytes;
        uint8_t* out = raw;
        for (uint32_t row = firstRow(part); row < firstRow(part + 1); ++row) {
            FillRow(picture, row, channels, bits, codes, line);
            *out++ = 1; // differences from the pixel on the left
            std::memcpy(out, line, std::min(step, rowBytes));
            for (size_t i = step; i < rowBytes; ++i) out[i] = static_cast<uint8_t>(line[i] - line[i - step]);
            out += rowBytes;
        }
        parts[part] = Pack(raw, static_cast<size_t>(out - raw), packed.Data() + part * room, part + 1 == partCount);
    });
    size_t packedSize = 2 + 4;
    uint32_t checksum = 1;
    for (const PackedPart& part : parts) {
        if (part.size == 0) return bpMemFullErr;
        packedSize += part.size;
        checksum = static_cast<uint32_t>(adler32_combine(checksum, part.checksum, static_cast<z_off_t>(part.rawSize)));
    }
    if (packedSize > INT32_MAX || !bytes->Start(packedSize + HeadRoom(notes))) return bpMemFullErr;

    bytes->Append("\x89PNG\r\n\x1a\n", 8);
    size_t at = BeginChunk(bytes, "IHDR");
    bytes->AppendBig32(frame.width);
    bytes->AppendBig32(frame.height);
    bytes->Append8(bits);
    bytes->Append8(channels == 4 ? 6 : 2);
    bytes->Append("\0\0\0", 3);
    EndChunk(bytes, at);
    AppendProfile(bytes, notes.iccProfile);
    if (notes.pixelAspect != 1.0) {
        at = BeginChunk(bytes, "pHYs");
        // Width and height of a pixel in this order, as the FFmpeg libraries read and write it.
        bytes->AppendBig32(static_cast<uint32_t>(std::lround(10000.0 * std::clamp(notes.pixelAspect, 0.05, 20.0))));
        bytes->AppendBig32(10000);
        bytes->Append8(0);
        EndChunk(bytes, at);
    }
    for (const auto& [key, value] : notes.texts) {
        if (key != "timecode") AppendText(bytes, key, value);
    }
    if (!notes.timecode.empty()) AppendText(bytes, "timecode", notes.timecode);
    at = BeginChunk(bytes, "IDAT");
    bytes->Append("\x78\x01", 2); // largest window, packed fast
    for (uint32_t part = 0; part < partCount; ++part) bytes->Append(packed.Data() + part * room, parts[part].size);
    bytes->AppendBig32(checksum);
    EndChunk(bytes, at);
    EndChunk(bytes, BeginChunk(bytes, "IEND"));
    return bpNoErr;
}
