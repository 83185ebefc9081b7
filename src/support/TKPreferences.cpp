// Defaults, reading and writing walk one table of rows. Numbers in texts follow the C locale whatever the process uses.
#include "src/support/TKPreferences.h"

#include "src/platform/BPLog.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kDepths[] = {0, 1, 5, 10, 20, 50, 99};
constexpr uint32_t kDefaultDepth = 20, kDefaultDepthIndex = 5;
constexpr const char* kSystemNames[] = {"NTSC", "PAL", "709", "240M"}; // codes 1 to 4
constexpr int32_t kSmallWidth = 721, kSmallHeight = 577;               // below both: a standard-definition monitor

struct VideoRange {
    int32_t maximum, black, white;
    uint32_t index;
};
constexpr VideoRange kNarrowRanges[] = {{255, 16, 235, 2}, {1023, 64, 940, 4}};

uint8_t* FieldOf(TKPreferences* record, const TKPreferenceRow& row)
{
    return reinterpret_cast<uint8_t*>(record) + row.offset;
}

const uint8_t* FieldOf(const TKPreferences* record, const TKPreferenceRow& row)
{
    return reinterpret_cast<const uint8_t*>(record) + row.offset;
}

uint32_t NumberOf(const TKPreferences& record, const TKPreferenceRow& row)
{
    uint32_t number = 0;
    std::memcpy(&number, FieldOf(&record, row), sizeof number);
    return number;
}

float FloatOf(const TKPreferences& record, const TKPreferenceRow& row)
{
    float value = 0;
    std::memcpy(&value, FieldOf(&record, row), sizeof value);
    return value;
}

void CopyText(uint8_t* field, uint32_t capacity, const char* text)
{
    const size_t length = std::min<size_t>(std::strlen(text), capacity - 1);
    std::memset(field, 0, capacity);
    std::memcpy(field, text, length);
}

float FloatFromText(const char* text)
{
    while (*text == ' ' || *text == '\t') ++text;
    if (*text == '+') ++text;
    float value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
}

uint32_t WholeFloat(float value)
{
    if (!(value > 0)) return 0;
    return value >= 4294967040.0f ? 4294967040u : static_cast<uint32_t>(value);
}

uint32_t DefaultMonitor(const BPScreenOps& screen)
{
    const uint32_t count = screen.count ? screen.count() : 0;
    uint32_t chosen = 0, running = 0;
    for (uint32_t i = 1; i < count; ++i) { // 0 is the primary one
        BPRect bounds = {};
        if (!screen.bounds || screen.bounds(i, &bounds) != bpNoErr) continue;
        ++running;
        const int64_t width = int64_t{bounds.right} - bounds.left, height = int64_t{bounds.bottom} - bounds.top;
        if (running == 1 || (width < kSmallWidth && height < kSmallHeight)) chosen = running;
    }
    return chosen;
}

void SetDefault(TKPreferences* record, const TKPreferenceRow& row, const BPPlatform& platform)
{
    uint8_t* field = FieldOf(record, row);
    uint32_t number = row.number;
    switch (row.kind) {
    case tkPrefNumber:
    case tkPrefVersion:
    case tkPrefVideoSystem:
        if (row.source == tkDefaultMonitor) number = DefaultMonitor(platform.screen);
        std::memcpy(field, &number, sizeof number);
        return;
    case tkPrefWholeFloat: {
        const auto value = static_cast<float>(number);
        std::memcpy(field, &value, sizeof value);
        return;
    }
    case tkPrefFloatText: {
        const float value = FloatFromText(row.text);
        std::memcpy(field, &value, sizeof value);
        return;
    }
    case tkPrefText: {
        const char* folder = row.source == tkDefaultTempFolder ? std::getenv("TMPDIR") : nullptr;
        CopyText(field, row.capacity, folder && folder[0] ? folder : row.text);
        return;
    }
    case tkPrefTable:
        for (uint32_t i = 0; i < row.capacity; ++i) field[i] = static_cast<uint8_t>(i); // straight
        return;
    case tkPrefSlot: return; // unused
    }
}

