// The log: one write of at most 4,095 bytes a line. A closed standard error neither stops nor ends the process.
#include "src/platform/BPLog.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <locale.h>
#include <unistd.h>

namespace {

constexpr size_t kLineLimit = 4095;

BPLogSink gSink = nullptr;            // main thread, set while nobody logs
void* gSinkContext = nullptr;         //
BPReportHandler gHandler = nullptr;   //
void* gHandlerContext = nullptr;      //
thread_local bool tInHandler = false; // a handler that fails itself must not be called again

/// The locale of every number in the log, whatever the process has set.
locale_t CLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

size_t FormatV(char* buffer, size_t capacity, const char* format, va_list arguments)
{
    const locale_t before = CLocale() != nullptr ? uselocale(CLocale()) : nullptr;
    const int length = vsnprintf(buffer, capacity, format, arguments);
    if (before != nullptr) uselocale(before);
    if (length < 0) return 0;
    const size_t wanted = static_cast<size_t>(length);
    if (wanted < capacity) return wanted;
    buffer[capacity - 2] = '\n'; // a line that was cut still ends
    return capacity - 1;
}

/// Writes to standard error. A reader that is gone would end the process by a signal: the signal is kept away from
/// this thread and taken back when this write caused it.
void WriteToStandardError(const char* bytes, size_t byteCount)
{
    sigset_t pipeSignal, before, pending;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    sigpending(&pending);
    const bool wasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);

    bool broken = false;
    while (byteCount > 0) {
        const ssize_t written = write(STDERR_FILENO, bytes, byteCount);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            broken = written < 0 && errno == EPIPE;
            break;
        }
        bytes += written;
        byteCount -= static_cast<size_t>(written);
    }

    if (broken && !wasPending) {
        const timespec now = {0, 0};
        while (sigtimedwait(&pipeSignal, nullptr, &now) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void Emit(const char* bytes, size_t byteCount)
{
    if (byteCount == 0) return;
    if (gSink != nullptr) {
        gSink(gSinkContext, bytes, byteCount);
        return;
    }
    WriteToStandardError(bytes, byteCount);
}

void Report(const char* title, const char* text)
{
    if (gHandler == nullptr || tInHandler) return;
    tInHandler = true;
    gHandler(gHandlerContext, title, text);
    tInHandler = false;
}

} // namespace

void BPSetLogSink(BPLogSink sink, void* context)
{
    gSink = sink;
    gSinkContext = context;
}

void BPDebugLog(const char* format, ...)
{
    const int savedErrno = errno;
    char line[kLineLimit + 1];
    va_list arguments;
    va_start(arguments, format);
    const size_t length = FormatV(line, sizeof line, format, arguments);
    va_end(arguments);
    Emit(line, length);
    errno = savedErrno;
}

void BPDebugLogTagged(const char* tag, const char* format, ...)
{
    const int savedErrno = errno;
    char text[kLineLimit + 1];
    va_list arguments;
    va_start(arguments, format);
    FormatV(text, sizeof text, format, arguments);
    va_end(arguments);

    char date[32] = "", clock[32] = "";
    const time_t now = time(nullptr);
    tm parts;
    if (localtime_r(&now, &parts) != nullptr && CLocale() != nullptr) {
        strftime_l(date, sizeof date, "%d-%b-%Y", &parts, CLocale());
        strftime_l(clock, sizeof clock, "%H:%M:%S", &parts, CLocale());
    }
    BPDebugLog("%s: (%s %s) %s", tag, date, clock, text);
    errno = savedErrno;
}

void BPSetReportHandler(BPReportHandler handler, void* context)
{
    gHandler = handler;
    gHandlerContext = context;
}

void BPAssertFailed(const char* expression, const char* sourceName, int line)
{
    char text[1024];
    snprintf(text, sizeof text, "Assert (%s) failed. [%s: %d]", expression, sourceName, line);
    BPDebugLog("%s\n", text);
    Report("Ochrine 3 UI", text);
}

void BPFatalError(const char* text, const char* title)
{
    BPDebugLog("%s: %s\n", title, text);
    Report(title, text);
}
