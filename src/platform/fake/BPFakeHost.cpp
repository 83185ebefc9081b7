// The fakes of what a host and we share: shared memory, the frame channel, processes, and the clock.
#include "src/platform/BPMemory.h"
#include "src/platform/fake/BPFakeWorld.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kPageBytes = 4096;

// Shared memory.

BPFakeBlock NewBlock(uint64_t byteCount)
{
    const size_t pages = (static_cast<size_t>(byteCount) + kPageBytes - 1) / kPageBytes;
    void* bytes = aligned_alloc(kPageBytes, std::max<size_t>(pages, 1) * kPageBytes);
    if (bytes == nullptr) return {};
    memset(bytes, 0, std::max<size_t>(pages, 1) * kPageBytes);
    return {.bytes = std::shared_ptr<uint8_t>(static_cast<uint8_t*>(bytes), free),
            .byteCount = byteCount,
            .atLastClose = {}};
}

void MapBlock(const std::string& name, const BPFakeBlock& block, BPSharedMemory* memory)
{
    gBPFakeHandles.mappings[++gBPFakeHandles.last] = {
        name, {.bytes = block.bytes, .byteCount = block.byteCount, .atLastClose = {}}};
    gBPFake.openMappings = static_cast<uint32_t>(gBPFakeHandles.mappings.size());
    *memory = {.handle = gBPFakeHandles.last, .address = block.bytes.get(), .byteCount = block.byteCount};
}

BPStatus SharedCreate(const char* name, uint64_t byteCount, BPSharedMemory* memory)
{
    *memory = {};
    if (BPStatus err = BPFakeEnter(bpFakeSharedCreate, bpMemFullErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name) || byteCount == 0) return bpParamErr;
    if (gBPFake.blocks.contains(name)) return bpFileExistsErr;
    const BPFakeBlock block = NewBlock(byteCount);
    if (block.bytes == nullptr) return bpMemFullErr;
    gBPFake.blocks[name] = block;
    MapBlock(name, block, memory);
    return bpNoErr;
}

BPStatus SharedOpen(const char* name, uint64_t minimumBytes, BPSharedMemory* memory)
{
    *memory = {};
    if (BPStatus err = BPFakeEnter(bpFakeSharedOpen, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name)) return bpParamErr;
    const auto found = gBPFake.blocks.find(name);
    if (found == gBPFake.blocks.end()) return bpFileNotFoundErr;
    if (found->second.byteCount == 0 || found->second.byteCount < minimumBytes) return bpParamErr;
    MapBlock(name, found->second, memory);
    return bpNoErr;
}

void SharedClose(BPSharedMemory* memory)
{
    BPFakeEnter(bpFakeSharedClose);
    const auto found = gBPFakeHandles.mappings.find(memory->handle);
    *memory = {};
    if (found == gBPFakeHandles.mappings.end()) return;
    const auto& [name, mapped] = found->second;
    if (const auto named = gBPFake.blocks.find(name);
        named != gBPFake.blocks.end() && named->second.bytes == mapped.bytes) {
        named->second.atLastClose.assign(mapped.bytes.get(), mapped.bytes.get() + mapped.byteCount);
    }
    gBPFakeHandles.mappings.erase(found);
    gBPFake.openMappings = static_cast<uint32_t>(gBPFakeHandles.mappings.size());
}

bool SharedIsWhole(const BPSharedMemory* memory)
{
    BPFakeEnter(bpFakeSharedIsWhole);
    const auto found = gBPFakeHandles.mappings.find(memory->handle);
    if (found == gBPFakeHandles.mappings.end()) return false;
    const auto& [name, mapped] = found->second;
    const auto named = gBPFake.blocks.find(name);
    return named != gBPFake.blocks.end() && named->second.bytes == mapped.bytes &&
           named->second.byteCount >= mapped.byteCount;
}

BPStatus SharedRemove(const char* name)
{
    if (BPStatus err = BPFakeEnter(bpFakeSharedRemove, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name)) return bpParamErr;
    return gBPFake.blocks.erase(name) == 1 ? bpNoErr : bpFileNotFoundErr;
}

BPStatus SharedRemoveMapped(const char* name, const BPSharedMemory* memory)
{
    if (BPStatus err = BPFakeEnter(bpFakeSharedRemove, bpFileNotFoundErr); err != bpNoErr) return err;
    const auto found = gBPFakeHandles.mappings.find(memory->handle);
    if (!BPFakeIsPlainName(name) || found == gBPFakeHandles.mappings.end()) return bpParamErr;
    const auto named = gBPFake.blocks.find(name);
    if (named == gBPFake.blocks.end() || named->second.bytes != found->second.second.bytes) return bpFileNotFoundErr;
    gBPFake.blocks.erase(named);
    return bpNoErr;
}

// Clock.

double WallSeconds()
{
    BPFakeEnter(bpFakeWallSeconds);
    return gBPFake.wallSeconds;
}

