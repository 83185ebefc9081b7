// Numbers in files: written and read with a point, whatever locale the process has.
#pragma once

#include <string>

/// Appends `value` with `decimals` digits behind the point (0 to 17), as "%.*f" writes it in the C locale: correctly
/// rounded, never with an exponent, "inf", "-inf", "nan" or "-nan" where it is no number.   Thread: any, own text.
void BPAppendFixed(std::string* text, double value, int decimals);

/// Reads up to `count` floats, as "%f %f ..." reads them in the C locale: each may have white space before it, a sign,
/// an exponent; "inf", "nan" and hexadecimal digits count too. Stops before the first text that is no number; values
/// from there on stay as they are. text is zero-terminated. Returns how many were read.   Thread: any.
int BPScanFloats(const char* text, float* values, int count);
