// The start of every input that a session lives with: a platform of fakes, and how a broken promise ends the run.
#pragma once

#include "src/platform/fake/BPFake.h"

#include <cstdlib>

inline void Expect(bool condition)
{
    if (!condition) std::abort();
}

/// Forgets what earlier inputs left.
inline BPPlatform FreshFakePlatform()
{
    BPFakeReset();
    BPFakeCaptureLog();
    BPPlatform platform = {};
    BPFillFakePlatform(&platform);
    return platform;
}
