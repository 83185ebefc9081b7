// The fast transfers: every pair that touches planes, and the row copies, a register at a time. What the readable
// routines compute in double is computed in double here, too; where a single operation rounds to the same bits, it is
// single.
#include "src/FBTransferRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/FBTransferKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using namespace fbtransfer;
using D = hn::ScalableTag<float>;
using DU = hn::RebindToUnsigned<D>;
using DI = hn::RebindToSigned<D>;
using V = hn::Vec<D>;
using VU = hn::Vec<DU>;
// Doubles, and the singles that fill one register of them.
using DD = hn::ScalableTag<double>;
using DH = hn::Rebind<float, DD>;
using VD = hn::Vec<DD>;
using VH = hn::Vec<DH>;

/// Rounds to single, beyond the range of singles to an infinity: without vectors the library would hold it to the range.
HWY_INLINE VH ToSingle(VD value)
{
#if HWY_TARGET == HWY_SCALAR
    return hn::Set(DH(), static_cast<float>(hn::GetLane(value)));
#else
    return hn::DemoteTo(DH(), value);
#endif
}

HWY_INLINE V Splat(float value)
{
    return hn::Set(D(), value);
}

HWY_INLINE VD SplatD(double value)
{
    return hn::Set(DD(), value);
}

HWY_INLINE const float* FloatsAt(const uint8_t* row, size_t index)
{
    return reinterpret_cast<const float*>(row) + index;
}

HWY_INLINE float* FloatsAt(uint8_t* row, size_t index)
{
    return reinterpret_cast<float*>(row) + index;
}

HWY_INLINE const uint32_t* WordsAt(const uint8_t* row, size_t index)
{
    return reinterpret_cast<const uint32_t*>(row) + index;
}

HWY_INLINE uint32_t* WordsAt(uint8_t* row, size_t index)
{
    return reinterpret_cast<uint32_t*>(row) + index;
}

/// Applies a function of half registers to whole ones.
#if HWY_TARGET == HWY_SCALAR
template <class Function> HWY_INLINE V ByHalves(V a, V b, V c, Function function)
{
    return function(a, b, c);
}
#else
template <class Function> HWY_INLINE V ByHalves(V a, V b, V c, Function function)
{
    const DH dh;
    const VH low = function(hn::LowerHalf(dh, a), hn::LowerHalf(dh, b), hn::LowerHalf(dh, c));
    const VH high = function(hn::UpperHalf(dh, a), hn::UpperHalf(dh, b), hn::UpperHalf(dh, c));
    return hn::Combine(D(), high, low);
}
#endif

HWY_INLINE V LumaOf(V r, V g, V b)
{
    return ByHalves(r, g, b, [](auto hr, auto hg, auto hb) HWY_ATTR {
        const DD dd;
        const VD sum = SplatD(kGreen) * hn::PromoteTo(dd, hg) + SplatD(kRed) * hn::PromoteTo(dd, hr) +
                       SplatD(kBlue) * hn::PromoteTo(dd, hb);
        return ToSingle(sum);
    });
}

HWY_INLINE void StoreR_G_B_Y(const Row& row, size_t i, V r, V g, V b, V y)
{
    const D d;
    hn::StoreU(r, d, FloatsAt(row.out, i));
    hn::StoreU(g, d, FloatsAt(row.out + row.outPlaneBytes, i));
    hn::StoreU(b, d, FloatsAt(row.out + 2 * row.outPlaneBytes, i));
    hn::StoreU(y, d, FloatsAt(row.out + 3 * row.outPlaneBytes, i));
}

HWY_INLINE void StorePlanes(const Row& row, size_t i, V r, V g, V b)
{
    StoreR_G_B_Y(row, i, r, g, b, LumaOf(r, g, b));
}

template <int shift> HWY_INLINE V ByteOf(VU words)
{
    const VU byte = hn::And(hn::ShiftRight<shift>(words), hn::Set(DU(), 255u));
    return hn::ConvertTo(D(), hn::BitCast(DI(), byte));
}

HWY_INLINE V MinOne(V value) // of a number
{
    return hn::IfThenElse(hn::Lt(value, Splat(1)), value, Splat(1));
}

