// Whole files and the user's folders.
#pragma once

#include "src/platform/BPStatus.h"

#include <cstddef>
#include <string>
#include <vector>

/// Reads a whole file of at most maximumBytes. bpFileNotFoundErr, bpNotFolderErr, bpIsFolderErr, bpPermissionErr, the
/// other errors of streams, bpParamErr when it is larger or no regular file, bpMemFullErr. After an error `bytes` is
/// empty.
BPStatus BPReadFile(const char* path, size_t maximumBytes, std::vector<uint8_t>* bytes);

/// Writes a file whole or not at all: a neighbour is written, flushed and moved over the path. An existing file keeps
/// its mode, a link stays and its target is replaced, a new file gets mode 0644. bpFileNotFoundErr without the folder,
/// bpPermissionErr, bpDiskFullErr, bpIsFolderErr, the other errors of streams, bpParamErr when the path is no regular
/// file.
BPStatus BPWriteFile(const char* path, const void* bytes, size_t byteCount);

/// The private folder for sockets and blocks, made when missing: $XDG_RUNTIME_DIR/ochrine, or /tmp/ochrine-UID without
/// that variable. Empty when it cannot be had, is a link, or is not ours alone; the log tells why, once.
std::string BPRuntimeFolder();

/// The user's folder for settings of this application, made when missing: $XDG_CONFIG_HOME/ochrine, or
/// ~/.config/ochrine without that variable. Empty when it cannot be had.
std::string BPConfigFolder();

/// The user's folder for state of this application that should outlive its process, made when missing:
/// $XDG_STATE_HOME/ochrine, or ~/.local/state/ochrine without that variable. Empty when it cannot be had.
std::string BPStateFolder();

/// The user's folder for documents, as the desktop tells ($XDG_CONFIG_HOME/user-dirs.dirs), else ~/Documents. It need
/// not be there. Empty when there is no home.
std::string BPDocumentsFolder();

/// Makes a folder and those above it, private to the user. Existing ones stay as they are. False when it cannot be had.
bool BPMakeFolder(const std::string& path);

/// The folder of the running program.
std::string BPProgramFolder();
