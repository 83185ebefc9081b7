// The fakes of what a user has before him: keys, boxes, clipboard, screens, desktop, dialogs.
#include "src/platform/fake/BPFakeWorld.h"

#include <algorithm>
#include <cstring>

namespace {

// Keyboard, alerts, clipboard, screens.

uint32_t ModifierWord()
{
    BPFakeEnter(bpFakeModifierWord);
    return gBPFake.modifierWord;
}

bool MouseButtonDown()
{
    BPFakeEnter(bpFakeMouseButtonDown);
    return gBPFake.mouseButtonDown;
}

void Alert(BPSeverity severity, const char* text)
{
    BPFakeEnter(bpFakeAlert);
    gBPFake.alerts.push_back({.severity = severity, .title = {}, .text = text});
}

void MessageBox(const char* title, const char* text)
{
    BPFakeEnter(bpFakeMessageBox);
    gBPFake.alerts.push_back({.severity = bpStop, .title = title, .text = text});
}

void Beep()
{
    BPFakeEnter(bpFakeBeep);
    gBPFake.beeps++;
}

BPStatus ClipboardPut(const char* format, const void* bytes, uint32_t byteCount)
{
    gBPFake.clipboardFormat.clear();
    gBPFake.clipboard.clear();
    if (BPStatus err = BPFakeEnter(bpFakeClipboardPut, bpMemFullErr); err != bpNoErr) return err;
    if (format == nullptr || format[0] == 0 || (bytes == nullptr && byteCount > 0)) return bpParamErr;
    const uint8_t* first = static_cast<const uint8_t*>(bytes);
    gBPFake.clipboardFormat = format;
    if (byteCount > 0) gBPFake.clipboard.assign(first, first + byteCount);
    return bpNoErr;
}

bool ClipboardHas(const char* format)
{
    BPFakeEnter(bpFakeClipboardHas);
    return format != nullptr && format[0] != 0 && gBPFake.clipboardFormat == format;
}

BPStatus ClipboardGet(const char* format, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    *byteCount = 0;
    if (BPStatus err = BPFakeEnter(bpFakeClipboardGet, bpNotFoundErr); err != bpNoErr) return err;
    if (format == nullptr || format[0] == 0 || gBPFake.clipboardFormat != format) return bpNotFoundErr;
    const size_t copied = std::min<size_t>(gBPFake.clipboard.size(), capacity);
    if (copied > 0) memcpy(bytes, gBPFake.clipboard.data(), copied);
    *byteCount = static_cast<uint32_t>(gBPFake.clipboard.size());
    return bpNoErr;
}

uint32_t ScreenCount()
{
    BPFakeEnter(bpFakeScreenCount);
    return static_cast<uint32_t>(gBPFake.screens.size());
}

BPStatus ScreenBounds(uint32_t index, BPRect* bounds)
{
    *bounds = {};
    if (BPStatus err = BPFakeEnter(bpFakeScreenBounds, bpNotFoundErr); err != bpNoErr) return err;
    if (index >= gBPFake.screens.size()) return bpParamErr;
    *bounds = gBPFake.screens[index];
    return bpNoErr;
}

BPStatus ScreenWorkArea(BPRect* area)
{
    *area = {};
    if (BPStatus err = BPFakeEnter(bpFakeScreenWorkArea, bpNotFoundErr); err != bpNoErr) return err;
    if (gBPFake.screens.empty()) return bpNotFoundErr;
    *area = gBPFake.workArea;
    return bpNoErr;
}

void AllowForeground(uint32_t processId)
{
    BPFakeEnter(bpFakeAllowForeground);
    gBPFake.allowedForeground.push_back(processId);
}

BPStatus Opened(BPFakeOp op, BPStatus usualError, const char* what)
{
    if (BPStatus err = BPFakeEnter(op, usualError); err != bpNoErr) return err;
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
    if (BPFakeEnter(op, bpNotFoundErr) != bpNoErr) return false;
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
    if (BPFakeEnter(bpFakeAskName, bpNotFoundErr) != bpNoErr) return false;
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

} // namespace

void BPFillFakeDesk(BPPlatform* platform)
{
    platform->keyboard = {.modifierWord = ModifierWord, .mouseButtonDown = MouseButtonDown};
    platform->alert = {.alert = Alert, .messageBox = MessageBox, .beep = Beep};
    platform->clipboard = {.put = ClipboardPut, .has = ClipboardHas, .get = ClipboardGet};
    platform->screen = {
        .count = ScreenCount, .bounds = ScreenBounds, .workArea = ScreenWorkArea, .allowForeground = AllowForeground};
    platform->shell = {.openFile = ShellOpenFile, .openAddress = ShellOpenAddress};
    platform->fileDialog = {.open = FileOpen, .save = FileSave, .askName = AskName};
}
