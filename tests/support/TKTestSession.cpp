// The test's side of a session.
#include "tests/support/TKTestSession.h"

#include <algorithm>

namespace {

TKTestWindows* W(void* context)
{
    return static_cast<TKTestWindows*>(context);
}

} // namespace

TKUserInterface TKTestInterface(TKTestWindows* windows)
{
    TKUserInterface ui = {};
    ui.context = windows;
    ui.showSplash = [](void* c) { W(c)->calls.push_back("showSplash"); };
    ui.splashStep = [](void* c, uint32_t step, const char* text) {
        W(c)->splash.push_back(std::to_string(step) + " " + text);
        W(c)->calls.push_back("splashStep");
    };
    ui.hideSplash = [](void* c) { W(c)->calls.push_back("hideSplash"); };
    ui.buildMainWindow = [](void* c, TKSession* session) {
        W(c)->calls.push_back("buildMainWindow");
        if (W(c)->onBuild) W(c)->onBuild(session);
        return W(c)->buildResult;
    };
    ui.showMainWindow = [](void* c) { W(c)->calls.push_back("showMainWindow"); };
    ui.raiseMainWindow = [](void* c) { W(c)->calls.push_back("raiseMainWindow"); };
    ui.hideMainWindow = [](void* c) { W(c)->calls.push_back("hideMainWindow"); };
    ui.closeMainWindow = [](void* c) { W(c)->calls.push_back("closeMainWindow"); };
    ui.quitLoop = [](void* c) { W(c)->loopEnded = true; };
    ui.startTimer = [](void* c, uint32_t ms) { W(c)->timerMs = ms; };
    ui.enableMenus = [](void* c, bool enable) {
        W(c)->menus = enable;
        W(c)->calls.push_back("enableMenus");
    };
    ui.restoreForeground = [](void* c) { W(c)->calls.push_back("restoreForeground"); };
    ui.setCursor = [](void* c, uint32_t cursor) { W(c)->calls.push_back("cursor " + std::to_string(cursor)); };
    ui.rescanPresets = [](void* c) { W(c)->calls.push_back("rescanPresets"); };
    ui.addClip = [](void* c, const char* label, const char* path) {
        W(c)->clips.push_back(std::string(label) + " " + path);
    };
    ui.askRecovery = [](void* c, const char* text, const char* detail) {
        W(c)->calls.push_back("askRecovery");
        W(c)->questions.push_back(text);
        W(c)->questionDetail = detail;
        if (W(c)->answers.empty()) return;
        const bool answer = W(c)->answers.front();
        W(c)->answers.erase(W(c)->answers.begin());
        TKRecoveryAnswer(W(c)->session, answer);
    };
    ui.withdrawRecovery = [](void* c) { W(c)->calls.push_back("withdrawRecovery"); };
    ui.focusMainWindow = [](void* c) { W(c)->calls.push_back("focusMainWindow"); };
    ui.showAbout = [](void* c) { W(c)->calls.push_back("showAbout"); };
    ui.showViewMode = [](void* c, uint32_t mode) { W(c)->calls.push_back("view " + std::to_string(mode)); };
    ui.selectSettingsTab = [](void* c, int32_t a, int32_t b, int32_t d) {
        W(c)->calls.push_back("tab " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(d));
    };
    ui.selectRightPane = [](void* c, int32_t mode) { W(c)->calls.push_back("right " + std::to_string(mode)); };
    ui.selectLeftPane = [](void* c, int32_t tab) { W(c)->calls.push_back("left " + std::to_string(tab)); };
    ui.surfacesReplaced = [](void* c) { W(c)->calls.push_back("surfacesReplaced"); };
    ui.pixelAspectChanged = [](void* c, float aspect) { W(c)->aspect = aspect; };
    ui.refreshSource = [](void* c) { W(c)->calls.push_back("refreshSource"); };
    ui.refreshResult = [](void* c, bool) { W(c)->calls.push_back("refreshResult"); };
    ui.refreshDisplays = [](void* c, bool) { W(c)->calls.push_back("refreshDisplays"); };
    ui.setPositionText = [](void* c, const char* text) { W(c)->positionText = text; };
    ui.playingChanged = [](void* c, bool playing) { W(c)->calls.push_back(playing ? "playing" : "stopped"); };
    ui.sliderChanged = [](void* c, SliderVars* slider) {
        W(c)->calls.push_back(std::string("slider ") + slider->label);
    };
    ui.editOpened = [](void* c, SliderVars* slider) { W(c)->calls.push_back(std::string("open ") + slider->label); };
    ui.editClosed = [](void* c, SliderVars* slider) { W(c)->calls.push_back(std::string("close ") + slider->label); };
    ui.switchesChanged = [](void* c) { ++W(c)->switches; };
    return ui;
}

