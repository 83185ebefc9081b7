// The fakes of what is kept between runs: keyed stores and state files.
#include "src/platform/fake/BPFakeWorld.h"

#include <algorithm>
#include <cstring>

namespace {

// Keyed store.

BPFakeOpenStore* FindStore(const BPKeyedStore* store)
{
    const auto found = gBPFakeHandles.stores.find(store->handle);
    return found == gBPFakeHandles.stores.end() ? nullptr : &found->second;
}

BPStatus StoreOpen(const char* name, BPKeyedStore* store)
{
    store->handle = 0;
    if (BPStatus err = BPFakeEnter(bpFakeStoreOpen, bpFileNotFoundErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name)) return bpParamErr;
    gBPFake.stores[name];
    store->handle = ++gBPFakeHandles.last;
    gBPFakeHandles.stores[store->handle].name = name;
    gBPFake.openStores = static_cast<uint32_t>(gBPFakeHandles.stores.size());
    return bpNoErr;
}

void StoreClose(BPKeyedStore* store)
{
    BPFakeEnter(bpFakeStoreClose);
    if (BPFakeOpenStore* open = FindStore(store); open != nullptr && open->inTransaction) {
        gBPFake.stores[open->name] = open->before;
    }
    gBPFakeHandles.stores.erase(store->handle);
    gBPFake.openStores = static_cast<uint32_t>(gBPFakeHandles.stores.size());
    store->handle = 0;
}

/// Finds a value of the kind; the scripted failure of `op` comes first.
BPStatus FindValue(BPFakeOp op, const BPKeyedStore* store, const char* name, BPFakeKind kind, const BPFakeValue** value)
{
    if (BPStatus err = BPFakeEnter(op, bpNotFoundErr); err != bpNoErr) return err;
    const BPFakeOpenStore* open = FindStore(store);
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
    BPStatus status = BPFakeEnter(op, bpDiskFullErr);
    BPFakeOpenStore* open = FindStore(store);
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
    if (BPStatus err = BPFakeEnter(bpFakeBegin, bpFileBusyErr); err != bpNoErr) return err;
    BPFakeOpenStore* open = FindStore(store);
    if (open == nullptr || open->inTransaction) return bpParamErr;
    open->inTransaction = true;
    open->firstError = bpNoErr;
    open->before = gBPFake.stores[open->name];
    return bpNoErr;
}

BPStatus Commit(BPKeyedStore* store)
{
    BPStatus status = BPFakeEnter(bpFakeCommit, bpDiskFullErr);
    BPFakeOpenStore* open = FindStore(store);
    if (open == nullptr || !open->inTransaction) return bpParamErr;
    open->inTransaction = false;
    if (status == bpNoErr) status = open->firstError;
    if (status != bpNoErr) gBPFake.stores[open->name] = open->before;
    return status;
}

// State files.

std::vector<uint8_t>* FindStateFile(const BPStateFile* file)
{
    const auto open = gBPFakeHandles.stateFiles.find(file->handle);
    if (open == gBPFakeHandles.stateFiles.end()) return nullptr;
    const auto found = gBPFake.stateFiles.find(open->second);
    return found == gBPFake.stateFiles.end() ? nullptr : &found->second;
}

BPStatus StateOpen(const char* name, bool create, BPStateFile* file)
{
    file->handle = 0;
    if (BPStatus err = BPFakeEnter(bpFakeStateOpen, bpPermissionErr); err != bpNoErr) return err;
    if (!BPFakeIsPlainName(name)) return bpParamErr;
    if (!create && !gBPFake.stateFiles.contains(name)) return bpFileNotFoundErr;
    if (gBPFake.stateHeldElsewhere == name) return bpFileBusyErr;
    for (const auto& [handle, held] : gBPFakeHandles.stateFiles)
        if (held == name) return bpFileBusyErr;
    gBPFake.stateFiles[name];
    file->handle = ++gBPFakeHandles.last;
    gBPFakeHandles.stateFiles[file->handle] = name;
    gBPFake.openStateFiles = static_cast<uint32_t>(gBPFakeHandles.stateFiles.size());
    return bpNoErr;
}

BPStatus StateRead(BPStateFile* file, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    *byteCount = 0;
    if (BPStatus err = BPFakeEnter(bpFakeStateRead, bpParamErr); err != bpNoErr) return err;
    const std::vector<uint8_t>* content = FindStateFile(file);
    if (content == nullptr || (bytes == nullptr && capacity > 0)) return bpParamErr;
    const size_t copied = std::min<size_t>(content->size(), capacity);
    if (copied > 0) memcpy(bytes, content->data(), copied);
    *byteCount = static_cast<uint32_t>(content->size());
    return bpNoErr;
}

BPStatus StateWrite(BPStateFile* file, uint64_t position, const void* bytes, uint32_t byteCount)
{
    if (BPStatus err = BPFakeEnter(bpFakeStateWrite, bpDiskFullErr); err != bpNoErr) return err;
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
    BPFakeEnter(bpFakeStateClose);
    gBPFakeHandles.stateFiles.erase(file->handle);
    gBPFake.openStateFiles = static_cast<uint32_t>(gBPFakeHandles.stateFiles.size());
    file->handle = 0;
}

void StateDiscard(BPStateFile* file)
{
    BPFakeEnter(bpFakeStateDiscard);
    if (const auto open = gBPFakeHandles.stateFiles.find(file->handle); open != gBPFakeHandles.stateFiles.end())
        gBPFake.stateFiles.erase(open->second);
    gBPFakeHandles.stateFiles.erase(file->handle);
    gBPFake.openStateFiles = static_cast<uint32_t>(gBPFakeHandles.stateFiles.size());
    file->handle = 0;
}

void StatePrune(const char* suffix, uint32_t limit)
{
    BPFakeEnter(bpFakeStatePrune);
    gBPFake.statePruned.push_back(std::string(suffix) + " " + std::to_string(limit));
}

} // namespace

void BPFillFakeFiles(BPPlatform* platform)
{
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
}