/// Clamps to 0 to 1; a NaN becomes 0.
HWY_INLINE V UnitOf(V value)
{
    return hn::IfThenElseZero(hn::Gt(value, hn::Zero(D())), MinOne(value));
}

size_t WholeOf(const Row& row)
{
    const size_t lanes = hn::Lanes(D());
    return row.width - row.width % lanes;
}

// Straight input -------------------------------------------------------------------------------------------------------

template <int red, int green, int blue> size_t WordsToPlanes(const Row& row)
{
    const size_t whole = WholeOf(row);
    const V range = Splat(255);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const VU words = hn::LoadU(DU(), WordsAt(row.in, i));
        StorePlanes(row, i, ByteOf<red>(words) / range, ByteOf<green>(words) / range, ByteOf<blue>(words) / range);
    }
    return whole;
}

/// The four 16-bit values of pixels as floats.
struct Four {
    V a, r, g, b;
};

HWY_INLINE Four LoadARGB16(const Row& row, size_t i)
{
    VU first, second;
    hn::LoadInterleaved2(DU(), WordsAt(row.in, i * 2), first, second);
    const VU mask = hn::Set(DU(), 0xFFFFu);
    const auto toFloat = [](VU v) HWY_ATTR { return hn::ConvertTo(D(), hn::BitCast(DI(), v)); };
    return {toFloat(hn::And(first, mask)), toFloat(hn::ShiftRight<16>(first)), toFloat(hn::And(second, mask)),
            toFloat(hn::ShiftRight<16>(second))};
}

size_t ARGB16ToPlanes(const Row& row)
{
    const size_t whole = WholeOf(row);
    const V scale = Splat(1 / 32768.0f);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const Four c = LoadARGB16(row, i);
        StorePlanes(row, i, MinOne(c.r * scale), MinOne(c.g * scale), MinOne(c.b * scale));
    }
    return whole;
}

template <int red, int green, int blue> size_t FloatsToPlanes(const Row& row)
{
    const size_t whole = WholeOf(row);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        V c[4];
        hn::LoadInterleaved4(D(), FloatsAt(row.in, i * 4), c[0], c[1], c[2], c[3]);
        StorePlanes(row, i, c[red], c[green], c[blue]);
    }
    return whole;
}

/// What a video pixel becomes, for half a register.
struct VideoHalf {
    VD r, g, b, y;
};

HWY_INLINE VideoHalf Video8Half(VD luma, VD cb, VD cr)
{
    const VD y = (luma - SplatD(16.0)) * SplatD(kVideoLuma);
    const VD u = cb - SplatD(128.0);
    const VD v = cr - SplatD(128.0);
    const VD range = SplatD(255.0);
    return {(SplatD(kCrToRed) * v + y) / range, (y - u * SplatD(kCbToGreen) - v * SplatD(kCrToGreen)) / range,
            (y + u * SplatD(kCbToBlue)) / range, y / range};
}

HWY_INLINE VideoHalf VideoFloatHalf(VD luma, VD u, VD v)
{
    const VD y = luma * SplatD(kVideoLuma);
    return {v * SplatD(kCrToRed) + y, y - u * SplatD(kCbToGreen) - v * SplatD(kCrToGreen), u * SplatD(kCbToBlue) + y,
            y};
}

/// Stores half a register of each plane.
HWY_INLINE void StoreHalf(const Row& row, size_t i, VD r, VD g, VD b, VD y)
{
    const DH dh;
    hn::StoreU(ToSingle(r), dh, FloatsAt(row.out, i));
    hn::StoreU(ToSingle(g), dh, FloatsAt(row.out + row.outPlaneBytes, i));
    hn::StoreU(ToSingle(b), dh, FloatsAt(row.out + 2 * row.outPlaneBytes, i));
    hn::StoreU(ToSingle(y), dh, FloatsAt(row.out + 3 * row.outPlaneBytes, i));
}

template <int shift, class VW> HWY_INLINE VD ByteD(VW words)
{
    const hn::Rebind<int32_t, DD> di;
    const hn::Rebind<uint32_t, DD> du;
    return hn::PromoteTo(DD(), hn::BitCast(di, hn::And(hn::ShiftRight<shift>(words), hn::Set(du, 255u))));
}

