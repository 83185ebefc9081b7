// One session from the block to the grade that comes back.
#pragma once

#include "host/HostOptions.h"
#include "src/OCSettings.h"
#include "src/platform/BPPlatform.h"

/// Opens the clip in the application and waits for OK or Cancel.
///
/// grade      in: what the session starts with; out: what came back. Untouched unless hostDone is returned
/// changed    receives whether the grade that came back is another one: Cancel leaves it as it was
///
/// Returns hostDone, or the exit code; the reason has been told then. The block is removed in every case.
/// Thread: main.
int RunHostSession(const BPPlatform& platform, const HostOptions& options, ClipSource* clip, OCSettings* grade,
                   bool* changed);
