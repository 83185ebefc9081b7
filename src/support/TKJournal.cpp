// Making and reading the bytes of a journal.
#include "src/support/TKJournal.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint8_t kMagic[8] = {'O', 'C', 'J', 'R', 'N', 'L', '0', '2'};
constexpr size_t kHeaderSummed = offsetof(TKJournalHeader, checksum);
constexpr size_t kRecordSummed = offsetof(TKJournalRecord, checksum);

constexpr std::array<uint32_t, 256> ChecksumTable()
{
    std::array<uint32_t, 256> table = {};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit) rest = rest & 1 ? rest >> 1 ^ 0xEDB88320u : rest >> 1;
        table[byte] = rest;
    }
    return table;
}
constexpr std::array<uint32_t, 256> kChecksumTable = ChecksumTable();

constexpr uint64_t kMixSeed = 14695981039346656037u;

uint64_t Mixed(uint64_t key, const void* bytes, size_t byteCount)
{
    const auto* byte = static_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < byteCount; ++i) key = (key ^ byte[i]) * 1099511628211u;
    return key;
}

/// The host's list in short. A path counts as often as it is listed; one without an end has all its bytes.
struct ListOfPaths {
    char first[260]; // of those with an end; the rest is zero
    bool several;
    uint32_t check; // of all of them
};

ListOfPaths ReadList(const TKUIComm* block)
{
    ListOfPaths list = {};
    uint64_t key = kMixSeed;
    bool any = false;
    const int32_t count = std::min<int32_t>(TKReadOnce(block->clipCount), kTKUIClipLimit);
    for (int32_t i = 0; i < count; ++i) {
        TKClipRecord record;
        std::memcpy(&record, &block->clipList[i], sizeof record);
        const size_t used = strnlen(record.path, sizeof record.path);
        if (used == 0) continue;
        std::memset(record.path + used, 0, sizeof record.path - used);
        key = Mixed(key, record.path, sizeof record.path);
        if (!any && used < sizeof list.first) std::memcpy(list.first, record.path, used);
        list.several |= std::memcmp(list.first, record.path, sizeof list.first) != 0;
        any = true;
    }
    list.check = any ? static_cast<uint32_t>(key ^ key >> 32) : 0;
    return list;
}

bool HeaderIsSound(const TKJournalHeader& header, const TKJournalClip& clip)
{
    return std::memcmp(header.magic, kMagic, sizeof kMagic) == 0 && header.recordBytes == sizeof(TKJournalRecord) &&
           header.slotCount == kTKJournalSlots && TKJournalChecksum(&header, kHeaderSummed) == header.checksum &&
           std::memcmp(&header.clip, &clip, sizeof clip) == 0;
}

bool RecordIsSound(const TKJournalRecord& record, uint32_t slot)
{
    return record.magic == kTKJournalRecordMagic && record.sequence != 0 && record.sequence % kTKJournalSlots == slot &&
           record.settings.signature == kOCSettingsSignature &&
           TKJournalChecksum(&record, kRecordSummed) == record.checksum;
}

} // namespace

uint32_t TKJournalChecksum(const void* bytes, size_t byteCount)
{
    const auto* byte = static_cast<const uint8_t*>(bytes);
    uint32_t sum = 0xFFFFFFFFu;
    for (size_t i = 0; i < byteCount; ++i) sum = kChecksumTable[(sum ^ byte[i]) & 0xFF] ^ sum >> 8;
    return ~sum;
}

void TKJournalClipOf(const TKUIComm* block, TKJournalClip* clip)
{
    *clip = {};
    const int32_t step = TKReadOnce(block->frameStep), last = TKReadOnce(block->frameTimeMax);
    clip->frames = step > 0 && last >= 0 ? static_cast<uint32_t>(last / step) + 1 : 0;
    clip->startFrame = TKReadOnce(block->startFrame);
    const ListOfPaths list = ReadList(block);
    if (list.first[0] != 0 && !list.several) {
        std::memcpy(clip->path, list.first, sizeof clip->path);
        return;
    }
    clip->listCheck = list.check;
    clip->width = TKReadOnce(block->frameWidth);
    clip->height = TKReadOnce(block->frameHeight);
    clip->frameRate100 = TKReadOnce(block->frameRate100);
    clip->hostApp = TKReadOnce(block->hostApp);
}

void TKJournalName(const TKJournalClip& clip, char* name, size_t length)
{
    std::snprintf(name, length, "%016" PRIx64 "%s", Mixed(kMixSeed, &clip, sizeof clip), kTKJournalSuffix);
}

void TKJournalTitle(const TKJournalClip& clip, char* title, size_t length)
{
    const char* slash = std::strrchr(clip.path, '/');
    const char* name = slash && slash[1] != 0 ? slash + 1 : clip.path;
    std::snprintf(title, length, "%s", name[0] != 0 ? name : "this clip");
    for (char* c = title; *c != 0; ++c)
        if (static_cast<unsigned char>(*c) < ' ' || *c == 127) *c = '?';
}

void TKJournalMakeHeader(const TKJournalClip& clip, TKJournalHeader* header)
{
    *header = {};
    std::memcpy(header->magic, kMagic, sizeof kMagic);
    header->recordBytes = sizeof(TKJournalRecord);
    header->slotCount = kTKJournalSlots;
    header->clip = clip;
    header->checksum = TKJournalChecksum(header, kHeaderSummed);
}

void TKJournalMakeRecord(const OCSettings& settings, uint32_t sequence, uint64_t seconds, TKJournalRecord* record)
{
    record->magic = kTKJournalRecordMagic;
    record->sequence = sequence;
    record->seconds = seconds;
    record->settings = settings;
    record->checksum = TKJournalChecksum(record, kRecordSummed);
}

uint64_t TKJournalPosition(uint32_t sequence)
{
    return sizeof(TKJournalHeader) + uint64_t{sequence % kTKJournalSlots} * sizeof(TKJournalRecord);
}

BPStatus TKJournalRead(const void* bytes, size_t byteCount, const TKJournalClip& clip, TKJournalContent* content)
{
    *content = {};
    TKJournalHeader header;
    if (!bytes || byteCount < sizeof header || byteCount > kTKJournalBytes) return bpInvalidSettingsErr;
    std::memcpy(&header, bytes, sizeof header);
    if (!HeaderIsSound(header, clip)) return bpInvalidSettingsErr;
    const auto* places = static_cast<const uint8_t*>(bytes) + sizeof header;
    const size_t whole = (byteCount - sizeof header) / sizeof(TKJournalRecord); // a torn one at the end is none
    for (uint32_t slot = 0; slot < whole; ++slot) {
        TKJournalRecord record;
        std::memcpy(&record, places + size_t{slot} * sizeof record, sizeof record);
        if (!RecordIsSound(record, slot) || record.sequence <= content->sequence) continue;
        content->sequence = record.sequence;
        content->seconds = record.seconds;
        content->settings = record.settings;
    }
    return content->sequence != 0 ? bpNoErr : bpNotFoundErr;
}
