// What the program tells its user while it works: one line a step, and how far a render is.
#pragma once

#include <cstdint>

/// Writes "ochrine-host: ..." and a newline to standard output, at once.
void HostSay(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The same to standard error.
void HostComplain(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Shows that `done` of `total` frames are rendered: a bar that is drawn over on a terminal, otherwise one line
/// "PROGRESS done/total". The last call ends the bar.
void HostShowProgress(int32_t done, int32_t total);

/// Catches interrupt, termination and hang-up from now on.
void HostCatchSignals();

/// True after one of them.   Thread: any.
bool HostIsInterrupted();

/// The number of that signal, or 0.
int HostInterruptingSignal();
