// The debug log: exactly the bytes of the line, to standard error, unbuffered and bounded; and the two reports that
// rest on it, assertions and fatal errors. A line ends in a newline; there are no levels.
#pragma once

#include <cstddef>

/// Receives each line of the log; `context` is the one given with the sink.   Thread: the logging thread.
using BPLogSink = void (*)(void* context, const char* bytes, size_t byteCount);

/// Sends the log to `sink` instead of standard error; null restores standard error. For tests.   Thread: main, with no
/// other thread logging.
void BPSetLogSink(BPLogSink sink, void* context);

/// Writes one formatted line, cut at 4,095 bytes; a line that is cut ends in a newline too. Numbers are in the C
/// locale, errno is kept.   Thread: any.
void BPDebugLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Writes "tag: (date time) line", such as "Ochrine 3 UI: (02-Jan-2006 15:04:05) No data passed to UI.\n": the form for
/// what a user may have to report.   Thread: any.
void BPDebugLogTagged(const char* tag, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Receives the report of a failed assertion or a fatal error. The application shows an alert; without a handler the
/// report goes to the log alone.
using BPReportHandler = void (*)(void* context, const char* title, const char* text);
void BPSetReportHandler(BPReportHandler handler, void* context);

/// Reports "Assert (%s) failed. [%s: %d]", to the handler under the title "Ochrine 3 UI", and returns: the line after
/// it must be safe too. A failure inside the handler goes to the log alone.   Thread: any; the handler is called on it.
void BPAssertFailed(const char* expression, const char* sourceName, int line);

/// Logs "title: text" and reports a condition under which work cannot go on as asked, such as exhausted memory, and
/// returns.
void BPFatalError(const char* text, const char* title);

/// States what the programmer promises. `source` is the module's name, such as "TincturaFrameBuffer".
#define BP_ASSERT(expression, source) ((expression) ? (void)0 : BPAssertFailed(#expression, source, __LINE__))
