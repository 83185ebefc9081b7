// The table of operations without a window system. What needs one answers with nothing and tells the log.
#include "src/platform/linux/BPLinux.h"

#include "src/platform/BPLog.h"

namespace {

uint32_t NoModifiers()
{
    return 0;
}

bool NoButton()
{
    return false;
}

void LogAlert(BPSeverity severity, const char* text)
{
    BPDebugLog("Alert (%u): %s\n", static_cast<unsigned>(severity), text);
}

void LogMessageBox(const char* title, const char* text)
{
    BPDebugLog("%s: %s\n", title, text);
}

void LogBeep()
{
    BPDebugLog("Beep\n");
}

BPStatus NoPut(const char*, const void*, uint32_t)
{
    BPDebugLog("There is no clipboard\n");
    return bpNotFoundErr;
}

bool NothingThere(const char*)
{
    return false;
}

BPStatus NoGet(const char*, void*, uint32_t, uint32_t* byteCount)
{
    *byteCount = 0;
    return bpNotFoundErr;
}

uint32_t NoScreens()
{
    return 0;
}

BPStatus NoBounds(uint32_t, BPRect* bounds)
{
    *bounds = {};
    return bpNotFoundErr;
}

BPStatus NoWorkArea(BPRect* area)
{
    *area = {};
    return bpNotFoundErr;
}

void AllowNobody(uint32_t) {}

BPStatus NoViewer(const char*)
{
    BPDebugLog("There is no desktop to open it\n");
    return bpNotFoundErr;
}

bool NoFile(const BPFileQuestion& question, std::string* path)
{
    path->clear();
    BPDebugLog("There is no window for \"%s\"\n", question.title);
    return false;
}

bool NoName(const char* title, const char*, int32_t*, int32_t*, std::string* name)
{
    name->clear();
    BPDebugLog("There is no window for \"%s\"\n", title);
    return false;
}

} // namespace

void BPFillLinuxPlatform(BPPlatform* platform)
{
    BPFillLinuxSharedMemory(&platform->sharedMemory);
    BPFillLinuxFrameChannel(&platform->frameChannel);
    BPFillLinuxProcess(&platform->process);
    BPFillLinuxClock(&platform->clock);
    BPFillLinuxKeyedStore(&platform->keyedStore);
    BPFillLinuxStateFile(&platform->stateFile);
    platform->keyboard = {.modifierWord = NoModifiers, .mouseButtonDown = NoButton};
    platform->alert = {.alert = LogAlert, .messageBox = LogMessageBox, .beep = LogBeep};
    platform->clipboard = {.put = NoPut, .has = NothingThere, .get = NoGet};
    platform->screen = {.count = NoScreens, .bounds = NoBounds, .workArea = NoWorkArea, .allowForeground = AllowNobody};
    platform->shell = {.openFile = NoViewer, .openAddress = NoViewer};
    platform->fileDialog = {.open = NoFile, .save = NoFile, .askName = NoName};
}
