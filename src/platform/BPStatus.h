// Status numbers: what every operation that can fail returns. The first error travels up unchanged.
#pragma once

#include <cstdint>

enum [[nodiscard]] BPStatus : int16_t{
    bpNoErr = 0,
    bpOpenErr = -23, ///< a preview table that cannot be written
    bpDiskFullErr = -34,
    bpIOErr = -36, ///< the device fails
    bpEndOfFileErr = -39,
    bpFileNotFoundErr = -43,
    bpFileBusyErr = -47, ///< another process holds it longer than we wait
    bpFileExistsErr = -48,
    bpParamErr = -50,
    bpPermissionErr = -54, ///< the system refuses access
    bpMemFullErr = -108,
    bpNotFoundErr = -192,         ///< a keyed store has no such value, a channel no waiting message
    bpInvalidSettingsErr = -2041, ///< a settings file that is none
    bpBadMagicErr = -2114,        ///< a file whose first bytes are wrong
    bpControlNotFoundErr = -5604,
};
