// Status numbers: what every operation that can fail returns. The first error travels up unchanged.
#pragma once

#include <cstdint>

enum [[nodiscard]] BPStatus : int16_t{
    bpNoErr = 0,
    bpNoDeviceErr = -21, ///< the device of a file is gone
    bpOpenErr = -23,     ///< a preview table that cannot be written
    bpDiskFullErr = -34,
    bpIOErr = -36, ///< the device fails
    bpEndOfFileErr = -39,
    bpTooManyFilesErr = -42, ///< the system has no more to open
    bpFileNotFoundErr = -43,
    bpReadOnlyErr = -46, ///< a file system that takes no changes
    bpFileBusyErr = -47, ///< another process holds it longer than we wait
    bpFileExistsErr = -48,
    bpParamErr = -50,
    bpPermissionErr = -54, ///< the system refuses access
    bpBadFileErr = -57,    ///< the system calls a request to a file invalid
    bpMemFullErr = -108,
    bpNotFoundErr = -192,         ///< a keyed store has no such value, a channel no waiting message
    bpIsFolderErr = -1302,        ///< a folder where a file was wanted
    bpFileTooLargeErr = -1310,    ///< for the file system or the user's limit
    bpNotFolderErr = -1407,       ///< a file stands where a path asks for a folder
    bpInvalidSettingsErr = -2041, ///< a settings file that is none
    bpBadMagicErr = -2114,        ///< a file whose first bytes are wrong
    bpControlNotFoundErr = -5604,
};
