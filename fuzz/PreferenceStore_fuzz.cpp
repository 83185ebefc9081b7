// What a store of preferences may hold, through reading, the start of a session and writing.
//
// The input is a row of values: the number of a table row, a kind, a length in two bytes, then that many bytes.
#include "fuzz/FakePlatform.h"
#include "src/support/TKCommands.h"
#include "src/support/TKStartup.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

void FillStore(const uint8_t* data, size_t size)
{
    const std::span<const TKPreferenceRow> rows = TKPreferenceRows();
    BPFakeStore& store = gBPFake.stores[kTKPreferencesStore];
    for (size_t at = 0; at + 4 <= size;) {
        const TKPreferenceRow& row = rows[data[at] % rows.size()];
        BPFakeValue value = {};
        value.kind = static_cast<BPFakeKind>(1 + data[at + 1] % 3);
        const size_t wanted = static_cast<size_t>(data[at + 2]) | static_cast<size_t>(data[at + 3]) << 8;
        const size_t length = std::min(wanted, size - at - 4);
        const uint8_t* bytes = data + at + 4;
        std::memcpy(&value.number, bytes, std::min(length, sizeof value.number));
        value.text.assign(bytes, std::find(bytes, bytes + length, uint8_t{0}));
        value.block.assign(bytes, bytes + length);
        // A slot is taken for its size alone.
        if (row.kind == tkPrefSlot && (wanted & 1) != 0) value.block.resize(sizeof(OCSettings));
        store[row.name] = std::move(value);
        at += 4 + length;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const BPPlatform platform = FreshFakePlatform();
    FillStore(data, size);

    auto record = std::make_unique<TKPreferences>();
    (void)PrefsRead(record.get(), platform);
    Expect(record->undoDepth <= 99 && record->undoPopupIndex >= 1 && record->undoPopupIndex <= 7);
    Expect(record->videoRangeIndex >= 1 && record->videoRangeIndex <= 4);
    Expect(record->videoSystem >= 1 && record->videoSystem <= 4);
    Expect(record->autoLumaTrim - record->autoLumaTrim == 0.0f); // finite
    Expect(std::memchr(record->adjustHostPixels, 0, sizeof record->adjustHostPixels) != nullptr);
    Expect(std::memchr(record->controlSurfaceIP, 0, sizeof record->controlSurfaceIP) != nullptr);
    Expect(std::memchr(record->rapidPreviewCachePath, 0, sizeof record->rapidPreviewCachePath) != nullptr);

    // Roundings settle with the first writing; after that nothing changes any more.
    for (int round = 0; round < 2; ++round) {
        Expect(PrefsWrite(*record, platform) == bpNoErr);
        (void)PrefsRead(record.get(), platform);
    }
    const BPFakeStore settled = gBPFake.stores[kTKPreferencesStore];
    Expect(PrefsWrite(*record, platform) == bpNoErr);
    Expect(gBPFake.stores[kTKPreferencesStore] == settled);

    // A session lives with it: colours, depth of undo, slots, state of the menus.
    TKSession* session = nullptr;
    Expect(TKCreateSession(&platform, nullptr, &session) == bpNoErr);
    session->prefs = *record;
    PrepareUIPalette(&session->palette, record->uiBrightness);
    PrepareAccentTable(&session->palette, record->uiSaturation);
    session->undoRing = UndoCreate(record->undoDepth, session->liveSettings);
    (void)PrefsApplyVideoLevels(*record, &session->liveSettings);
    for (uint32_t slot = 1; slot <= kTKSlotCount; ++slot) {
        (void)SlotStoreOrRecall(session, slot, false);
        Expect(session->liveSettings.signature == kOCSettingsSignature);
    }
    DoMenuCommand(session, kTKCommandResetAll, nullptr);
    (void)UpdateMenuState(session);
    TKDisposeSession(session);
    Expect(gBPFake.openStores == 0);
    BPFakeReset();
    return 0;
}