BPStatus WriteRow(const TKPreferences& record, const TKPreferenceRow& row, const BPKeyedStoreOps& ops,
                  BPKeyedStore* store)
{
    const uint8_t* field = FieldOf(&record, row);
    switch (row.kind) {
    case tkPrefVersion: return ops.writeNumber(store, row.name, 1);
    case tkPrefNumber: return ops.writeNumber(store, row.name, NumberOf(record, row));
    case tkPrefWholeFloat: return ops.writeNumber(store, row.name, WholeFloat(FloatOf(record, row)));
    case tkPrefVideoSystem: {
        const uint32_t code = NumberOf(record, row);
        if (code < 1 || code > std::size(kSystemNames)) return bpNoErr;
        return ops.writeString(store, row.name, kSystemNames[code - 1]);
    }
    case tkPrefText: return ops.writeString(store, row.name, reinterpret_cast<const char*>(field));
    case tkPrefFloatText: {
        char text[64] = {};
        std::to_chars(text, text + sizeof text - 1, static_cast<double>(FloatOf(record, row)), std::chars_format::fixed,
                      6);
        return ops.writeString(store, row.name, text);
    }
    case tkPrefTable: return ops.writeBlock(store, row.name, field, row.capacity);
    case tkPrefSlot: {
        const auto* slot = reinterpret_cast<const TKSavedSlot*>(field);
        return slot->used ? ops.writeBlock(store, row.name, &slot->settings, sizeof slot->settings) : bpNoErr;
    }
    }
    return bpNoErr;
}

void ReadSlot(TKSavedSlot* slot, const char* name, const BPKeyedStoreOps& ops, BPKeyedStore* store)
{
    uint32_t byteCount = 0;
    slot->used = 0;
    if (ops.readBlock(store, name, nullptr, 0, &byteCount) != bpNoErr || byteCount != sizeof slot->settings) return;
    if (ops.readBlock(store, name, &slot->settings, sizeof slot->settings, &byteCount) != bpNoErr) return;
    slot->used = byteCount == sizeof slot->settings;
}

/// False when the value is missing and has to be written back.
bool ReadRow(TKPreferences* record, const TKPreferenceRow& row, const BPKeyedStoreOps& ops, BPKeyedStore* store)
{
    uint8_t* field = FieldOf(record, row);
    uint32_t number = 0, byteCount = 0;
    char text[64] = {};
    switch (row.kind) {
    case tkPrefVersion: return ops.readNumber(store, row.name, &number) == bpNoErr; // not kept
    case tkPrefNumber:
        if (ops.readNumber(store, row.name, &number) != bpNoErr) return false;
        std::memcpy(field, &number, sizeof number);
        return true;
    case tkPrefWholeFloat: {
        if (ops.readNumber(store, row.name, &number) != bpNoErr) return false;
        const auto value = static_cast<float>(number);
        std::memcpy(field, &value, sizeof value);
        return true;
    }
    case tkPrefVideoSystem:
        if (ops.readString(store, row.name, text, sizeof text) != bpNoErr) return false;
        if (std::strcmp(text, "ATSC") == 0) std::strcpy(text, "709"); // the name of older versions
        for (uint32_t i = 0; i < std::size(kSystemNames); ++i)
            if (std::strcmp(text, kSystemNames[i]) == 0) number = i + 1;
        if (number != 0) std::memcpy(field, &number, sizeof number);
        return true;
    case tkPrefText: return ops.readString(store, row.name, reinterpret_cast<char*>(field), row.capacity) == bpNoErr;
    case tkPrefFloatText: {
        // Deliberate: without a value the field is 0, not the default, and nothing is written back.
        const bool found = ops.readString(store, row.name, text, sizeof text) == bpNoErr;
        const float value = found ? FloatFromText(text) : 0.0f;
        std::memcpy(field, &value, sizeof value);
        return true;
    }
    case tkPrefTable:
        (void)ops.readBlock(store, row.name, field, row.capacity, &byteCount); // a missing table is the default's
        return true;
    case tkPrefSlot: ReadSlot(reinterpret_cast<TKSavedSlot*>(field), row.name, ops, store); return true;
    }
    return true;
}

} // namespace

