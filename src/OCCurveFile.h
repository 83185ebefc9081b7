// Curve files (.acv): the points of the master, red, green and blue curves in 255ths.
#pragma once

#include "src/OCSettings.h"
#include "src/platform/BPStatus.h"

#include <cstddef>
#include <string>
#include <vector>

/// Loads the first four curves of a file: the four curves of the record are reset, then those of the file take their
/// places, master first, and unless the file has none the curves' switches (`curvesOn`, `rgbCurvesOn`) go on. A curve
/// with a negative number of points, with more than 16, or cut by the end of the bytes ends the load before it.
///
/// Returns bpInvalidSettingsErr, with the record untouched, for a version other than 1 and 4 or a file without a
/// header.   Thread: any, own record.
BPStatus OCLoadCurveBytes(const void* bytes, size_t byteCount, OCSettings* settings);

/// The curve file of a record: four curves, and a fifth straight one that some readers expect. Values are cut to whole
/// 255ths and kept between 0 and 255. A curve that is a table of samples, or has no legal number of points, is written
/// as a straight one.
std::vector<uint8_t> OCSaveCurveBytes(const OCSettings& settings);

/// The same for files. A file that cannot be read is logged, bpFileNotFoundErr returned, and nothing changes. A file is
/// written whole or not at all; a failure is logged with its status.
BPStatus LoadACV(const char* path, OCSettings* settings);
BPStatus SaveACV(const char* path, const OCSettings& settings);
