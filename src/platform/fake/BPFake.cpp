// The fakes. Each operation first counts itself, lets the test's hook run, and asks whether it shall fail.
#include "src/platform/BPLog.h"
#include "src/platform/fake/BPFakeWorld.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

BPFakeState gBPFake;
BPFakeHandles gBPFakeHandles;

namespace {

constexpr size_t kNameLimit = 63;

std::mutex gLogMutex;
bool gCapturing = false;

void KeepLine(void*, const char* bytes, size_t byteCount)
{
    const std::lock_guard lock(gLogMutex);
    gBPFake.log.append(bytes, byteCount);
}

void KeepReport(void*, const char* title, const char* text)
{
    const std::lock_guard lock(gLogMutex);
    gBPFake.reports.push_back({.severity = bpStop, .title = title, .text = text});
}

} // namespace

void BPFakeEnter(BPFakeOp op)
{
    gBPFake.calls[op]++;
    if (op != bpFakeWallSeconds && op != bpFakeMonotonicMs && op != bpFakeSharedIsWhole && op != bpFakeEndRequested)
        gBPFake.journal.push_back(op);
    if (gBPFake.onCall != nullptr) gBPFake.onCall(gBPFake.hookContext, op);
}

/// Enters and tells the scripted failure of this call, bpNoErr when there is none.
BPStatus BPFakeEnter(BPFakeOp op, BPStatus usualError)
{
    BPFakeEnter(op);
    const uint32_t call = gBPFake.calls[op];
    const bool fails = call == gBPFake.failCall[op] || (gBPFake.failFrom[op] != 0 && call >= gBPFake.failFrom[op]);
    if (!fails) return bpNoErr;
    return gBPFake.failStatus[op] != bpNoErr ? gBPFake.failStatus[op] : usualError;
}

bool BPFakeIsPlainName(const char* name)
{
    if (name == nullptr || name[0] == 0 || strlen(name) > kNameLimit) return false;
    return strchr(name, '/') == nullptr && strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

void BPFakeSleep(uint32_t milliseconds)
{
    gBPFake.sleeps.push_back(milliseconds);
    if (gBPFake.sleeps.size() > gBPFake.sleepLimit) {
        fprintf(stderr, "BPFake: more than %zu sleeps; the code under test waits forever\n", gBPFake.sleepLimit);
        abort();
    }
    gBPFake.wallSeconds += milliseconds / 1000.0;
    gBPFake.monotonicMs += milliseconds;
    if (gBPFake.onSleep != nullptr) gBPFake.onSleep(gBPFake.hookContext, milliseconds);
}

void BPFakeReset()
{
    if (gCapturing) {
        BPSetLogSink(nullptr, nullptr);
        BPSetReportHandler(nullptr, nullptr);
        gCapturing = false;
    }
    const uint64_t last = gBPFakeHandles.last;
    gBPFakeHandles = {};
    gBPFakeHandles.last = last;
    gBPFake = {};
}

void BPFakeCaptureLog()
{
    gCapturing = true;
    BPSetLogSink(KeepLine, nullptr);
    BPSetReportHandler(KeepReport, nullptr);
}

void BPFillFakePlatform(BPPlatform* platform)
{
    BPFillFakeHost(platform);
    BPFillFakeFiles(platform);
    BPFillFakeDesk(platform);
}