void PrefsSetDefaults(TKPreferences* record, const BPPlatform& platform)
{
    std::memset(record, 0, sizeof *record);
    for (const TKPreferenceRow& row : TKPreferenceRows()) SetDefault(record, row, platform);
    record->undoPopupIndex = kDefaultDepthIndex;
    record->videoRangeIndex = 1;
    record->dialogDevice = record->externalPreviewDevice;
    record->dialogMode = record->externalPreviewMode;
}

void PrefsRead(TKPreferences* record, const BPPlatform& platform)
{
    PrefsSetDefaults(record, platform);
    const BPKeyedStoreOps& ops = platform.keyedStore;
    BPKeyedStore store = {};
    if (ops.open(kTKPreferencesStore, &store) != bpNoErr) return;
    const bool together = ops.begin(&store) == bpNoErr;
    for (const TKPreferenceRow& row : TKPreferenceRows())
        if (!ReadRow(record, row, ops, &store)) (void)WriteRow(*record, row, ops, &store);
    if (together) (void)ops.commit(&store);
    ops.close(&store);
    PrefsDeriveUndoDepth(record);
    PrefsDeriveVideoRange(record);
}

BPStatus PrefsWrite(const TKPreferences& record, const BPPlatform& platform)
{
    const BPKeyedStoreOps& ops = platform.keyedStore;
    BPKeyedStore store = {};
    if (BPStatus err = ops.open(kTKPreferencesStore, &store); err != bpNoErr) return err;
    const bool together = ops.begin(&store) == bpNoErr;
    BPDebugLog("Saving window position = %d, %d, selected tab %d\n", record.preferencesWindowH,
               record.preferencesWindowV, record.preferencesWindowSelectedTab);
    for (const TKPreferenceRow& row : TKPreferenceRows()) (void)WriteRow(record, row, ops, &store);
    if (together) (void)ops.commit(&store);
    ops.close(&store);
    return bpNoErr;
}

bool PrefsApplyVideoLevels(const TKPreferences& record, OCSettings* settings)
{
    const OCVideoLevels levels = PrefsResetDefaults(record).videoLevels;
    if (std::memcmp(&levels, &settings->videoLevels, sizeof levels) == 0) return false;
    settings->videoLevels = levels;
    return true;
}

OCResetDefaults PrefsResetDefaults(const TKPreferences& record)
{
    return {.videoLevels = {.videoBlackLevel = record.videoBlackLevel,
                            .videoWhiteLevel = record.videoWhiteLevel,
                            .videoMinLevel = record.videoMinLevel,
                            .videoMaxLevel = record.videoMaxLevel,
                            .videoSetupPresent = static_cast<int32_t>(record.videoBlackSetupPresent),
                            .videoSystem = static_cast<int32_t>(record.videoSystem)},
            .limiterDefault = record.limiterDefault};
}

void PrefsDeriveUndoDepth(TKPreferences* record)
{
    const auto* found = std::find(std::begin(kDepths), std::end(kDepths), record->undoDepth);
    if (found == std::end(kDepths)) {
        record->undoDepth = kDefaultDepth;
        record->undoPopupIndex = kDefaultDepthIndex;
        return;
    }
    record->undoPopupIndex = static_cast<uint32_t>(found - kDepths) + 1;
}

void PrefsDeriveVideoRange(TKPreferences* record)
{
    if (record->videoMinLevel != 0) return;
    for (const VideoRange& range : kNarrowRanges) {
        if (record->videoMaxLevel != range.maximum) continue;
        const bool narrow = record->videoBlackLevel == range.black && record->videoWhiteLevel == range.white;
        record->videoRangeIndex = narrow ? range.index : range.index - 1;
    }
}
