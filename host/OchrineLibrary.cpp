// The C interface: versions, errors and the log.
#include "host/OchrineObjects.h"

#include "src/platform/BPLog.h"

namespace {

struct ErrorRow {
    ochrine_result result;
    const char* text;
};

constexpr ErrorRow kErrors[] = {
    {OCHRINE_OK, "no error"},
    {OCHRINE_DISK_FULL, "the disk is full"},
    {OCHRINE_NO_FILE, "there is no such file or folder"},
    {OCHRINE_ARGUMENT, "an argument makes no sense"},
    {OCHRINE_PERMISSION, "the system refuses access to the file"},
    {OCHRINE_NO_MEMORY, "there is not enough memory"},
    {OCHRINE_NO_VALUE, "a grade has no such value"},
    {OCHRINE_FORMAT, "pixels of this format cannot be used here"},
    {OCHRINE_OVERLAP, "source and target overlap without being the same image"},
    {OCHRINE_NO_GRADE, "this is no grade"},
    {OCHRINE_OTHER, "the system failed"},
};

// Set by ochrine_set_log, while no other function runs.
ochrine_log gLog = nullptr;
void* gLogContext = nullptr;

void Pass(void*, const char* bytes, size_t byteCount)
{
    if (gLog) gLog(gLogContext, bytes, byteCount);
}

} // namespace

ochrine_result ResultOf(BPStatus status)
{
    switch (status) {
    case bpNoErr: return OCHRINE_OK;
    case bpFileTooLargeErr:
    case bpDiskFullErr: return OCHRINE_DISK_FULL;
    case bpNotFolderErr:
    case bpFileNotFoundErr: return OCHRINE_NO_FILE;
    case bpIsFolderErr:
    case bpParamErr: return OCHRINE_ARGUMENT;
    case bpReadOnlyErr:
    case bpPermissionErr: return OCHRINE_PERMISSION;
    case bpMemFullErr: return OCHRINE_NO_MEMORY;
    case bpInvalidSettingsErr:
    case bpBadMagicErr: return OCHRINE_NO_GRADE;
    default: return OCHRINE_OTHER;
    }
}

uint32_t ochrine_interface(void)
{
    return OCHRINE_INTERFACE;
}

const char* ochrine_version(void)
{
    return OCHRINE_PRODUCT_VERSION;
}

const char* ochrine_error_text(ochrine_result result)
{
    for (const ErrorRow& row : kErrors)
        if (row.result == result) return row.text;
    return "this is no error of Ochrine's";
}

void ochrine_set_log(ochrine_log log, void* context)
{
    gLog = log;
    gLogContext = context;
    BPSetLogSink(Pass, nullptr);
}
