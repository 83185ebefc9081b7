// Defaults, reading and writing walk one table of rows. Numbers in texts follow the C locale whatever the process uses.
#include "src/support/TKPreferences.h"

#include "src/platform/BPLog.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kDepths[] = {0, 1, 5, 10, 20, 50, 99};
constexpr uint32_t kDefaultDepth = 20, kDefaultDepthIndex = 5;
constexpr const char* kSystemNames[] = {"NTSC", "PAL", "709", "240M"}; // codes 1 to 4
constexpr char kNoTempFolder[] = "/tmp/";
constexpr int32_t kSmallWidth = 721, kSmallHeight = 577; // below both: a standard-definition monitor

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
    return std::isfinite(value) ? value : 0.0f;
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

/// The user's temporary folder with a separator at its end.
void TempFolder(uint8_t* field, uint32_t capacity)
{
    const char* named = std::getenv("TMPDIR");
    const size_t length = named ? std::strlen(named) : 0;
    const bool usable = length > 0 && named[0] == '/' && length + 2 <= capacity;
    CopyText(field, capacity, usable ? named : kNoTempFolder);
    if (usable && named[length - 1] != '/') field[length] = '/';
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
    case tkPrefText:
        if (row.source == tkDefaultTempFolder)
            TempFolder(field, row.capacity);
        else
            CopyText(field, row.capacity, row.text);
        return;
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

BPStatus ReadSlot(TKSavedSlot* slot, const char* name, const BPKeyedStoreOps& ops, BPKeyedStore* store)
{
    uint32_t byteCount = 0;
    slot->used = 0;
    if (BPStatus err = ops.readBlock(store, name, nullptr, 0, &byteCount); err != bpNoErr) return err;
    if (byteCount != sizeof slot->settings) return bpNoErr;
    if (BPStatus err = ops.readBlock(store, name, &slot->settings, sizeof slot->settings, &byteCount); err != bpNoErr)
        return err;
    slot->used = byteCount == sizeof slot->settings;
    return bpNoErr;
}

/// For values that are not written back when they are missing.
BPStatus Exempt(BPStatus err)
{
    return err == bpNotFoundErr ? bpNoErr : err;
}

/// bpNotFoundErr when the value is missing and has to be written back; another error when the store cannot be read.
BPStatus ReadRow(TKPreferences* record, const TKPreferenceRow& row, const BPKeyedStoreOps& ops, BPKeyedStore* store)
{
    uint8_t* field = FieldOf(record, row);
    uint32_t number = 0, byteCount = 0;
    char text[64] = {};
    BPStatus err = bpNoErr;
    switch (row.kind) {
    case tkPrefVersion: return ops.readNumber(store, row.name, &number); // not kept
    case tkPrefNumber:
        if (err = ops.readNumber(store, row.name, &number); err == bpNoErr) std::memcpy(field, &number, sizeof number);
        return err;
    case tkPrefWholeFloat: {
        if (err = ops.readNumber(store, row.name, &number); err != bpNoErr) return err;
        const auto value = static_cast<float>(number);
        std::memcpy(field, &value, sizeof value);
        return bpNoErr;
    }
    case tkPrefVideoSystem:
        if (err = ops.readString(store, row.name, text, sizeof text); err != bpNoErr) return err;
        if (std::strcmp(text, "ATSC") == 0) std::strcpy(text, "709"); // the name of older versions
        for (uint32_t i = 0; i < std::size(kSystemNames); ++i)
            if (std::strcmp(text, kSystemNames[i]) == 0) number = i + 1;
        if (number != 0) std::memcpy(field, &number, sizeof number);
        return bpNoErr;
    case tkPrefText: return ops.readString(store, row.name, reinterpret_cast<char*>(field), row.capacity);
    case tkPrefFloatText: {
        // Deliberate: without a value the field is 0, not the default, and nothing is written back.
        err = ops.readString(store, row.name, text, sizeof text);
        const float value = err == bpNoErr ? FloatFromText(text) : 0.0f;
        std::memcpy(field, &value, sizeof value);
        return Exempt(err);
    }
    case tkPrefTable: // a missing table is the default's
        return Exempt(ops.readBlock(store, row.name, field, row.capacity, &byteCount));
    case tkPrefSlot: return Exempt(ReadSlot(reinterpret_cast<TKSavedSlot*>(field), row.name, ops, store));
    }
    return bpNoErr;
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

BPStatus PrefsRead(TKPreferences* record, const BPPlatform& platform)
{
    PrefsSetDefaults(record, platform);
    const BPKeyedStoreOps& ops = platform.keyedStore;
    BPKeyedStore store = {};
    if (BPStatus err = ops.open(kTKPreferencesStore, &store); err != bpNoErr) {
        BPDebugLog("PrefsRead: the store cannot be opened, error %d; the defaults are in force\n", err);
        return err == bpFileNotFoundErr ? bpNoErr : err;
    }
    // One step: two processes that start at once do not see each other's half-filled store. A store that only can be
    // read is read, and nothing is written back.
    const BPStatus begun = ops.begin(&store);
    BPStatus unread = bpNoErr;
    for (const TKPreferenceRow& row : TKPreferenceRows()) {
        const BPStatus err = ReadRow(record, row, ops, &store);
        if (err == bpNotFoundErr && begun == bpNoErr) (void)WriteRow(*record, row, ops, &store);
        if (err == bpNoErr || err == bpNotFoundErr) continue;
        // Each further value would wait as long as this one did.
        unread = err;
        BPDebugLog("PrefsRead: \"%s\" cannot be read, error %d; what follows has its default\n", row.name, err);
        break;
    }
    const BPStatus stored = begun == bpNoErr ? ops.commit(&store) : begun;
    if (stored != bpNoErr) BPDebugLog("PrefsRead: missing values cannot be stored, error %d\n", stored);
    ops.close(&store);
    PrefsDeriveUndoDepth(record);
    PrefsDeriveVideoRange(record);
    return unread;
}

BPStatus PrefsWrite(const TKPreferences& record, const BPPlatform& platform)
{
    const BPKeyedStoreOps& ops = platform.keyedStore;
    BPKeyedStore store = {};
    BPStatus err = ops.open(kTKPreferencesStore, &store);
    if (err == bpNoErr) err = ops.begin(&store);
    if (err == bpNoErr) {
        BPDebugLog("Saving window position = %d, %d, selected tab %d\n", record.preferencesWindowH,
                   record.preferencesWindowV, record.preferencesWindowSelectedTab);
        for (const TKPreferenceRow& row : TKPreferenceRows()) (void)WriteRow(record, row, ops, &store);
        err = ops.commit(&store);
    }
    if (store.handle != 0) ops.close(&store);
    if (err != bpNoErr) BPDebugLog("PrefsWrite: nothing was stored, error %d; the store keeps what it held\n", err);
    return err;
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
