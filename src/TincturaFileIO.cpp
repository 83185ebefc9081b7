// Reading and writing of settings files. Both walk the tables of chunks; nothing here knows a field by name but the two
// that one word of an older file stands for.
#include "src/TincturaFileIO.h"

#include "src/TincturaFileIOTables.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr size_t kHeaderBytes = 8;        // of a file, and of a chunk
constexpr size_t kLegacyRecordWords = 35; // the longest

struct Bytes {
    const uint8_t* data;
    size_t count;
};

uint32_t WordAt(const uint8_t* data)
{
    return uint32_t{data[0]} << 24 | uint32_t{data[1]} << 16 | uint32_t{data[2]} << 8 | data[3];
}

void PutWord(uint8_t* data, uint32_t word)
{
    data[0] = static_cast<uint8_t>(word >> 24);
    data[1] = static_cast<uint8_t>(word >> 16);
    data[2] = static_cast<uint8_t>(word >> 8);
    data[3] = static_cast<uint8_t>(word);
}

uint32_t RecordWord(const OCSettings& settings, size_t offset)
{
    uint32_t word;
    std::memcpy(&word, reinterpret_cast<const uint8_t*>(&settings) + offset, sizeof word);
    return word;
}

void SetRecordWord(OCSettings* settings, size_t offset, uint32_t word)
{
    std::memcpy(reinterpret_cast<uint8_t*>(settings) + offset, &word, sizeof word);
}

const OCChunkRow* CurrentChunk(uint32_t id)
{
    for (const OCChunkRow& row : OCCurrentChunks())
        if (row.id == id) return &row;
    return nullptr;
}

const OCLegacyChunkRow* LegacyChunk(uint32_t id)
{
    for (const OCLegacyChunkRow& row : OCLegacyChunks())
        if (row.id == id) return &row;
    return nullptr;
}

bool HeaderIsSound(Bytes file)
{
    if (file.count < kHeaderBytes) return false;
    const uint32_t version = WordAt(file.data);
    // Deliberate: there is no version 4.
    const bool known = version == 1 || version == 2 || version == 3 || version == 5;
    return known && WordAt(file.data + 4) == kOCSettingsFileMagic;
}

/// Lands the words of a chunk that are there.
void LandCurrent(const OCChunkRow& row, Bytes data, OCSettings* settings)
{
    const size_t whole = size_t{row.records} * row.recordBytes;
    if (row.wholeOnly && data.count < whole) return;
    for (size_t at = 0; at + 4 <= std::min(data.count, whole); at += 4)
        SetRecordWord(settings, row.offset + at, WordAt(data.data + at));
    // Files from before the tabs of the Curves pane had switches of their own: the pane's stands for the RGB tab too.
    if (row.offset == offsetof(OCSettings, curvesOn) && data.count >= 4) settings->rgbCurvesOn = settings->curvesOn;
}

uint32_t Converted(const OCLegacyWord& row, const uint32_t* words)
{
    switch (row.move) {
    case OCLegacyMove::word: return words[row.from];
    case OCLegacyMove::fixed: {
        const double value = std::bit_cast<int32_t>(words[row.from]) * 1.52587890625e-5;
        return std::bit_cast<uint32_t>(static_cast<float>(value));
    }
    case OCLegacyMove::flag: return words[row.from] != 0;
    case OCLegacyMove::set: break;
    }
    return row.constant;
}

void LandLegacy(const OCLegacyChunkRow& row, Bytes data, OCSettings* settings)
{
    if (data.count < size_t{row.records} * row.recordBytes) return;
    for (uint32_t record = 0; record < row.records; ++record) {
        uint32_t words[kLegacyRecordWords] = {};
        for (uint32_t i = 0; i < row.recordBytes / 4; ++i)
            words[i] = WordAt(data.data + size_t{record} * row.recordBytes + size_t{4} * i);
        for (const OCLegacyWord& word : row.words)
            SetRecordWord(settings, row.offset + size_t{record} * row.stride + size_t{4} * word.to,
                          Converted(word, words));
        if (row.marksSecondaryInUse && words[0] != 0) settings->secondaryInUse |= 1;
    }
}