template <int luma, int cb, int cr, bool premultiplied> size_t Video8ToPlanes(const Row& row)
{
    const hn::Rebind<uint32_t, DD> du;
    const size_t lanes = hn::Lanes(DD());
    const size_t whole = row.width - row.width % lanes;
    for (size_t i = 0; i < whole; i += lanes) {
        const auto words = hn::LoadU(du, WordsAt(row.in, i));
        VideoHalf c = Video8Half(ByteD<luma>(words), ByteD<cb>(words), ByteD<cr>(words));
        if (premultiplied) {
            const VD a = ByteD<24>(words) / SplatD(255.0);
            c = {c.r * a, c.g * a, c.b * a, c.y};
        }
        StoreHalf(row, i, c.r, c.g, c.b, c.y);
    }
    return whole;
}

template <bool premultiplied> size_t VideoFloatToPlanes(const Row& row)
{
    const DH dh;
    const DD dd;
    const size_t lanes = hn::Lanes(dd);
    const size_t whole = row.width - row.width % lanes;
    for (size_t i = 0; i < whole; i += lanes) {
        VH v, u, y, alpha;
        hn::LoadInterleaved4(dh, FloatsAt(row.in, i * 4), v, u, y, alpha);
        VideoHalf c = VideoFloatHalf(hn::PromoteTo(dd, y), hn::PromoteTo(dd, u), hn::PromoteTo(dd, v));
        if (premultiplied) {
            const VD a = hn::PromoteTo(dd, alpha);
            c = {c.r * a, c.g * a, c.b * a, c.y * a};
        }
        StoreHalf(row, i, c.r, c.g, c.b, c.y);
    }
    return whole;
}

HWY_INLINE void StorePairs(uint8_t* out, size_t i, VD even, VD odd)
{
    const DH dh;
    hn::StoreInterleaved2(ToSingle(even), ToSingle(odd), dh, FloatsAt(out, i));
}

HWY_INLINE size_t PairsToPlanes(const Row& row, const PairFactors& f)
{
    const hn::Rebind<uint32_t, DD> du;
    const hn::Rebind<int32_t, DD> di;
    const DD dd;
    const size_t lanes = hn::Lanes(dd);
    const size_t whole = row.width - row.width % (2 * lanes);
    const VD shift = SplatD(kPairShift);
    for (size_t i = 0; i < whole; i += 2 * lanes) {
        hn::Vec<hn::Rebind<uint32_t, DD>> word0, word1;
        hn::LoadInterleaved2(du, WordsAt(row.in, i), word0, word1);
        const auto wide = [&](auto words) HWY_ATTR { return hn::PromoteTo(dd, hn::BitCast(di, words)); };
        const auto mask = hn::Set(du, 0xFFFFu);
        const VD cr = wide(hn::ShiftRight<16>(word0)) - SplatD(32768.0);
        const VD cb = wide(hn::ShiftRight<16>(word1)) - SplatD(32768.0);
        const VD r = cr * SplatD(f.crToRed) * shift;
        const VD g1 = cb * SplatD(f.cbToGreen) * shift;
        const VD g2 = cr * SplatD(f.crToGreen) * shift;
        const VD b = cb * SplatD(f.cbToBlue) * shift;
        const VD even = wide(hn::And(word0, mask)) - SplatD(4096.0);
        const VD odd = wide(hn::And(word1, mask)) - SplatD(4096.0);
        const VD n0 = even * SplatD(kPairLuma) * shift;
        const VD n1 = odd * SplatD(kPairLuma) * shift;
        StorePairs(row.out, i, n0 + r, n1 + r);
        StorePairs(row.out + row.outPlaneBytes, i, n0 - g1 - g2, n1 - g1 - g2);
        StorePairs(row.out + 2 * row.outPlaneBytes, i, n0 + b, n1 + b);
        StorePairs(row.out + 3 * row.outPlaneBytes, i, even / SplatD(kPairLumaRange), odd / SplatD(kPairLumaRange));
    }
    return whole;
}

