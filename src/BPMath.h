// Powers for tone tables: exp2 of the exponent times log2 of the base, in double, rounded once to single.
//
// An entry lies within 1 ulp of the correctly rounded power, on every instruction set with the same bits: there is no
// fused multiply-add and no call of a library whose version could change a grade.
#pragma once

#include <cstddef>

/// One power, to be read. The exponent is a double, so that a power of a power can be one power of the product. Zeros,
/// negatives, infinities and NaNs follow the rules of pow.   Thread: any.
float BPPower(float base, double exponent);

/// out[i] = BPPower(base[i], exponent), bit for bit, with the instruction set of the machine. `out` may be `base`.
/// Thread: any.
void BPPowerArray(const float* base, double exponent, float* out, size_t count);
