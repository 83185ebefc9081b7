// Deeds of the stand-in for Ochrine.
#include "tests/host/FakeApplication.h"

#include "src/platform/BPMemory.h"

#include <cstdio>
#include <cstring>

bool FakeAttach(FakeApplication* application)
{
    *application = {};
    BPFillLinuxPlatform(&application->platform);
    for (int i = 0; i < 100; ++i) {
        if (application->platform.sharedMemory.open(kOchrineBlockName, kOchrineBlockBytes, &application->memory) ==
            bpNoErr) {
            OchrineBlock* block = application->block = reinterpret_cast<OchrineBlock*>(application->memory.address);
            const auto isSigned = [block] { return block->signature == kOchrineSignature && block->version == 7; };
            if (!isSigned()) application->platform.clock.sleepMs(50); // for a host that is still writing
            const bool isReady = isSigned() && OchrineLoadStatus(block) == kTKUIStatusDataReady;
            if (isReady) {
                OchrineStoreStatus(application->block, kTKUIStatusUIRunning);
                return true;
            }
            application->platform.sharedMemory.close(&application->memory);
        }
        application->platform.clock.sleepMs(10);
    }
    return false;
}

std::vector<uint8_t> FakeTakeFrame(FakeApplication* application)
{
    OchrineBlock* block = application->block;
    std::vector<uint8_t> frame;
    const uint8_t* pixels = block->pixels; // they go on to the end of the block
    const auto take = [&](size_t count) { frame.insert(frame.end(), pixels, pixels + count); };
    if ((block->pixelFlags & kTKUIFlagPixelsChunked) == 0) {
        take(size_t{block->frameRowBytes} * block->frameHeight);
        return frame;
    }
    take(block->chunkBytes);
    OchrineStoreStatus(block, kTKUIStatusChunkConsumed);
    const uint64_t start = application->platform.clock.monotonicMs();
    while (block->bytesRemaining != 0) {
        application->platform.clock.sleepMs(BPTicksToMs(10));
        if (OchrineLoadStatus(block) == kTKUIStatusChunkReady) {
            take(block->chunkBytes);
            OchrineStoreStatus(block, kTKUIStatusChunkConsumed);
        }
        if (application->platform.clock.monotonicMs() - start > 5000) return {};
    }
    OchrineStoreStatus(block, kTKUIStatusUIRunning);
    return frame;
}

bool FakeListen(FakeApplication* application, const std::string& name)
{
    if (application->platform.frameChannel.listen(name.c_str(), &application->channel) != bpNoErr) return false;
    std::snprintf(application->block->commWindowName, sizeof(application->block->commWindowName), "%s", name.c_str());
    return true;
}

std::vector<uint8_t> FakeRequest(FakeApplication* application, int32_t frameTime)
{
    OchrineBlock* block = application->block;
    block->frameTime = frameTime;
    OchrineStoreStatus(block, kTKUIStatusRequestFrame);
    std::vector<uint8_t> frame;
    for (int i = 0; i < 400 && OchrineLoadStatus(block) != kTKUIStatusRequestFailed; ++i) {
        BPFrameMessage message = {};
        if (application->platform.frameChannel.receive(&application->channel, kOchrineFrameWord, 1u << 30, &message) ==
            bpNoErr) {
            if (message.bytes != nullptr) frame.assign(message.bytes, message.bytes + message.byteCount);
            BPFree(message.bytes);
            break;
        }
        application->platform.clock.sleepMs(13);
    }
    OchrineStoreStatus(block, kTKUIStatusUIRunning);
    application->platform.frameChannel.release(&application->channel);
    return frame;
}

void FakeLeave(FakeApplication* application, uint32_t status)
{
    if (application->channel.handle != 0) application->platform.frameChannel.close(&application->channel);
    if (status != 0) OchrineStoreStatus(application->block, status);
    application->platform.sharedMemory.close(&application->memory);
    application->block = nullptr;
}