size_t Pairs601ToPlanes(const Row& row)
{
    return PairsToPlanes(row, kPair601);
}

size_t Pairs709ToPlanes(const Row& row)
{
    return PairsToPlanes(row, kPair709);
}

size_t Planes16ToPlanes(const Row& row)
{
    const hn::Rebind<uint16_t, D> d16;
    const size_t whole = WholeOf(row);
    const V range = Splat(65535);
    const auto value = [&](size_t plane, size_t i) HWY_ATTR {
        const auto* in = reinterpret_cast<const uint16_t*>(row.in + plane * row.inPlaneBytes) + i;
        return hn::ConvertTo(D(), hn::PromoteTo(DI(), hn::LoadU(d16, in))) / range;
    };
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) StorePlanes(row, i, value(0, i), value(1, i), value(2, i));
    return whole;
}

// Premultiplied input --------------------------------------------------------------------------------------------------

template <int red, int green, int blue, int alpha> size_t WordsToPlanesTimesAlpha(const Row& row)
{
    const size_t whole = WholeOf(row);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const VU words = hn::LoadU(DU(), WordsAt(row.in, i));
        const V a = ByteOf<alpha>(words);
        const auto times = [&](V c) HWY_ATTR {
            return ByHalves(c, a, a, [](auto hc, auto ha, auto) HWY_ATTR {
                const DD dd;
                const VD range = SplatD(255.0);
                return ToSingle(hn::PromoteTo(dd, hc) / range * (hn::PromoteTo(dd, ha) / range));
            });
        };
        StorePlanes(row, i, times(ByteOf<red>(words)), times(ByteOf<green>(words)), times(ByteOf<blue>(words)));
    }
    return whole;
}

size_t ARGB16ToPlanesTimesAlpha(const Row& row)
{
    const size_t whole = WholeOf(row);
    const V scale = Splat(1 / 32768.0f);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const Four c = LoadARGB16(row, i);
        const V a = MinOne(c.a * scale);
        StorePlanes(row, i, MinOne(c.r * scale * a), MinOne(c.g * scale * a), MinOne(c.b * scale * a));
    }
    return whole;
}

template <int red, int green, int blue, int alpha> size_t FloatsToPlanesTimesAlpha(const Row& row)
{
    const size_t whole = WholeOf(row);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        V c[4];
        hn::LoadInterleaved4(D(), FloatsAt(row.in, i * 4), c[0], c[1], c[2], c[3]);
        StorePlanes(row, i, c[red] * c[alpha], c[green] * c[alpha], c[blue] * c[alpha]);
    }
    return whole;
}

// Output ---------------------------------------------------------------------------------------------------------------

struct Planes {
    V r, g, b;
};

HWY_INLINE Planes LoadPlanes(const Row& row, size_t i)
{
    const D d;
    return {hn::LoadU(d, FloatsAt(row.in, i)), hn::LoadU(d, FloatsAt(row.in + row.inPlaneBytes, i)),
            hn::LoadU(d, FloatsAt(row.in + 2 * row.inPlaneBytes, i))};
}

HWY_INLINE VU ToWord(V value)
{
    return hn::BitCast(DU(), hn::ConvertTo(DI(), value));
}

HWY_INLINE VU Trunc8(V value)
{
    return ToWord(UnitOf(value + Splat(kRoundingBias)) * Splat(255));
}

template <int red, int green, int blue, int other> size_t PlanesToWords(const Row& row)
{
    const size_t whole = WholeOf(row);
    const VU full = hn::ShiftLeft<other>(hn::Set(DU(), 255u));
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const Planes c = LoadPlanes(row, i);
        const VU words = hn::Or(hn::Or(hn::ShiftLeft<red>(Trunc8(c.r)), hn::ShiftLeft<green>(Trunc8(c.g))),
                                hn::Or(hn::ShiftLeft<blue>(Trunc8(c.b)), full));
        hn::StoreU(words, DU(), WordsAt(row.out, i));
    }
    return whole;
}

