// The luma range picture of the image pane.
#pragma once

#include "src/MPTasks.h"
#include "src/ScopeSurface.h"

/// Paints each pixel of the source in the grey of its range: 235 where the highlights weigh most, 125 where the midtones
/// do, 0 otherwise, always opaque. With the source transfer on, luma goes through its forward table first.
///
/// engine       its parameters as of the last update
/// source       in format 203; plane Y is read
/// surface      of the source's size
/// taskCount    bands, and with `tasks` workers; null tasks run on the calling thread
///
/// Returns false, with the surface as it was, when the two do not fit.   Thread: main.
bool LumaRangesPreview(const OCEngine* engine, const FBFrame* source, const ScopeSurface& surface, uint32_t taskCount,
                       MPTask* tasks);
