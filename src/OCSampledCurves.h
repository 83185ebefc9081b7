// Tables that become sampled curves, and the kinds of files that the curve tool loads.
//
// All of them fill the master, red, green and blue curves of a grade. A status other than bpNoErr means that the grade
// is as it was. Nothing is written beyond a curve, whatever a file says.
#pragma once

#include "src/OCPreviewLUT.h"

/// Tables as sampled curves of 1,024 values. Red, green and blue come from the channels of text tables, numbers over
/// the largest number of their depth, and the master is the identity. Longer tables are averaged, shorter ones widened
/// with a slope from each value to the next; behind the last value the slope of the last step is turned round.
///
/// Of an arbitrary map only the first table counts. Count 1 and 2: the master takes it, the others are the identity.
/// Count 4: red, green and blue take it, the master is the identity.
///
/// `curvesOn` and `rgbCurvesOn` go on. Errors are those of the preview readers; of text tables the number of entries
/// may be anything from 1 up.   Thread: any, own grade.
OCLUTRead OCReadDiscreetCurves(std::span<const uint8_t> bytes, OCSettings* settings);
OCLUTRead OCReadQuantelCurves(std::span<const uint8_t> bytes, OCSettings* settings);
OCLUTRead OCReadArbitraryMapCurves(std::span<const uint8_t> bytes, OCSettings* settings);

/// The kinds of the "Load Curve" dialog and their reader.
struct OCCurveKind : OCLUTFileKind {
    OCLUTRead (*read)(std::span<const uint8_t> bytes, OCSettings* settings);
};
std::span<const OCCurveKind> OCCurveKinds();

/// Reads a curve file of the kind at `index` of that list. A file that cannot be read is bpFileNotFoundErr, logged as
/// its reader logs it.
OCLUTRead OCLoadCurveFile(uint32_t index, const char* path, OCSettings* settings);

/// The kind of a file by the end of its name, in any letter case: ".lut" is a Discreet table. -1 for others.
int OCCurveKindOf(const char* path);
