// One session from the block to the grade that comes back.
#pragma once

#include "host/HostOptions.h"
#include "src/OCSettings.h"
#include "src/platform/BPPlatform.h"

#include <functional>

/// Opens the clip in the application and waits for OK or Cancel.
///
/// grade      in: what the session starts with; out: what came back. Untouched unless one came back
/// keep       puts the grade that came back into safety; `changed` is false after Cancel, which leaves it as it was. The
///            block is still there then: once it is gone, the application takes the grade for safe. Its exit code is
///            that of the session
///
/// Returns hostDone, or the exit code; the reason has been told then. The block is removed in every case.
/// Thread: main.
int RunHostSession(const BPPlatform& platform, const HostOptions& options, ClipSource* clip, OCSettings* grade,
                   const std::function<int(const OCSettings& grade, bool changed)>& keep);
