// The fakes. Each operation first counts itself, lets the test's hook run, and asks whether it shall fail.
#include "src/platform/fake/BPFake.h"

#include "src/platform/BPLog.h"
#include "src/platform/BPMemory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

BPFakeState gBPFake;

namespace {

constexpr size_t kPageBytes = 4096;
constexpr size_t kNameLimit = 63;

/// What stands behind the handles. Handles are never used twice, so a stale one is found out.
struct OpenStore {
    std::string name;
    bool inTransaction = false;
    BPStatus firstError = bpNoErr;
    BPFakeStore before; // as it was at begin
};

struct Handles {
    uint64_t last = 0;
    std::map<uint64_t, std::pair<std::string, BPFakeBlock>> mappings;
    std::map<uint64_t, uint32_t> watches;
    std::map<uint64_t, OpenStore> stores;
    std::map<uint64_t, std::string> stateFiles; // names
    std::map<uint64_t, uint32_t> connections;   // requestEnds when it was made: more since then have ended it
    uint32_t requestEnds = 0;                   // releases, and closings of the channel
    uint64_t channel = 0;
};

Handles gHandles;
std::mutex gLogMutex;
bool gCapturing = false;

void Enter(BPFakeOp op)
{
    gBPFake.calls[op]++;
    if (op != bpFakeWallSeconds && op != bpFakeMonotonicMs && op != bpFakeSharedIsWhole) gBPFake.journal.push_back(op);
    if (gBPFake.onCall != nullptr) gBPFake.onCall(gBPFake.hookContext, op);
}

/// Enters and tells the scripted failure of this call, bpNoErr when there is none.
BPStatus Enter(BPFakeOp op, BPStatus usualError)
{
    Enter(op);
    const uint32_t call = gBPFake.calls[op];
    const bool fails = call == gBPFake.failCall[op] || (gBPFake.failFrom[op] != 0 && call >= gBPFake.failFrom[op]);
    if (!fails) return bpNoErr;
    return gBPFake.failStatus[op] != bpNoErr ? gBPFake.failStatus[op] : usualError;
}

bool IsPlainName(const char* name)
{
    if (name == nullptr || name[0] == 0 || strlen(name) > kNameLimit) return false;
    return strchr(name, '/') == nullptr && strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

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
    gHandles.mappings[++gHandles.last] = {name,
                                          {.bytes = block.bytes, .byteCount = block.byteCount, .atLastClose = {}}};
    gBPFake.openMappings = static_cast<uint32_t>(gHandles.mappings.size());
    *memory = {.handle = gHandles.last, .address = block.bytes.get(), .byteCount = block.byteCount};
}

BPStatus SharedCreate(const char* name, uint64_t byteCount, BPSharedMemory* memory)
{
    *memory = {};
    if (BPStatus err = Enter(bpFakeSharedCreate, bpMemFullErr); err != bpNoErr) return err;
    if (!IsPlainName(name) || byteCount == 0) return bpParamErr;
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
    if (BPStatus err = Enter(bpFakeSharedOpen, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!IsPlainName(name)) return bpParamErr;
    const auto found = gBPFake.blocks.find(name);
    if (found == gBPFake.blocks.end()) return bpFileNotFoundErr;
    if (found->second.byteCount == 0 || found->second.byteCount < minimumBytes) return bpParamErr;
    MapBlock(name, found->second, memory);
    return bpNoErr;
}

void SharedClose(BPSharedMemory* memory)
{
    Enter(bpFakeSharedClose);
    const auto found = gHandles.mappings.find(memory->handle);
    *memory = {};
    if (found == gHandles.mappings.end()) return;
    const auto& [name, mapped] = found->second;
    if (const auto named = gBPFake.blocks.find(name);
        named != gBPFake.blocks.end() && named->second.bytes == mapped.bytes) {
        named->second.atLastClose.assign(mapped.bytes.get(), mapped.bytes.get() + mapped.byteCount);
    }
    gHandles.mappings.erase(found);
    gBPFake.openMappings = static_cast<uint32_t>(gHandles.mappings.size());
}

bool SharedIsWhole(const BPSharedMemory* memory)
{
    Enter(bpFakeSharedIsWhole);
    const auto found = gHandles.mappings.find(memory->handle);
    if (found == gHandles.mappings.end()) return false;
    const auto& [name, mapped] = found->second;
    const auto named = gBPFake.blocks.find(name);
    return named != gBPFake.blocks.end() && named->second.bytes == mapped.bytes &&
           named->second.byteCount >= mapped.byteCount;
}

BPStatus SharedRemove(const char* name)
{
    if (BPStatus err = Enter(bpFakeSharedRemove, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!IsPlainName(name)) return bpParamErr;
    return gBPFake.blocks.erase(name) == 1 ? bpNoErr : bpFileNotFoundErr;
}

BPStatus SharedRemoveMapped(const char* name, const BPSharedMemory* memory)
{
    if (BPStatus err = Enter(bpFakeSharedRemove, bpFileNotFoundErr); err != bpNoErr) return err;
    const auto found = gHandles.mappings.find(memory->handle);
    if (!IsPlainName(name) || found == gHandles.mappings.end()) return bpParamErr;
    const auto named = gBPFake.blocks.find(name);
    if (named == gBPFake.blocks.end() || named->second.bytes != found->second.second.bytes) return bpFileNotFoundErr;
    gBPFake.blocks.erase(named);
    return bpNoErr;
}

// Clock. It stands before the channel, whose waits move it.

double WallSeconds()
{
    Enter(bpFakeWallSeconds);
    return gBPFake.wallSeconds;
}

uint64_t MonotonicMs()
{
    Enter(bpFakeMonotonicMs);
    return gBPFake.monotonicMs;
}

void Sleep(uint32_t milliseconds)
{
    gBPFake.sleeps.push_back(milliseconds);
    if (gBPFake.sleeps.size() > gBPFake.sleepLimit) {
        fprintf(stderr, "BPFake: more than %zu sleeps; the code under test waits forever\n", gBPFake.sleepLimit);
        abort();
    }
    gBPFake.wallSeconds += milliseconds / 1000.0;
    gBPFake.monotonicMs += milliseconds;
    if (gBPFake.onSleep != nullptr) gBPFake.onSleep(gBPFake.hookContext, milliseconds);
}

void SleepMs(uint32_t milliseconds)
{
    Enter(bpFakeSleepMs);
    Sleep(milliseconds);
}

// Frame channel.

BPStatus ChannelListen(const char* name, BPFrameChannel* channel)
{
    channel->handle = 0;
    if (BPStatus err = Enter(bpFakeChannelListen, bpParamErr); err != bpNoErr) return err;
    if (!IsPlainName(name)) return bpParamErr;
    if (!gBPFake.channelName.empty()) return bpFileExistsErr;
    gBPFake.channelName = name;
    gHandles.channel = ++gHandles.last;
    channel->handle = gHandles.channel;
    return bpNoErr;
}

BPStatus ChannelReceive(BPFrameChannel* channel, uint32_t wantedWord, uint32_t maximumBytes, BPFrameMessage* message)
{
    *message = {};
    if (BPStatus err = Enter(bpFakeChannelReceive, bpNotFoundErr); err != bpNoErr) return err;
    if (channel->handle == 0 || channel->handle != gHandles.channel) return bpParamErr;
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
    Enter(bpFakeChannelRelease);
    if (channel->handle == 0 || channel->handle != gHandles.channel) return;
    gBPFake.releases++;
    gHandles.requestEnds++;
    gBPFake.messages.clear();
}

void ChannelClose(BPFrameChannel* channel)
{
    Enter(bpFakeChannelClose);
    if (channel->handle != 0 && channel->handle == gHandles.channel) {
        gBPFake.channelName.clear();
        gBPFake.messages.clear();
        gHandles.channel = 0;
        gHandles.requestEnds++;
    }
    channel->handle = 0;
}

BPStatus ChannelConnect(const char* name, BPFrameConnection* connection)
{
    connection->handle = 0;
    if (BPStatus err = Enter(bpFakeChannelConnect, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!IsPlainName(name)) return bpParamErr;
    if (gBPFake.channelName != name) return bpFileNotFoundErr;
    connection->handle = ++gHandles.last;
    gHandles.connections[connection->handle] = gHandles.requestEnds;
    return bpNoErr;
}

bool HasEnded(const BPFrameConnection* connection)
{
    return gHandles.requestEnds > gHandles.connections[connection->handle];
}

BPStatus ChannelSend(BPFrameConnection* connection, uint32_t dataWord, const void* bytes, uint32_t byteCount)
{
    if (BPStatus err = Enter(bpFakeChannelSend, bpMemFullErr); err != bpNoErr) return err;
    if (!gHandles.connections.contains(connection->handle)) return bpParamErr;
    if (bytes == nullptr && byteCount > 0) return bpParamErr;
    if (HasEnded(connection)) return bpEndOfFileErr;
    BPFakeQueueMessage(dataWord, bytes, byteCount);
    return bpNoErr;
}

BPStatus ChannelAwaitEnd(BPFrameConnection* connection, uint32_t timeoutMs)
{
    if (BPStatus err = Enter(bpFakeChannelAwaitEnd, bpNotFoundErr); err != bpNoErr) return err;
    if (!gHandles.connections.contains(connection->handle)) return bpParamErr;
    if (!HasEnded(connection)) Sleep(timeoutMs);
    return HasEnded(connection) ? bpNoErr : bpNotFoundErr;
}

void ChannelDisconnect(BPFrameConnection* connection)
{
    Enter(bpFakeChannelDisconnect);
    gHandles.connections.erase(connection->handle);
    connection->handle = 0;
}

// Processes.

uint32_t CurrentId()
{
    Enter(bpFakeCurrentId);
    return gBPFake.currentId;
}

uint32_t ProcessorCount()
{
    Enter(bpFakeProcessorCount);
    return gBPFake.processorCount;
}

bool ProcessorSuffices()
{
    Enter(bpFakeProcessorSuffices);
    return gBPFake.processorSuffices;
}

BPStatus Watch(uint32_t processId, BPProcessWatch* watch)
{
    watch->handle = 0;
    if (BPStatus err = Enter(bpFakeWatch, bpNotFoundErr); err != bpNoErr) return err;
    if (!gBPFake.alive.contains(processId)) return bpNotFoundErr;
    watch->handle = ++gHandles.last;
    gHandles.watches[watch->handle] = processId;
    gBPFake.openWatches = static_cast<uint32_t>(gHandles.watches.size());
    return bpNoErr;
}

bool IsAlive(const BPProcessWatch* watch)
{
    Enter(bpFakeIsAlive);
    const auto watched = gHandles.watches.find(watch->handle);
    if (watched == gHandles.watches.end()) return false;
    const auto process = gBPFake.alive.find(watched->second);
    return process != gBPFake.alive.end() && process->second;
}

void Unwatch(BPProcessWatch* watch)
{
    Enter(bpFakeUnwatch);
    gHandles.watches.erase(watch->handle);
    gBPFake.openWatches = static_cast<uint32_t>(gHandles.watches.size());
    watch->handle = 0;
}

BPStatus Spawn(const char* const* arguments, uint32_t* processId)
{
    *processId = 0;
    if (BPStatus err = Enter(bpFakeSpawn, bpFileNotFoundErr); err != bpNoErr) return err;
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
    if (BPStatus err = Enter(bpFakeReap, bpNotFoundErr); err != bpNoErr) return err;
    const auto found = gBPFake.exitCodes.find(processId);
    if (found == gBPFake.exitCodes.end()) return bpNotFoundErr;
    *exitCode = found->second;
    gBPFake.exitCodes.erase(found);
    gBPFake.alive.erase(processId);
    return bpNoErr;
}

// Keyed store.

OpenStore* FindStore(const BPKeyedStore* store)
{
    const auto found = gHandles.stores.find(store->handle);
    return found == gHandles.stores.end() ? nullptr : &found->second;
}

BPStatus StoreOpen(const char* name, BPKeyedStore* store)
{
    store->handle = 0;
    if (BPStatus err = Enter(bpFakeStoreOpen, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!IsPlainName(name)) return bpParamErr;
    gBPFake.stores[name];
    store->handle = ++gHandles.last;
    gHandles.stores[store->handle].name = name;
    gBPFake.openStores = static_cast<uint32_t>(gHandles.stores.size());
    return bpNoErr;
}

void StoreClose(BPKeyedStore* store)
{
    Enter(bpFakeStoreClose);
    if (OpenStore* open = FindStore(store); open != nullptr && open->inTransaction) {
        gBPFake.stores[open->name] = open->before;
    }
    gHandles.stores.erase(store->handle);
    gBPFake.openStores = static_cast<uint32_t>(gHandles.stores.size());
    store->handle = 0;
}

/// Finds a value of the kind; the scripted failure of `op` comes first.
BPStatus FindValue(BPFakeOp op, const BPKeyedStore* store, const char* name, BPFakeKind kind, const BPFakeValue** value)
{
    if (BPStatus err = Enter(op, bpNotFoundErr); err != bpNoErr) return err;
    const OpenStore* open = FindStore(store);
    if (open == nullptr || name == nullptr) return bpParamErr;
    const BPFakeStore& values = gBPFake.stores[open->name];
    const auto found = values.find(name);
    if (found == values.end() || found->second.kind != kind) return bpNotFoundErr;
    *value = &found->second;
    return bpNoErr;
}

BPStatus ReadNumber(BPKeyedStore* store, const char* name, uint32_t* value)
{
    const BPFakeValue* found = nullptr;
    if (BPStatus err = FindValue(bpFakeReadNumber, store, name, bpFakeNumber, &found); err != bpNoErr) return err;
    *value = found->number;
    return bpNoErr;
}

BPStatus ReadString(BPKeyedStore* store, const char* name, char* text, uint32_t capacity)
{
    const BPFakeValue* found = nullptr;
    if (BPStatus err = FindValue(bpFakeReadString, store, name, bpFakeString, &found); err != bpNoErr) return err;
    if (capacity == 0) return bpParamErr;
    const size_t length = std::min<size_t>(found->text.size(), capacity - 1);
    memcpy(text, found->text.data(), length);
    text[length] = 0;
    return bpNoErr;
}

BPStatus ReadBlock(BPKeyedStore* store, const char* name, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    const BPFakeValue* found = nullptr;
    if (BPStatus err = FindValue(bpFakeReadBlock, store, name, bpFakeBlob, &found); err != bpNoErr) return err;
    if (bytes == nullptr && capacity > 0) return bpParamErr;
    const size_t copied = std::min<size_t>(found->block.size(), capacity);
    if (copied > 0) memcpy(bytes, found->block.data(), copied);
    *byteCount = static_cast<uint32_t>(found->block.size());
    return bpNoErr;
}

BPStatus WriteValue(BPFakeOp op, BPKeyedStore* store, const char* name, BPFakeValue value)
{
    BPStatus status = Enter(op, bpDiskFullErr);
    OpenStore* open = FindStore(store);
    if (open == nullptr || name == nullptr) return bpParamErr;
    if (status == bpNoErr) gBPFake.stores[open->name][name] = std::move(value);
    if (open->inTransaction && open->firstError == bpNoErr) open->firstError = status;
    return status;
}

BPStatus WriteNumber(BPKeyedStore* store, const char* name, uint32_t value)
{
    return WriteValue(bpFakeWriteNumber, store, name, {.kind = bpFakeNumber, .number = value, .text = {}, .block = {}});
}

BPStatus WriteString(BPKeyedStore* store, const char* name, const char* text)
{
    if (text == nullptr) return bpParamErr;
    return WriteValue(bpFakeWriteString, store, name, {.kind = bpFakeString, .number = 0, .text = text, .block = {}});
}

BPStatus WriteBlock(BPKeyedStore* store, const char* name, const void* bytes, uint32_t byteCount)
{
    if (bytes == nullptr && byteCount > 0) return bpParamErr;
    const uint8_t* first = static_cast<const uint8_t*>(bytes);
    BPFakeValue value = {.kind = bpFakeBlob, .number = 0, .text = {}, .block = {}};
    if (byteCount > 0) value.block.assign(first, first + byteCount);
    return WriteValue(bpFakeWriteBlock, store, name, std::move(value));
}

BPStatus Begin(BPKeyedStore* store)
{
    if (BPStatus err = Enter(bpFakeBegin, bpFileBusyErr); err != bpNoErr) return err;
    OpenStore* open = FindStore(store);
    if (open == nullptr || open->inTransaction) return bpParamErr;
    open->inTransaction = true;
    open->firstError = bpNoErr;
    open->before = gBPFake.stores[open->name];
    return bpNoErr;
}

BPStatus Commit(BPKeyedStore* store)
{
    BPStatus status = Enter(bpFakeCommit, bpDiskFullErr);
    OpenStore* open = FindStore(store);
    if (open == nullptr || !open->inTransaction) return bpParamErr;
    open->inTransaction = false;
    if (status == bpNoErr) status = open->firstError;
    if (status != bpNoErr) gBPFake.stores[open->name] = open->before;
    return status;
}

// State files.

std::vector<uint8_t>* FindStateFile(const BPStateFile* file)
{
    const auto open = gHandles.stateFiles.find(file->handle);
    if (open == gHandles.stateFiles.end()) return nullptr;
    const auto found = gBPFake.stateFiles.find(open->second);
    return found == gBPFake.stateFiles.end() ? nullptr : &found->second;
}

BPStatus StateOpen(const char* name, bool create, BPStateFile* file)
{
    file->handle = 0;
    if (BPStatus err = Enter(bpFakeStateOpen, bpPermissionErr); err != bpNoErr) return err;
    if (!IsPlainName(name)) return bpParamErr;
    if (!create && !gBPFake.stateFiles.contains(name)) return bpFileNotFoundErr;
    if (gBPFake.stateHeldElsewhere == name) return bpFileBusyErr;
    for (const auto& [handle, held] : gHandles.stateFiles)
        if (held == name) return bpFileBusyErr;
    gBPFake.stateFiles[name];
    file->handle = ++gHandles.last;
    gHandles.stateFiles[file->handle] = name;
    gBPFake.openStateFiles = static_cast<uint32_t>(gHandles.stateFiles.size());
    return bpNoErr;
}

BPStatus StateRead(BPStateFile* file, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    *byteCount = 0;
    if (BPStatus err = Enter(bpFakeStateRead, bpParamErr); err != bpNoErr) return err;
    const std::vector<uint8_t>* content = FindStateFile(file);
    if (content == nullptr || (bytes == nullptr && capacity > 0)) return bpParamErr;
    const size_t copied = std::min<size_t>(content->size(), capacity);
    if (copied > 0) memcpy(bytes, content->data(), copied);
    *byteCount = static_cast<uint32_t>(content->size());
    return bpNoErr;
}

BPStatus StateWrite(BPStateFile* file, uint64_t position, const void* bytes, uint32_t byteCount)
{
    if (BPStatus err = Enter(bpFakeStateWrite, bpDiskFullErr); err != bpNoErr) return err;
    std::vector<uint8_t>* content = FindStateFile(file);
    if (content == nullptr || (bytes == nullptr && byteCount > 0) || position > 1u << 30) return bpParamErr;
    uint64_t used = 0;
    for (const auto& [name, other] : gBPFake.stateFiles)
        if (&other != content) used += other.size();
    const uint64_t room = gBPFake.stateRoom > used ? gBPFake.stateRoom - used : 0;
    const uint64_t end = std::min<uint64_t>(position + byteCount, std::max<uint64_t>(room, content->size()));
    if (end > content->size()) content->resize(static_cast<size_t>(end));
    if (end > position) memcpy(content->data() + position, bytes, static_cast<size_t>(end - position));
    return end == position + byteCount ? bpNoErr : bpDiskFullErr;
}

void StateClose(BPStateFile* file)
{
    Enter(bpFakeStateClose);
    gHandles.stateFiles.erase(file->handle);
    gBPFake.openStateFiles = static_cast<uint32_t>(gHandles.stateFiles.size());
    file->handle = 0;
}

void StateDiscard(BPStateFile* file)
{
    Enter(bpFakeStateDiscard);
    if (const auto open = gHandles.stateFiles.find(file->handle); open != gHandles.stateFiles.end())
        gBPFake.stateFiles.erase(open->second);
    gHandles.stateFiles.erase(file->handle);
    gBPFake.openStateFiles = static_cast<uint32_t>(gHandles.stateFiles.size());
    file->handle = 0;
}

void StatePrune(const char* suffix, uint32_t limit)
{
    Enter(bpFakeStatePrune);
    gBPFake.statePruned.push_back(std::string(suffix) + " " + std::to_string(limit));
}

// Keyboard, alerts, clipboard, screens.

uint32_t ModifierWord()
{
    Enter(bpFakeModifierWord);
    return gBPFake.modifierWord;
}

bool MouseButtonDown()
{
    Enter(bpFakeMouseButtonDown);
    return gBPFake.mouseButtonDown;
}

void Alert(BPSeverity severity, const char* text)
{
    Enter(bpFakeAlert);
    gBPFake.alerts.push_back({.severity = severity, .title = {}, .text = text});
}

void MessageBox(const char* title, const char* text)
{
    Enter(bpFakeMessageBox);
    gBPFake.alerts.push_back({.severity = bpStop, .title = title, .text = text});
}

void Beep()
{
    Enter(bpFakeBeep);
    gBPFake.beeps++;
}

BPStatus ClipboardPut(const char* format, const void* bytes, uint32_t byteCount)
{
    gBPFake.clipboardFormat.clear();
    gBPFake.clipboard.clear();
    if (BPStatus err = Enter(bpFakeClipboardPut, bpMemFullErr); err != bpNoErr) return err;
    if (format == nullptr || format[0] == 0 || (bytes == nullptr && byteCount > 0)) return bpParamErr;
    const uint8_t* first = static_cast<const uint8_t*>(bytes);
    gBPFake.clipboardFormat = format;
    if (byteCount > 0) gBPFake.clipboard.assign(first, first + byteCount);
    return bpNoErr;
}

bool ClipboardHas(const char* format)
{
    Enter(bpFakeClipboardHas);
    return format != nullptr && format[0] != 0 && gBPFake.clipboardFormat == format;
}

BPStatus ClipboardGet(const char* format, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    *byteCount = 0;
    if (BPStatus err = Enter(bpFakeClipboardGet, bpNotFoundErr); err != bpNoErr) return err;
    if (format == nullptr || format[0] == 0 || gBPFake.clipboardFormat != format) return bpNotFoundErr;
    const size_t copied = std::min<size_t>(gBPFake.clipboard.size(), capacity);
    if (copied > 0) memcpy(bytes, gBPFake.clipboard.data(), copied);
    *byteCount = static_cast<uint32_t>(gBPFake.clipboard.size());
    return bpNoErr;
}

uint32_t ScreenCount()
{
    Enter(bpFakeScreenCount);
    return static_cast<uint32_t>(gBPFake.screens.size());
}

BPStatus ScreenBounds(uint32_t index, BPRect* bounds)
{
    *bounds = {};
    if (BPStatus err = Enter(bpFakeScreenBounds, bpNotFoundErr); err != bpNoErr) return err;
    if (index >= gBPFake.screens.size()) return bpParamErr;
    *bounds = gBPFake.screens[index];
    return bpNoErr;
}

BPStatus ScreenWorkArea(BPRect* area)
{
    *area = {};
    if (BPStatus err = Enter(bpFakeScreenWorkArea, bpNotFoundErr); err != bpNoErr) return err;
    if (gBPFake.screens.empty()) return bpNotFoundErr;
    *area = gBPFake.workArea;
    return bpNoErr;
}

void AllowForeground(uint32_t processId)
{
    Enter(bpFakeAllowForeground);
    gBPFake.allowedForeground.push_back(processId);
}

BPStatus Opened(BPFakeOp op, BPStatus usualError, const char* what)
{
    if (BPStatus err = Enter(op, usualError); err != bpNoErr) return err;
    gBPFake.opened.emplace_back(what);
    return bpNoErr;
}

BPStatus ShellOpenFile(const char* path)
{
    return Opened(bpFakeShellOpenFile, bpFileNotFoundErr, path);
}

BPStatus ShellOpenAddress(const char* address)
{
    return Opened(bpFakeShellOpenAddress, bpNotFoundErr, address);
}

// Dialogs for files and names.

const char* TextOf(const char* text)
{
    return text ? text : "";
}

bool Answer(std::string* text)
{
    text->clear();
    if (gBPFake.fileAnswers.empty()) return false;
    *text = gBPFake.fileAnswers.front();
    gBPFake.fileAnswers.pop_front();
    return true;
}

bool AskFile(BPFakeOp op, const BPFileQuestion& question, std::string* path)
{
    path->clear();
    if (Enter(op, bpNotFoundErr) != bpNoErr) return false;
    BPFakeFileQuestion shown = {.op = op,
                                .title = TextOf(question.title),
                                .button = TextOf(question.button),
                                .filter = TextOf(question.filter),
                                .defaultName = TextOf(question.defaultName),
                                .defaultExtension = TextOf(question.defaultExtension)};
    for (size_t i = 0; i < question.typeCount; ++i)
        shown.types.push_back(std::string(question.types[i].extension) + " " + question.types[i].description);
    gBPFake.fileQuestions.push_back(shown);
    return Answer(path) && !path->empty();
}

bool FileOpen(const BPFileQuestion& question, std::string* path)
{
    return AskFile(bpFakeFileOpen, question, path);
}

bool FileSave(const BPFileQuestion& question, std::string* path)
{
    return AskFile(bpFakeFileSave, question, path);
}

bool AskName(const char* title, const char* suggestion, int32_t* h, int32_t* v, std::string* name)
{
    name->clear();
    if (Enter(bpFakeAskName, bpNotFoundErr) != bpNoErr) return false;
    gBPFake.fileQuestions.push_back({.op = bpFakeAskName,
                                     .title = title,
                                     .button = "",
                                     .filter = "",
                                     .defaultName = suggestion,
                                     .defaultExtension = "",
                                     .h = *h,
                                     .v = *v});
    *h = gBPFake.nameWindowH;
    *v = gBPFake.nameWindowV;
    return Answer(name);
}

// The log.

void KeepLine(void*, const char* bytes, size_t byteCount)
{
    const std::lock_guard lock(gLogMutex);
    gBPFake.log.append(bytes, byteCount);
}

void KeepReport(void*, const char* title, const char* text)
{
    const std::lock_guard lock(gLogMutex);
    gBPFake.reports.push_back({.severity = bpStop, .title = title, .text = text});
}

} // namespace

void BPFakeReset()
{
    if (gCapturing) {
        BPSetLogSink(nullptr, nullptr);
        BPSetReportHandler(nullptr, nullptr);
        gCapturing = false;
    }
    const uint64_t last = gHandles.last;
    gHandles = {};
    gHandles.last = last;
    gBPFake = {};
}

void BPFakeCaptureLog()
{
    gCapturing = true;
    BPSetLogSink(KeepLine, nullptr);
    BPSetReportHandler(KeepReport, nullptr);
}

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

void BPFillFakePlatform(BPPlatform* platform)
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
                         .reap = Reap};
    platform->clock = {.wallSeconds = WallSeconds, .monotonicMs = MonotonicMs, .sleepMs = SleepMs};
    platform->keyedStore = {.open = StoreOpen,
                            .close = StoreClose,
                            .readNumber = ReadNumber,
                            .readString = ReadString,
                            .readBlock = ReadBlock,
                            .writeNumber = WriteNumber,
                            .writeString = WriteString,
                            .writeBlock = WriteBlock,
                            .begin = Begin,
                            .commit = Commit};
    platform->stateFile = {.open = StateOpen,
                           .read = StateRead,
                           .write = StateWrite,
                           .close = StateClose,
                           .discard = StateDiscard,
                           .prune = StatePrune};
    platform->keyboard = {.modifierWord = ModifierWord, .mouseButtonDown = MouseButtonDown};
    platform->alert = {.alert = Alert, .messageBox = MessageBox, .beep = Beep};
    platform->clipboard = {.put = ClipboardPut, .has = ClipboardHas, .get = ClipboardGet};
    platform->screen = {
        .count = ScreenCount, .bounds = ScreenBounds, .workArea = ScreenWorkArea, .allowForeground = AllowForeground};
    platform->shell = {.openFile = ShellOpenFile, .openAddress = ShellOpenAddress};
    platform->fileDialog = {.open = FileOpen, .save = FileSave, .askName = AskName};
}
