// The fast power: BPMath.cpp lane by lane.
#include "src/BPMath.h"

#include "src/BPMathTables.h"

#include <bit>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/BPMathKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Rounds to single, beyond the range of singles to an infinity. The library's target without vectors would stop
/// at the largest single, so there the compiler converts.
template <class DH, class V> hn::Vec<DH> ToSingle(DH dh, V value)
{
#if HWY_TARGET == HWY_SCALAR
    const hn::DFromV<V> d;
    HWY_ALIGN double in[hn::MaxLanes(d)];
    HWY_ALIGN float out[hn::MaxLanes(d)];
    hn::Store(value, d, in);
    for (size_t i = 0; i < hn::MaxLanes(d); ++i) out[i] = static_cast<float>(in[i]);
    return hn::Load(dh, out);
#else
    return hn::DemoteTo(dh, value);
#endif
}

template <class D, class V> V Log2(D d, V x)
{
    const hn::RebindToUnsigned<D> du;
    const auto bits = hn::Add(hn::BitCast(du, x), hn::Set(du, bpmath::kHalfToRoot));
    // The exponent as a double: below the bits of 2^52, then 2^52 and the bias go off again.
    const auto raised = hn::Or(hn::ShiftRight<52>(bits), hn::Set(du, uint64_t{0x4330000000000000}));
    const V exponent = hn::Sub(hn::BitCast(d, raised), hn::Set(d, 4503599627370496.0 + 1023.0));
    const V mantissa =
        hn::BitCast(d, hn::Add(hn::And(bits, hn::Set(du, bpmath::kMantissaMask)), hn::Set(du, bpmath::kRootOfHalf)));
    const V one = hn::Set(d, 1.0);
    const V s = hn::Div(hn::Sub(mantissa, one), hn::Add(mantissa, one));
    const V z = hn::Mul(s, s);
    V sum = hn::Set(d, bpmath::kLogSeries[bpmath::kLogTerms - 1]);
    for (int i = bpmath::kLogTerms - 2; i >= 0; --i) sum = hn::Add(hn::Mul(sum, z), hn::Set(d, bpmath::kLogSeries[i]));
    return hn::Add(exponent, hn::Mul(s, sum));
}

template <class D, class V> V Exp2(D d, V x)
{
    const hn::RebindToUnsigned<D> du;
    const V round = hn::Set(d, bpmath::kRoundToInteger);
    const V shifted = hn::Add(x, round);
    const V fraction = hn::Sub(x, hn::Sub(shifted, round));
    V sum = hn::Set(d, bpmath::kExpSeries[bpmath::kExpTerms - 1]);
    for (int i = bpmath::kExpTerms - 2; i >= 0; --i)
        sum = hn::Add(hn::Mul(sum, fraction), hn::Set(d, bpmath::kExpSeries[i]));
    return hn::BitCast(d, hn::Add(hn::BitCast(du, sum), hn::ShiftLeft<52>(hn::BitCast(du, shifted))));
}

/// True when all bases are finite and neither below zero nor a negative zero: then their bits are small numbers.
bool ArePlain(const float* base, size_t count)
{
    const hn::ScalableTag<uint32_t> d;
    const hn::Rebind<float, decltype(d)> df;
    const size_t lanes = hn::Lanes(d);
    auto largest = hn::Zero(d);
    size_t i = 0;
    for (; i + lanes <= count; i += lanes) largest = hn::Max(largest, hn::BitCast(d, hn::LoadU(df, base + i)));
    bool plain = hn::AllTrue(d, hn::Lt(largest, hn::Set(d, bpmath::kInfinityBits)));
    for (; i < count; ++i) plain = plain && std::bit_cast<uint32_t>(base[i]) < bpmath::kInfinityBits;
    return plain;
}

/// Powers of plain bases; zeros give `ofZero`. Returns how many entries, from the first, it has done.
size_t PowerLanes(const float* base, double exponent, float ofZero, float* out, size_t count)
{
    const hn::ScalableTag<double> d;
    const hn::Rebind<float, decltype(d)> dh;
    const size_t lanes = hn::Lanes(d);
    const auto limit = hn::Set(d, bpmath::kExponentLimit);
    const auto power = [&](auto single) HWY_ATTR {
        const auto isZero = hn::Eq(single, hn::Zero(dh));
        // A zero goes through as 1, so that no lane leaves the normal range.
        const auto x = hn::PromoteTo(d, hn::IfThenElse(isZero, hn::Set(dh, 1.0f), single));
        auto y = hn::Mul(hn::Set(d, exponent), Log2(d, x));
        y = hn::IfThenElse(hn::Gt(y, limit), limit, y);
        y = hn::IfThenElse(hn::Lt(y, hn::Neg(limit)), hn::Neg(limit), y);
        return hn::IfThenElse(isZero, hn::Set(dh, ofZero), ToSingle(dh, Exp2(d, y)));
    };
    size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) { // two at a time: one fills the waits of the other
        const auto first = power(hn::LoadU(dh, base + i));
        const auto second = power(hn::LoadU(dh, base + i + lanes));
        hn::StoreU(first, dh, out + i);
        hn::StoreU(second, dh, out + i + lanes);
    }
    for (; i + lanes <= count; i += lanes) hn::StoreU(power(hn::LoadU(dh, base + i)), dh, out + i);
    return i;
}

/// Products of `factors` equal factors.
size_t ProductLanes(const float* base, int factors, float* out, size_t count)
{
    const hn::ScalableTag<double> d;
    const hn::Rebind<float, decltype(d)> dh;
    const size_t lanes = hn::Lanes(d);
    size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto x = hn::PromoteTo(d, hn::LoadU(dh, base + i));
        auto product = x;
        for (int k = 1; k < factors; ++k) product = hn::Mul(product, x);
        hn::StoreU(ToSingle(dh, product), dh, out + i);
    }
    return i;
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(ArePlain);
HWY_EXPORT(PowerLanes);
HWY_EXPORT(ProductLanes);
} // namespace ochrine

void BPPowerArray(const float* base, double exponent, float* out, size_t count)
{
    const bool plain = std::isfinite(exponent) && HWY_DYNAMIC_DISPATCH(ochrine::ArePlain)(base, count);
    size_t done = 0;
    if (const int factors = bpmath::ProductFactors(exponent); plain && factors > 0) {
        done = HWY_DYNAMIC_DISPATCH(ochrine::ProductLanes)(base, factors, out, count);
    } else if (plain) {
        const float ofZero = BPPower(0, exponent);
        done = HWY_DYNAMIC_DISPATCH(ochrine::PowerLanes)(base, exponent, ofZero, out, count);
    }
    for (size_t i = done; i < count; ++i) out[i] = BPPower(base[i], exponent);
}
#endif
