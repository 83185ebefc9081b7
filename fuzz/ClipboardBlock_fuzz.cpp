// A block on the clipboard under the name of the settings' format: paste, the picture that it makes, undo, redo, copy.
//
// First byte 0: the rest is the block, of whatever size. Otherwise the rest are pairs of an offset and a word, six bytes
// each, laid over a sound record.
#include "fuzz/FakePlatform.h"
#include "src/support/TKCommands.h"
#include "src/support/TKStartup.h"

#include <cstring>

namespace {

std::vector<uint8_t> BlockOf(const uint8_t* data, size_t size)
{
    if (size == 0) return {};
    if (data[0] == 0) return {data + 1, data + size};
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    std::vector<uint8_t> block(sizeof settings);
    std::memcpy(block.data(), &settings, sizeof settings);
    for (size_t at = 1; at + 6 <= size; at += 6) {
        uint16_t offset = 0;
        std::memcpy(&offset, data + at, sizeof offset);
        std::memcpy(block.data() + offset % (sizeof settings / 4) * 4, data + at + 2, 4);
    }
    return block;
}

void MakeHostBlock()
{
    constexpr uint32_t width = 8, height = 4;
    BPFakeMakeBlock(kTKCommBlockName, kTKUICommBytes + width * height * 4);
    auto* block = reinterpret_cast<TKUIComm*>(gBPFake.blocks.at(kTKCommBlockName).bytes.get());
    block->version = kTKUIVersion;
    block->signature = kTKUISignature;
    block->pixelFlags = kTKUIFlagPixelsInline;
    block->frameWidth = width;
    block->frameHeight = height;
    block->frameRowBytes = width * 4;
    block->frameStep = 1;
    block->framePixelFormat = static_cast<uint32_t>(pixFormatARGB8);
    block->pixelAspect = 1;
    uint8_t* pixels = block->pixels; // they go on to the end of the block
    for (uint32_t i = 0; i < width * height * 4; ++i) pixels[i] = static_cast<uint8_t>(i * 37);
    block->status = kTKUIStatusDataReady;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const BPPlatform platform = FreshFakePlatform();
    gBPFake.stores[kTKPreferencesStore]["Multiprocessor Enable"] = {
        .kind = bpFakeNumber, .number = 0, .text = {}, .block = {}};
    MakeHostBlock();
    TKSession* session = nullptr;
    Expect(TKCreateSession(&platform, nullptr, &session) == bpNoErr);
    Expect(TKStartUp(session) == tkStartRun);

    const OCSettings before = session->liveSettings;
    gBPFake.clipboardFormat = kTKSettingsFormat;
    gBPFake.clipboard = BlockOf(data, size);
    const std::vector<uint8_t> block = gBPFake.clipboard;
    DoMenuCommand(session, kTKCommandPaste, nullptr);
    uint32_t signature = 0;
    if (block.size() >= 4) std::memcpy(&signature, block.data(), 4);
    const bool sound = block.size() == sizeof(OCSettings) && signature == kOCSettingsSignature;
    Expect(std::memcmp(&session->liveSettings, sound ? static_cast<const void*>(block.data()) : &before,
                       sizeof before) == 0);
    Expect(UndoCanStepBack(session->undoRing) == sound);
    TKTick(session);
    DoMenuCommand(session, kTKCommandCopy, nullptr);
    if (sound) Expect(gBPFake.clipboard == block);
    DoMenuCommand(session, kTKCommandResetAll, nullptr);
    DoMenuCommand(session, kTKCommandUndo, nullptr);
    DoMenuCommand(session, kTKCommandUndo, nullptr);
    DoMenuCommand(session, kTKCommandRedo, nullptr);
    DoMenuCommand(session, kTKCommandOK, nullptr);
    (void)TKFinish(session);
    TKDisposeSession(session);
    Expect(gBPFake.openMappings == 0 && gBPFake.openStores == 0);
    BPFakeReset();
    return 0;
}