void Land(const OCSettingsChunk& chunk, Bytes file, OCSettings* settings)
{
    const Bytes data = {file.data + chunk.position + kHeaderBytes, chunk.presentBytes};
    if (const OCChunkRow* row = CurrentChunk(chunk.id)) {
        LandCurrent(*row, data, settings);
    } else if (const OCLegacyChunkRow* legacy = LegacyChunk(chunk.id)) {
        LandLegacy(*legacy, data, settings);
    }
}

} // namespace

bool OCNextSettingsChunk(const void* bytes, size_t byteCount, size_t* position, OCSettingsChunk* chunk)
{
    const Bytes file = {static_cast<const uint8_t*>(bytes), byteCount};
    if (!HeaderIsSound(file)) return false;
    if (*position < kHeaderBytes) *position = kHeaderBytes;
    if (*position > file.count || file.count - *position < kHeaderBytes) return false;

    const uint8_t* header = file.data + *position;
    *chunk = {.position = *position,
              .id = WordAt(header),
              .size = WordAt(header + 4),
              .recordBytes = WordAt(header + 4),
              .presentBytes = 0,
              .kind = OCChunkKind::unknown};
    if (const OCChunkRow* row = CurrentChunk(chunk->id)) {
        chunk->kind = OCChunkKind::current;
        chunk->recordBytes = size_t{row->records} * row->recordBytes;
    } else if (const OCLegacyChunkRow* legacy = LegacyChunk(chunk->id)) {
        chunk->kind = OCChunkKind::legacy;
        chunk->recordBytes = size_t{legacy->records} * legacy->recordBytes;
    }
    chunk->presentBytes = std::min(chunk->recordBytes, file.count - *position - kHeaderBytes);
    *position += kHeaderBytes + chunk->presentBytes;
    return true;
}

BPStatus LoadSettingsBytes(const void* bytes, size_t byteCount, OCSettings* settings)
{
    const Bytes file = {static_cast<const uint8_t*>(bytes), byteCount};
    if (!HeaderIsSound(file)) return bpInvalidSettingsErr;
    size_t position = 0;
    OCSettingsChunk chunk;
    while (OCNextSettingsChunk(bytes, byteCount, &position, &chunk)) Land(chunk, file, settings);
    return bpNoErr;
}

std::vector<uint8_t> SaveSettingsBytes(const OCSettings& settings)
{
    size_t total = kHeaderBytes;
    for (const OCChunkRow& row : OCCurrentChunks()) total += kHeaderBytes + size_t{row.records} * row.recordBytes;
    std::vector<uint8_t> file(total);

    uint8_t* out = file.data();
    const auto put = [&out](uint32_t word) {
        PutWord(out, word);
        out += 4;
    };
    put(kOCSettingsFileVersion);
    put(kOCSettingsFileMagic);
    for (const OCChunkRow& row : OCCurrentChunks()) {
        const uint32_t size = row.records * row.recordBytes;
        put(row.id);
        put(size);
        for (uint32_t at = 0; at < size; at += 4) put(RecordWord(settings, row.offset + at));
    }
    return file;
}

BPStatus LoadSettingsFile(const char* path, OCSettings* settings)
{
    std::vector<uint8_t> bytes;
    if (const BPStatus err = BPReadFile(path, kOCSettingsFileLimit, &bytes); err != bpNoErr) {
        BPDebugLog("unable to open file, error=%d\n", err);
        return err;
    }
    return LoadSettingsBytes(bytes.data(), bytes.size(), settings);
}

BPStatus SaveSettingsFile(const char* path, const OCSettings& settings)
{
    const std::vector<uint8_t> bytes = SaveSettingsBytes(settings);
    const BPStatus err = BPWriteFile(path, bytes.data(), bytes.size());
    if (err != bpNoErr) BPDebugLog("unable to open file \"%s\", err=%d\n", path, err);
    return err;
}
