// Tints: where an angle on a hue wheel lies in the chroma plane.
#pragma once

#include "src/OCEngine.h"

/// The tint of an angle in degrees, with the strength that the kernel uses: a third of the record's.   Thread: any.
OCTint OCTintOf(float angleDegrees, float strength);