size_t PlanesToARGB16(const Row& row)
{
    const size_t whole = WholeOf(row);
    const V scale = Splat(32768);
    const VU alpha = hn::Set(DU(), 0x7FFFu);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const Planes c = LoadPlanes(row, i);
        const VU r = ToWord(UnitOf(c.r) * scale);
        const VU g = ToWord(UnitOf(c.g) * scale);
        const VU b = ToWord(UnitOf(c.b) * scale);
        hn::StoreInterleaved2(hn::Or(alpha, hn::ShiftLeft<16>(r)), hn::Or(g, hn::ShiftLeft<16>(b)), DU(),
                              WordsAt(row.out, i * 2));
    }
    return whole;
}

/// Four floats a pixel; `what` puts them in order.
template <class Order> HWY_INLINE size_t PlanesToFloats(const Row& row, Order what)
{
    const size_t whole = WholeOf(row);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) what(LoadPlanes(row, i), FloatsAt(row.out, i * 4));
    return whole;
}

size_t PlanesToYRGB(const Row& row)
{
    return PlanesToFloats(row, [](const Planes& c, float* out)
                                   HWY_ATTR { hn::StoreInterleaved4(Splat(1), c.r, c.g, c.b, D(), out); });
}

size_t PlanesToRGBA(const Row& row)
{
    return PlanesToFloats(row, [](const Planes& c, float* out)
                                   HWY_ATTR { hn::StoreInterleaved4(c.r, c.g, c.b, Splat(1), D(), out); });
}

size_t PlanesToBGRY(const Row& row)
{
    return PlanesToFloats(row, [](const Planes& c, float* out)
                                   HWY_ATTR { hn::StoreInterleaved4(c.b, c.g, c.r, Splat(1), D(), out); });
}

/// Holds a value to an interval and cuts it; what is no number counts as 0.
HWY_INLINE VU Held(V value, float low, float high)
{
    const V l = Splat(low);
    const V h = Splat(high);
    const V held = hn::IfThenElse(hn::Lt(value, l), l, hn::IfThenElse(hn::Gt(value, h), h, value));
    return ToWord(hn::IfThenElseZero(hn::Eq(value, value), held));
}

struct Sums {
    V y, cb, cr;
};

HWY_INLINE Sums VideoOf(const Planes& c)
{
    return {Splat(0.09790624678134918f) * c.b + Splat(0.5041289329528809f) * c.g + Splat(0.25678905844688416f) * c.r,
            Splat(-0.1482226550579071f) * c.r - Splat(0.29099220037460327f) * c.g + Splat(0.439214825630188f) * c.b,
            Splat(0.439214825630188f) * c.r - Splat(0.36778905987739563f) * c.g - Splat(0.07142578065395355f) * c.b};
}

size_t PlanesToVUYA8(const Row& row)
{
    const size_t whole = WholeOf(row);
    const VU full = hn::Set(DU(), 0xFF000000u);
    for (size_t i = 0; i < whole; i += hn::Lanes(D())) {
        const Sums s = VideoOf(LoadPlanes(row, i));
        const VU y = Held(s.y * Splat(255) + Splat(16), 1, 254);
        const VU cb = Held(s.cb * Splat(255) + Splat(128), 1, 254);
        const VU cr = Held(s.cr * Splat(255) + Splat(128), 1, 254);
        hn::StoreU(hn::Or(hn::Or(full, hn::ShiftLeft<16>(y)), hn::Or(hn::ShiftLeft<8>(cb), cr)), DU(),
                   WordsAt(row.out, i));
    }
    return whole;
}

size_t PlanesToVUYAFloat(const Row& row)
{
    return PlanesToFloats(row, [](const Planes& c, float* out) HWY_ATTR {
        const Sums s = VideoOf(c);
        hn::StoreInterleaved4(s.cr, s.cb, s.y, Splat(1), D(), out);
    });
}

/// Even and odd pixels of a plane, none above 1.
struct EvenOdd {
    V even, odd;
};

HWY_INLINE EvenOdd LoadPairs(const uint8_t* plane, size_t i)
{
    EvenOdd p;
    hn::LoadInterleaved2(D(), FloatsAt(plane, i), p.even, p.odd);
    const V one = Splat(1);
    p.even = hn::IfThenElse(hn::Gt(p.even, one), one, p.even);
    p.odd = hn::IfThenElse(hn::Gt(p.odd, one), one, p.odd);
    return p;
}

