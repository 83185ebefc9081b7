// The readable power. BPMathKernels.cpp holds the fast one.
#include "src/BPMath.h"

#include "src/BPMathTables.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

using namespace bpmath;

/// log2 of a positive, normal double.
double Log2(double x)
{
    const uint64_t bits = std::bit_cast<uint64_t>(x) + kHalfToRoot; // now the exponent steps at the square root of 2
    const double exponent = static_cast<double>(static_cast<int64_t>(bits >> 52)) - 1023.0;
    const double mantissa = std::bit_cast<double>((bits & kMantissaMask) + kRootOfHalf);
    const double s = (mantissa - 1.0) / (mantissa + 1.0);
    const double z = s * s;
    double sum = kLogSeries[kLogTerms - 1];
    for (int i = kLogTerms - 2; i >= 0; --i) sum = sum * z + kLogSeries[i];
    return exponent + s * sum;
}

/// 2 to a power within [-1000, 1000].
double Exp2(double x)
{
    const double shifted = x + kRoundToInteger;
    const double fraction = x - (shifted - kRoundToInteger);
    double sum = kExpSeries[kExpTerms - 1];
    for (int i = kExpTerms - 2; i >= 0; --i) sum = sum * fraction + kExpSeries[i];
    return std::bit_cast<double>(std::bit_cast<uint64_t>(sum) + (std::bit_cast<uint64_t>(shifted) << 52));
}

} // namespace

float BPPower(float base, double exponent)
{
    if (!(base > 0 && base < HUGE_VALF) || !std::isfinite(exponent))
        return static_cast<float>(std::pow(static_cast<double>(base), exponent));
    if (const int factors = bpmath::ProductFactors(exponent); factors > 0) {
        double product = base;
        for (int i = 1; i < factors; ++i) product *= static_cast<double>(base);
        return static_cast<float>(product);
    }
    double x = exponent * Log2(base);
    x = x > kExponentLimit ? kExponentLimit : x;
    x = x < -kExponentLimit ? -kExponentLimit : x;
    return static_cast<float>(Exp2(x));
}
