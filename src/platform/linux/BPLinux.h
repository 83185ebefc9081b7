// What the files of this folder share: folders, names, error numbers, and the function that fills each table.
#pragma once

#include "src/platform/BPPlatform.h"

#include <string>

/// The longest name of a shared block, a channel or a store.
inline constexpr size_t kBPNameLimit = 63;

/// True for a name that is safe as one component of a path: 1 to 63 characters, no slash, neither "." nor "..".
bool BPIsPlainName(const char* name);

/// Opens the runtime folder, made when missing. The descriptor serves as a base for openat and the like, so that what
/// was checked is what is used. -1 when the folder cannot be had or is not ours alone; the first time this is logged.
/// path     receives the folder's path, when not null
int BPOpenRuntimeFolder(std::string* path);

/// The status that tells an error number of the system: missing, taken, refused, full or short of memory; bpParamErr
/// for all others.
BPStatus BPStatusFromErrno(int number);

void BPFillLinuxSharedMemory(BPSharedMemoryOps* ops);
void BPFillLinuxFrameChannel(BPFrameChannelOps* ops);
void BPFillLinuxProcess(BPProcessOps* ops);
void BPFillLinuxClock(BPClockOps* ops);
void BPFillLinuxKeyedStore(BPKeyedStoreOps* ops);
void BPFillLinuxStateFile(BPStateFileOps* ops);