uint64_t MonotonicMs()
{
    BPFakeEnter(bpFakeMonotonicMs);
    return gBPFake.monotonicMs;
}

void SleepMs(uint32_t milliseconds)
{
    BPFakeEnter(bpFakeSleepMs);
    BPFakeSleep(milliseconds);
}

// Frame channel.

BPStatus ChannelListen(const char* name, BPFrameChannel* channel)
{
    channel->handle = 0;
    if (BPStatus err = BPFakeEnter(bpFakeChannelListen, bpParamErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name)) return bpParamErr;
    if (!gBPFake.channelName.empty()) return bpFileExistsErr;
    gBPFake.channelName = name;
    gBPFakeHandles.channel = ++gBPFakeHandles.last;
    channel->handle = gBPFakeHandles.channel;
    return bpNoErr;
}

BPStatus ChannelReceive(BPFrameChannel* channel, uint32_t wantedWord, uint32_t maximumBytes, BPFrameMessage* message)
{
    *message = {};
    if (BPStatus err = BPFakeEnter(bpFakeChannelReceive, bpNotFoundErr); err != bpNoErr) return err;
    if (channel->handle == 0 || channel->handle != gBPFakeHandles.channel) return bpParamErr;
    if (gBPFake.messages.empty()) return bpNotFoundErr;
    const BPFakeMessage taken = std::move(gBPFake.messages.front());
    gBPFake.messages.pop_front();
    message->dataWord = taken.dataWord;
    message->byteCount = taken.byteCount;
    const bool wanted = taken.dataWord == wantedWord && taken.byteCount > 0 && taken.byteCount <= maximumBytes &&
                        taken.byteCount <= taken.bytes.size();
    if (!wanted) return bpNoErr;
    message->bytes = static_cast<uint8_t*>(BPAllocate(taken.byteCount));
    if (message->bytes != nullptr) memcpy(message->bytes, taken.bytes.data(), taken.byteCount);
    return bpNoErr;
}

void ChannelRelease(BPFrameChannel* channel)
{
    BPFakeEnter(bpFakeChannelRelease);
    if (channel->handle == 0 || channel->handle != gBPFakeHandles.channel) return;
    gBPFake.releases++;
    gBPFakeHandles.requestEnds++;
    gBPFake.messages.clear();
}

void ChannelClose(BPFrameChannel* channel)
{
    BPFakeEnter(bpFakeChannelClose);
    if (channel->handle != 0 && channel->handle == gBPFakeHandles.channel) {
        gBPFake.channelName.clear();
        gBPFake.messages.clear();
        gBPFakeHandles.channel = 0;
        gBPFakeHandles.requestEnds++;
    }
    channel->handle = 0;
}

BPStatus ChannelConnect(const char* name, BPFrameConnection* connection)
{
    connection->handle = 0;
    if (BPStatus err = BPFakeEnter(bpFakeChannelConnect, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name)) return bpParamErr;
    if (gBPFake.channelName != name) return bpFileNotFoundErr;
    connection->handle = ++gBPFakeHandles.last;
    gBPFakeHandles.connections[connection->handle] = gBPFakeHandles.requestEnds;
    return bpNoErr;
}

bool HasEnded(const BPFrameConnection* connection)
{
    return gBPFakeHandles.requestEnds > gBPFakeHandles.connections[connection->handle];
}

BPStatus ChannelSend(BPFrameConnection* connection, uint32_t dataWord, const void* bytes, uint32_t byteCount)
{
    if (BPStatus err = BPFakeEnter(bpFakeChannelSend, bpMemFullErr); err != bpNoErr) return err;
    if (!gBPFakeHandles.connections.contains(connection->handle)) return bpParamErr;
    if (bytes == nullptr && byteCount > 0) return bpParamErr;
    if (HasEnded(connection)) return bpEndOfFileErr;
    BPFakeQueueMessage(dataWord, bytes, byteCount);
    return bpNoErr;
}

BPStatus ChannelAwaitEnd(BPFrameConnection* connection, uint32_t timeoutMs)
{
    if (BPStatus err = BPFakeEnter(bpFakeChannelAwaitEnd, bpNotFoundErr); err != bpNoErr) return err;
    if (!gBPFakeHandles.connections.contains(connection->handle)) return bpParamErr;
    if (!HasEnded(connection)) BPFakeSleep(timeoutMs);
    return HasEnded(connection) ? bpNoErr : bpNotFoundErr;
}

void ChannelDisconnect(BPFrameConnection* connection)
{
    BPFakeEnter(bpFakeChannelDisconnect);
    gBPFakeHandles.connections.erase(connection->handle);
    connection->handle = 0;
}

// Processes.

uint32_t CurrentId()
{
    BPFakeEnter(bpFakeCurrentId);
    return gBPFake.currentId;
}

