// The host's own clip: a scene computed to look like footage. Two seconds, 1920 x 1080, 25 frames a second.
//
// A woman in a dark coat stands on a terrace before a hedge and trees under an afternoon sky; beside her the sun falls
// on a window and leaves white far behind. The camera drifts, leaves and clouds move, she sways. The same frame has the
// same pixels on every run.
#pragma once

#include "host/ClipSource.h"

/// Makes the scene. Its plates are painted at once (a second or two), frames when they are read.
///
/// width, height   of the frames; the scene is laid out for 16:9
/// threads         that paint, 0 for one a processor
std::unique_ptr<ClipSource> MakeSampleScene(uint32_t width = 1920, uint32_t height = 1080, int threads = 0);
