// What stands behind the opaque types of the C interface, and what its sources share.
#pragma once

#include "host/FrameRenderer.h"
#include "host/ochrine.h"

struct ochrine_grade {
    OCSettings settings;
};

struct ochrine_renderer {
    FrameRenderer* frames;
};

/// The error of the interface for a status.
ochrine_result ResultOf(BPStatus status);