uint32_t ProcessorCount()
{
    BPFakeEnter(bpFakeProcessorCount);
    return gBPFake.processorCount;
}

bool ProcessorSuffices()
{
    BPFakeEnter(bpFakeProcessorSuffices);
    return gBPFake.processorSuffices;
}

BPStatus Watch(uint32_t processId, BPProcessWatch* watch)
{
    watch->handle = 0;
    if (BPStatus err = BPFakeEnter(bpFakeWatch, bpNotFoundErr); err != bpNoErr) return err;
    if (!gBPFake.alive.contains(processId)) return bpNotFoundErr;
    watch->handle = ++gBPFakeHandles.last;
    gBPFakeHandles.watches[watch->handle] = processId;
    gBPFake.openWatches = static_cast<uint32_t>(gBPFakeHandles.watches.size());
    return bpNoErr;
}

bool IsAlive(const BPProcessWatch* watch)
{
    BPFakeEnter(bpFakeIsAlive);
    const auto watched = gBPFakeHandles.watches.find(watch->handle);
    if (watched == gBPFakeHandles.watches.end()) return false;
    const auto process = gBPFake.alive.find(watched->second);
    return process != gBPFake.alive.end() && process->second;
}

void Unwatch(BPProcessWatch* watch)
{
    BPFakeEnter(bpFakeUnwatch);
    gBPFakeHandles.watches.erase(watch->handle);
    gBPFake.openWatches = static_cast<uint32_t>(gBPFakeHandles.watches.size());
    watch->handle = 0;
}

BPStatus Spawn(const char* const* arguments, uint32_t* processId)
{
    *processId = 0;
    if (BPStatus err = BPFakeEnter(bpFakeSpawn, bpFileNotFoundErr); err != bpNoErr) return err;
    if (arguments == nullptr || arguments[0] == nullptr) return bpParamErr;
    std::vector<std::string> words;
    for (const char* const* word = arguments; *word != nullptr; ++word) words.emplace_back(*word);
    gBPFake.spawned.push_back(std::move(words));
    *processId = gBPFake.nextProcessId++;
    gBPFake.alive[*processId] = true;
    return bpNoErr;
}

BPStatus Reap(uint32_t processId, int32_t* exitCode)
{
    if (BPStatus err = BPFakeEnter(bpFakeReap, bpNotFoundErr); err != bpNoErr) return err;
    const auto found = gBPFake.exitCodes.find(processId);
    if (found == gBPFake.exitCodes.end()) return bpNotFoundErr;
    *exitCode = found->second;
    gBPFake.exitCodes.erase(found);
    gBPFake.alive.erase(processId);
    return bpNoErr;
}

bool EndRequested()
{
    BPFakeEnter(bpFakeEndRequested);
    return gBPFake.endRequested;
}

} // namespace

uint8_t* BPFakeMakeBlock(const char* name, uint64_t byteCount)
{
    gBPFake.blocks[name] = NewBlock(byteCount);
    return gBPFake.blocks[name].bytes.get();
}

bool BPFakeWrittenSinceClose(const char* name)
{
    const auto found = gBPFake.blocks.find(name);
    if (found == gBPFake.blocks.end() || found->second.atLastClose.empty()) return false;
    const BPFakeBlock& block = found->second;
    return memcmp(block.bytes.get(), block.atLastClose.data(), block.atLastClose.size()) != 0;
}

void BPFakeQueueMessage(uint32_t dataWord, const void* bytes, uint32_t byteCount)
{
    const uint8_t* first = static_cast<const uint8_t*>(bytes);
    BPFakeMessage message = {.dataWord = dataWord, .byteCount = byteCount, .bytes = {}};
    if (byteCount > 0) message.bytes.assign(first, first + byteCount);
    gBPFake.messages.push_back(std::move(message));
}

void BPFillFakeHost(BPPlatform* platform)
{
    platform->sharedMemory = {.create = SharedCreate,
                              .open = SharedOpen,
                              .close = SharedClose,
                              .isWhole = SharedIsWhole,
                              .remove = SharedRemove,
                              .removeMapped = SharedRemoveMapped};
    platform->frameChannel = {.listen = ChannelListen,
                              .receive = ChannelReceive,
                              .release = ChannelRelease,
                              .close = ChannelClose,
                              .connect = ChannelConnect,
                              .send = ChannelSend,
                              .awaitEnd = ChannelAwaitEnd,
                              .disconnect = ChannelDisconnect};
    platform->process = {.currentId = CurrentId,
                         .processorCount = ProcessorCount,
                         .processorSuffices = ProcessorSuffices,
                         .watch = Watch,
                         .isAlive = IsAlive,
                         .unwatch = Unwatch,
                         .spawn = Spawn,
                         .reap = Reap,
                         .endRequested = EndRequested};
    platform->clock = {.wallSeconds = WallSeconds, .monotonicMs = MonotonicMs, .sleepMs = SleepMs};
}