TKUIComm* TKTestHost::Block() const
{
    return reinterpret_cast<TKUIComm*>(gBPFake.blocks.at(kTKCommBlockName).bytes.get());
}

void TKTestHost::PaintRows(uint8_t* rows, uint32_t firstRow, uint32_t rowCount, uint32_t frame) const
{
    std::memset(rows, 0xEE, size_t{rowBytes} * rowCount);
    for (uint32_t row = 0; row < rowCount; ++row)
        for (uint32_t column = 0; column < width; ++column) {
            const uint32_t word =
                0xFF000000u | ((10 * frame + column) & 0xFF) << 16 | ((firstRow + row) & 0xFF) << 8 | 200;
            std::memcpy(rows + size_t{row} * rowBytes + size_t{column} * 4, &word, 4);
        }
}

std::vector<uint8_t> TKTestHost::Frame(uint32_t frame) const
{
    std::vector<uint8_t> bytes(FrameBytes());
    PaintRows(bytes.data(), 0, height, frame);
    return bytes;
}

void TKTestHost::Make()
{
    const bool chunked = (flags & kTKUIFlagPixelsChunked) != 0;
    uint64_t pixelBytes = 4;
    if (chunked)
        pixelBytes = uint64_t{rowBytes} * chunkRows;
    else if (flags & kTKUIFlagPixelsInline)
        pixelBytes = FrameBytes();
    BPFakeMakeBlock(kTKCommBlockName, std::max<uint64_t>(kTKUICommBytes, offsetof(TKUIComm, pixels) + pixelBytes));
    TKUIComm* block = Block();
    block->version = kTKUIVersion;
    block->signature = kTKUISignature;
    block->pixelFlags = flags;
    block->timeDisplayFormat = 1;
    block->dropFrameMode = 1;
    block->frameRate100 = 2400;
    block->frameWidth = width;
    block->frameHeight = height;
    block->frameRowBytes = rowBytes;
    block->frameTime = 0;
    block->frameStep = 100;
    block->frameTimeMax = 900;
    block->framePixelFormat = static_cast<uint32_t>(format);
    block->pixelAspect = 1.0f;
    block->hostProcessID = processID;
    std::memcpy(&block->hostApp, "TEST", 4);
    block->settings = TKNeutralSettings();
    if (chunked) {
        const uint32_t rows = std::min(chunkRows, height);
        PaintRows(block->pixels, 0, rows, 1);
        nextRow = rows;
        block->chunkBytes = rows * rowBytes;
        block->bytesRemaining = static_cast<int32_t>((height - rows) * rowBytes);
    } else if (flags & kTKUIFlagPixelsInline) {
        PaintRows(block->pixels, 0, height, 1);
    }
    block->status = kTKUIStatusDataReady;
}

void TKTestHost::SendChunks()
{
    TKUIComm* block = Block();
    if (block->status != kTKUIStatusChunkConsumed || nextRow >= height) return;
    const uint32_t rows = std::min(chunkRows, height - nextRow);
    PaintRows(block->pixels, nextRow, rows, 1);
    nextRow += rows;
    block->chunkBytes = rows * rowBytes;
    block->bytesRemaining = static_cast<int32_t>((height - nextRow) * rowBytes);
    block->status = kTKUIStatusChunkReady;
}

void TKTestHost::SendFrames()
{
    TKUIComm* block = Block();
    if (block->status != kTKUIStatusRequestFrame || !gBPFake.messages.empty()) return;
    const std::vector<uint8_t> frame = Frame(1 + static_cast<uint32_t>(block->frameTime / block->frameStep));
    BPFakeQueueMessage(9, frame.data(), static_cast<uint32_t>(frame.size()));
}

void TKSessionTest::SetUp()
{
    windows_ = {};
    BPFakeReset();
    BPFakeCaptureLog();
    gBPFake.alive[kHostProcess] = true;
    gBPFake.sleepLimit = 5000;
    gBPFake.hookContext = &host_;
    gBPFake.onSleep = [](void* context, uint32_t) {
        auto* host = static_cast<TKTestHost*>(context);
        if (gBPFake.blocks.count(kTKCommBlockName)) host->statusSeen.push_back(host->Block()->status);
        if (host->serve) host->serve(host);
    };
    BPFillFakePlatform(&platform_);
    const TKUserInterface ui = TKTestInterface(&windows_);
    ASSERT_EQ(TKCreateSession(&platform_, &ui, &session_), bpNoErr);
    windows_.session = session_;
    // Without threads: the tests of the pool are its own.
    session_->prefs.multiprocessorEnable = 0;
    gBPFake.stores[kTKPreferencesStore]["Multiprocessor Enable"] = {
        .kind = bpFakeNumber, .number = 0, .text = {}, .block = {}};
}

