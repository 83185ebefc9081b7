// Lines, the bar, and signals.
#include "host/HostProgress.h"

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <initializer_list>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t gInterrupted = 0; // written by the signal handler alone

void OnSignal(int number)
{
    gInterrupted = number;
}

void Print(FILE* stream, const char* format, va_list arguments)
{
    std::fputs("ochrine-host: ", stream);
    std::vfprintf(stream, format, arguments);
    std::fputc('\n', stream);
    std::fflush(stream);
}

} // namespace

void HostSay(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Print(stdout, format, arguments);
    va_end(arguments);
}

void HostComplain(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Print(stderr, format, arguments);
    va_end(arguments);
}

void HostShowProgress(int32_t done, int32_t total)
{
    static const bool isTerminal = isatty(STDOUT_FILENO) == 1;
    if (total < 1) return;
    if (!isTerminal) {
        std::printf("PROGRESS %d/%d\n", done, total);
        std::fflush(stdout);
        return;
    }
    constexpr int width = 40;
    const int filled = static_cast<int>(int64_t{width} * done / total);
    char bar[width + 1] = {};
    for (int i = 0; i < width; ++i) bar[i] = i < filled ? '#' : '.';
    std::printf("\rrendering [%s] %d of %d frames%s", bar, done, total, done == total ? "\n" : "");
    std::fflush(stdout);
}

void HostCatchSignals()
{
    // One that is ignored stays ignored: nohup and shells that start a job in the background want it so.
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(number, OnSignal) == SIG_IGN) std::signal(number, SIG_IGN);
    // A reader of our output that goes away is no reason to leave a block behind.
    std::signal(SIGPIPE, SIG_IGN);
}

bool HostIsInterrupted()
{
    return gInterrupted != 0;
}

int HostInterruptingSignal()
{
    return gInterrupted;
}