HWY_INLINE size_t PlanesToPairs(const Row& row, const PairWeights& w)
{
    const size_t step = 2 * hn::Lanes(D());
    const size_t whole = row.width - row.width % step;
    for (size_t i = 0; i < whole; i += step) {
        const EvenOdd r = LoadPairs(row.in, i);
        const EvenOdd g = LoadPairs(row.in + row.inPlaneBytes, i);
        const EvenOdd b = LoadPairs(row.in + 2 * row.inPlaneBytes, i);
        const auto luma = [&](V vr, V vg, V vb) HWY_ATTR {
            return Held(Splat(w.lumaBlue) * vb + Splat(w.lumaGreen) * vg + Splat(w.lumaRed) * vr + Splat(4096), 1,
                        65472);
        };
        const VU cr =
            Held(Splat(28672) * r.even - Splat(w.crGreen) * g.even - Splat(w.crBlue) * b.even + Splat(32768), 1, 65472);
        const VU cb =
            Held(Splat(w.cbRed) * r.even - Splat(w.cbGreen) * g.even + Splat(28672) * b.even + Splat(32768), 1, 65472);
        hn::StoreInterleaved2(hn::Or(luma(r.even, g.even, b.even), hn::ShiftLeft<16>(cr)),
                              hn::Or(luma(r.odd, g.odd, b.odd), hn::ShiftLeft<16>(cb)), DU(), WordsAt(row.out, i));
    }
    return whole;
}

size_t PlanesToPairs601(const Row& row)
{
    return PlanesToPairs(row, kOut601);
}

size_t PlanesToPairs709(const Row& row)
{
    return PlanesToPairs(row, kOut709);
}

// Rows of words --------------------------------------------------------------------------------------------------------

HWY_INLINE VU SwapBytes(VU w)
{
    const VU outer = hn::Or(hn::ShiftLeft<24>(w), hn::ShiftRight<24>(w));
    const VU low = hn::ShiftLeft<8>(hn::And(w, hn::Set(DU(), 0xFF00u)));
    const VU high = hn::And(hn::ShiftRight<8>(w), hn::Set(DU(), 0xFF00u));
    return hn::Or(outer, hn::Or(low, high));
}

size_t SwappedWords(const Row& row)
{
    const size_t whole = WholeOf(row);
    for (size_t i = 0; i < whole; i += hn::Lanes(D()))
        hn::StoreU(SwapBytes(hn::LoadU(DU(), WordsAt(row.in, i))), DU(), WordsAt(row.out, i));
    return whole;
}

/// From the end of the input: the last pixel becomes the first.
size_t ReversedWords(const Row& row)
{
    const size_t lanes = hn::Lanes(D());
    const size_t whole = WholeOf(row);
    for (size_t i = 0; i < whole; i += lanes) {
        const VU words = hn::LoadU(DU(), WordsAt(row.in, row.width - lanes - i));
        hn::StoreU(SwapBytes(hn::Reverse(DU(), words)), DU(), WordsAt(row.out, i));
    }
    return whole;
}

// The tables -----------------------------------------------------------------------------------------------------------

constexpr FBPixelFormat kPlanar = pixFormatRGBYPlanar_Float;

constexpr FastPair kInputs[] = {
    {pixFormatARGB8, pixFormatBGRA8, SwappedWords},
    {pixFormatBGRA8, pixFormatARGB8, SwappedWords},
    {pixFormatARGB8, kPlanar, WordsToPlanes<16, 8, 0>},
    {pixFormatBGRA8, kPlanar, WordsToPlanes<8, 16, 24>},
    {pixFormatARGB16_32K, kPlanar, ARGB16ToPlanes},
    {pixFormatYRGB32_Float, kPlanar, FloatsToPlanes<1, 2, 3>},
    {pixFormatRGBA32_Float, kPlanar, FloatsToPlanes<0, 1, 2>},
    {pixFormatBGRY32_Float, kPlanar, FloatsToPlanes<2, 1, 0>},
    {pixFormatVUYA8, kPlanar, Video8ToPlanes<16, 8, 0, false>},
    {pixFormatUYVA8, kPlanar, Video8ToPlanes<8, 0, 16, false>},
    {pixFormatUYVA8R, kPlanar, Video8ToPlanes<8, 0, 16, false>},
    {pixFormatVUYA32_Float, kPlanar, VideoFloatToPlanes<false>},
    {pixFormatYUYV10_601, kPlanar, Pairs601ToPlanes},
    {pixFormatYUYV10_709, kPlanar, Pairs709ToPlanes},
    {pixFormatRGB16Planar, kPlanar, Planes16ToPlanes},
};