void TKSessionTest::TearDown()
{
    TKDisposeSession(session_);
    EXPECT_EQ(gBPFake.openMappings, 0u);
    EXPECT_EQ(gBPFake.openWatches, 0u);
    EXPECT_EQ(gBPFake.openStores, 0u);
    EXPECT_EQ(gBPFake.openStateFiles, 0u);
    BPFailAllocation(0);
    BPFakeReset();
}

void TKSessionTest::Attach()
{
    host_.Make();
    ASSERT_EQ(TKAttachHost(session_), tkAttached);
    ASSERT_EQ(TKPrepareFrameWorlds(session_), bpNoErr);
    ASSERT_EQ(TKLoadFrameFromHost(session_), bpNoErr);
    ASSERT_EQ(TKCommWindowCreate(session_, TKBlockOf(session_)), bpNoErr);
    session_->undoRing = UndoCreate(20, session_->liveSettings);
    UndoReset(session_->undoRing);
    session_->imagePaneMode = tkImageResult;
    session_->transport[kTKTransportLeft].visible = true;
}

TKStartResult TKSessionTest::StartUp()
{
    host_.Make();
    return TKStartUp(session_);
}

void TKSessionTest::MakeSliders()
{
    constexpr TKSliderRow gainRow = {.label = "RGB Gain",
                                     .objectName = "gain",
                                     .offset = TK_FLOAT_FIELD(OCHSLBlock, gain),
                                     .low = 0,
                                     .high = 3,
                                     .entryLow = 0,
                                     .entryHigh = 20,
                                     .neutral = 1};
    constexpr TKSliderRow saturationRow = {.label = "Saturation",
                                           .objectName = "saturation",
                                           .offset = TK_FLOAT_FIELD(OCHSLBlock, saturation),
                                           .low = 0,
                                           .high = 300,
                                           .entryLow = -1000,
                                           .entryHigh = 1000,
                                           .neutral = 100};
    constexpr TKSliderRow redRow = {.label = "Red Gain",
                                    .objectName = "red_gain",
                                    .offset = TK_FLOAT_FIELD(OCChannelBlock, channel[0].gain),
                                    .low = 0,
                                    .high = 3,
                                    .entryLow = 0,
                                    .entryHigh = 20,
                                    .neutral = 1};
    OCSettings* live = &session_->liveSettings;
    const OCSettings* defaults = &session_->defaultSettings;
    TKCreateSlider(&gain_, gainRow, live, offsetof(OCSettings, hsl.master), defaults, tkSectionHSLMaster);
    TKCreateSlider(&saturation_, saturationRow, live, offsetof(OCSettings, hsl.master), defaults, tkSectionHSLMaster);
    TKCreateSlider(&redGain_, redRow, live, offsetof(OCSettings, rgb.highlights), defaults, tkSectionRGBHighlights);
    TKTabChain chain;
    ResetTabChain(&chain);
    for (SliderVars* slider : {&gain_, &saturation_, &redGain_}) {
        ASSERT_EQ(TKRegisterSlider(session_, slider), bpNoErr);
        TKChainSlider(&chain, slider);
    }
    TKCloseTabChain(&chain);
}

OCSettings TKNeutralSettings()
{
    OCSettings settings = {};
    OCResetSettings(&settings, kOCResetAll, kOCResetAll, kOCResetDefaults);
    return settings;
}

uint32_t TKPixelAt(const ScopeSurface& surface, uint32_t column, uint32_t row)
{
    const uint8_t* pixel = surface.pixels + size_t{row} * surface.rowBytes + size_t{column} * 4;
    return uint32_t{pixel[0]} << 24 | uint32_t{pixel[1]} << 16 | uint32_t{pixel[2]} << 8 | pixel[3];
}

uint32_t TKLogCount(const std::string& text)
{
    uint32_t count = 0;
    for (size_t at = gBPFake.log.find(text); at != std::string::npos; at = gBPFake.log.find(text, at + 1)) ++count;
    return count;
}

bool TKLogHas(const std::vector<std::string>& texts)
{
    size_t at = 0;
    for (const std::string& text : texts) {
        at = gBPFake.log.find(text, at);
        if (at == std::string::npos) {
            ADD_FAILURE() << "not in its place in the log: " << text << "\nlog:\n" << gBPFake.log;
            return false;
        }
        at += text.size();
    }
    return true;
}
