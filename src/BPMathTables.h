// The numbers of the two power kernels. The series end where the next term is below 1e-14 of the sum.
#pragma once

#include <cstdint>

namespace bpmath {

// log2 of m = 2 / ln 2 (s + s^3 / 3 + s^5 / 5 ...) with s = (m - 1) / (m + 1), m between the roots of 1/2 and 2.
inline constexpr int kLogTerms = 10;
inline constexpr double kLogSeries[kLogTerms] = {
    2.8853900817779268, 0.9617966939259756,  0.5770780163555853,  0.4121985831111324,  0.3205988979753252,
    0.2623081892525388, 0.22195308321368667, 0.19235933878519512, 0.16972882833987804, 0.15186263588304877};

// 2^f = sum of (f ln 2)^n / n!, f between -1/2 and 1/2.
inline constexpr int kExpTerms = 12;
inline constexpr double kExpSeries[kExpTerms] = {1.0,
                                                 0.6931471805599453,
                                                 0.24022650695910072,
                                                 0.05550410866482158,
                                                 0.009618129107628477,
                                                 0.0013333558146428443,
                                                 0.0001540353039338161,
                                                 1.5252733804059841e-05,
                                                 1.321548679014431e-06,
                                                 1.01780860092397e-07,
                                                 7.054911620801123e-09,
                                                 4.4455382718708116e-10};

inline constexpr uint64_t kRootOfHalf = 0x3FE6A09E667F3BCD; ///< bits of the root of 1/2
inline constexpr uint64_t kHalfToRoot = 0x3FF0000000000000 - kRootOfHalf;
inline constexpr uint64_t kMantissaMask = 0x000FFFFFFFFFFFFF;
inline constexpr uint32_t kInfinityBits = 0x7F800000;
inline constexpr double kRoundToInteger = 6755399441055744.0; ///< 1.5 times 2^52
inline constexpr double kExponentLimit = 1000.0;              ///< far beyond any single

/// Whole exponents up to this one are products: they are exact where the result lies half-way between two singles.
inline constexpr int kProductLimit = 8;

/// The exponent as a count of factors, or 0 when it is not a small whole number above 0.
constexpr int ProductFactors(double exponent)
{
    for (int i = 1; i <= kProductLimit; ++i)
        if (exponent == static_cast<double>(i)) return i;
    return 0;
}

} // namespace bpmath
