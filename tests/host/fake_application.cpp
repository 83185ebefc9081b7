// A program that stands for Ochrine in tests of ochrine-host: its only argument cannot be given by the host, so the
// variable OC_FAKE_MODE tells what it does.
//
//   ok        takes the frame, doubles the first float behind the signature of the grade, 4
//   cancel    takes the frame, 4
//   request   asks for frames 3, 0 and beyond the end, writes what came into OC_FAKE_OUT, then as ok
//   fresh-request   as request, for a host that gave no grade: it leaves one
//   die       takes the frame and ends
//   die-early ends at once
//   fail      2
//   hang      never takes anything
//   nograde   destroys the signature, 4
//   resident  announces itself, serves two sessions as ok, each time from a new block, and ends
#include "tests/host/FakeApplication.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr uint32_t kChangedWord = 5;

void Edit(OchrineBlock* block)
{
    float value = 0.0f;
    std::memcpy(&value, &block->settings[kChangedWord], 4);
    value = value * 1.25f;
    std::memcpy(&block->settings[kChangedWord], &value, 4);
    // HSL pane, tab and master block on.
    block->settings[1] = block->settings[2] = block->settings[3] = 1;
}

int Request(FakeApplication* application)
{
    const char* path = std::getenv("OC_FAKE_OUT");
    std::FILE* out = path != nullptr ? std::fopen(path, "wb") : nullptr;
    if (out == nullptr || !FakeListen(application, "Comm" + std::to_string(application->platform.process.currentId())))
        return 4;
    const int32_t step = application->block->frameStep;
    for (int32_t time : {3 * step, 0, INT32_MAX}) {
        const std::vector<uint8_t> frame = FakeRequest(application, time);
        if (!frame.empty()) std::fwrite(frame.data(), 1, frame.size(), out);
    }
    std::fclose(out);
    return 0;
}

int Resident(const BPPlatform& platform)
{
    BPSharedMemory memory = {};
    if (platform.sharedMemory.create(kOchrineResidentName, sizeof(OchrineResidentBlock), &memory) != bpNoErr) return 4;
    reinterpret_cast<OchrineResidentBlock*>(memory.address)->processId = platform.process.currentId();
    for (int session = 0; session < 2; ++session) {
        FakeApplication application;
        bool isAttached = false;
        for (int i = 0; i < 20 && !isAttached; ++i) isAttached = FakeAttach(&application);
        if (!isAttached) return 4;
        (void)FakeTakeFrame(&application);
        Edit(application.block);
        FakeLeave(&application, kTKUIStatusUIDone);
    }
    return platform.sharedMemory.remove(kOchrineResidentName) == bpNoErr ? 0 : 4;
}

} // namespace

int main()
{
    const char* variable = std::getenv("OC_FAKE_MODE");
    const std::string mode = variable != nullptr ? variable : "ok";
    BPPlatform platform = {};
    BPFillLinuxPlatform(&platform);
    if (mode == "die-early") return 3;
    if (mode == "resident") return Resident(platform);
    if (mode == "hang") platform.clock.sleepMs(20000);

    FakeApplication application;
    if (!FakeAttach(&application)) return 7;
    if (mode == "fail") {
        FakeLeave(&application, kTKUIStatusUIFailed);
        return 0;
    }
    if (FakeTakeFrame(&application).empty()) return 8;
    if (mode == "die") return 5;
    const bool isRequest = mode == "request" || mode == "fresh-request";
    if (isRequest && Request(&application) != 0) return 9;
    if (mode == "fresh-request") application.block->settings[0] = kOchrineGradeSignature;
    if (mode == "ok" || isRequest) Edit(application.block);
    if (mode == "nograde") application.block->settings[0] = 0;
    FakeLeave(&application, kTKUIStatusUIDone);
    return 0;
}