constexpr FastPair kPremultiplied[] = {
    {pixFormatARGB8, kPlanar, WordsToPlanesTimesAlpha<16, 8, 0, 24>},
    {pixFormatBGRA8, kPlanar, WordsToPlanesTimesAlpha<8, 16, 24, 0>},
    {pixFormatARGB16_32K, kPlanar, ARGB16ToPlanesTimesAlpha},
    {pixFormatYRGB32_Float, kPlanar, FloatsToPlanesTimesAlpha<1, 2, 3, 0>},
    {pixFormatBGRY32_Float, kPlanar, FloatsToPlanesTimesAlpha<2, 1, 0, 3>},
    {pixFormatVUYA8, kPlanar, Video8ToPlanes<16, 8, 0, true>},
    {pixFormatUYVA8, kPlanar, Video8ToPlanes<8, 0, 16, true>},
    {pixFormatUYVA8R, kPlanar, Video8ToPlanes<8, 0, 16, true>},
    {pixFormatVUYA32_Float, kPlanar, VideoFloatToPlanes<true>},
    {pixFormatYUYV10_601, kPlanar, Pairs601ToPlanes},
    {pixFormatYUYV10_709, kPlanar, Pairs709ToPlanes},
};

constexpr FastPair kOutputs[] = {
    {pixFormatARGB8, pixFormatARGB8, ReversedWords},        {pixFormatARGB8, pixFormatBGRA8, SwappedWords},
    {kPlanar, pixFormatARGB8, PlanesToWords<16, 8, 0, 24>}, {kPlanar, pixFormatBGRA8, PlanesToWords<8, 16, 24, 0>},
    {kPlanar, pixFormatABGR8, PlanesToWords<0, 8, 16, 24>}, {kPlanar, pixFormatARGB16_32K, PlanesToARGB16},
    {kPlanar, pixFormatYRGB32_Float, PlanesToYRGB},         {kPlanar, pixFormatRGBA32_Float, PlanesToRGBA},
    {kPlanar, pixFormatBGRY32_Float, PlanesToBGRY},         {kPlanar, pixFormatVUYA8, PlanesToVUYA8},
    {kPlanar, pixFormatVUYA32_Float, PlanesToVUYAFloat},    {kPlanar, pixFormatYUYV10_601, PlanesToPairs601},
    {kPlanar, pixFormatYUYV10_709, PlanesToPairs709},
};

FastTables Tables()
{
    return {kInputs, kPremultiplied, kOutputs};
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(Tables);
}

namespace {

fbtransfer::FastRoutine Find(std::span<const fbtransfer::FastPair> pairs, FBPixelFormat from, FBPixelFormat to)
{
    for (const fbtransfer::FastPair& pair : pairs)
        if (pair.from == from && pair.to == to) return pair.row;
    return nullptr;
}

} // namespace

fbtransfer::FastRoutine fbtransfer::FastInput(FBPixelFormat from, FBPixelFormat to)
{
    return Find(HWY_DYNAMIC_DISPATCH(ochrine::Tables)().inputs, from, to);
}

fbtransfer::FastRoutine fbtransfer::FastPremultiplied(FBPixelFormat from, FBPixelFormat to)
{
    return Find(HWY_DYNAMIC_DISPATCH(ochrine::Tables)().premultiplied, from, to);
}

fbtransfer::FastRoutine fbtransfer::FastOutput(FBPixelFormat from, FBPixelFormat to)
{
    return Find(HWY_DYNAMIC_DISPATCH(ochrine::Tables)().outputs, from, to);
}
#endif
