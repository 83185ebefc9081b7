// What the stages of the fast kernel share: registers of pixels, colour spaces, table lookups.
// Read once for every instruction set: the guard is turned over by the library each time.
#if defined(SRC_OCKERNELBASICS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SRC_OCKERNELBASICS_INL_H
#undef SRC_OCKERNELBASICS_INL_H
#else
#define SRC_OCKERNELBASICS_INL_H
#endif

#include "src/OCStages.h"
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<D>;
using V = hn::Vec<D>;
using VI = hn::Vec<DI>;
using M = hn::Mask<D>;

HWY_INLINE V Splat(float value)
{
    return hn::Set(D(), value);
}

struct Color {
    V r, g, b;
};

struct Pixels {
    Color c;
    V sourceLuma;
    V weight[ocRangeCount];
};

HWY_INLINE V Luma(const Color& c)
{
    return Splat(0.299f) * c.r + Splat(0.587f) * c.g + Splat(0.114f) * c.b;
}

struct YUV {
    V y, u, v;
};

HWY_INLINE YUV ToYUV(const Color& c)
{
    return {Luma(c), Splat(-0.147407f) * c.r - Splat(0.289391f) * c.g + Splat(0.436798f) * c.b,
            Splat(0.614777f) * c.r - Splat(0.514799f) * c.g - Splat(0.099978f) * c.b};
}

HWY_INLINE Color FromYUV(V y, V u, V v)
{
    return {y + Splat(1.140251f) * v, y - Splat(0.393931f) * u - Splat(0.580809f) * v, y + Splat(2.028398f) * u};
}

HWY_INLINE V Select(M mask, V yes, V no)
{
    return hn::IfThenElse(mask, yes, no);
}

/// a > b ? a : b, and so b where either is no number. One instruction where the machine has it like that.
HWY_INLINE V Larger(V a, V b)
{
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
    return hn::Max(a, b);
#else
    return hn::IfThenElse(hn::Gt(a, b), a, b);
#endif
}

/// a < b ? a : b, likewise.
HWY_INLINE V Smaller(V a, V b)
{
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
    return hn::Min(a, b);
#else
    return hn::IfThenElse(hn::Lt(a, b), a, b);
#endif
}

/// Holds values between 0 and 1; a NaN becomes 0.
HWY_INLINE V Unit(V value)
{
    return Smaller(Larger(value, hn::Zero(D())), Splat(1));
}

/// An input to tone tables, prepared once for all tables that it is looked up in.
struct ToneIndex {
    VI index; ///< of the entry, the last one where the input is above 1
    M inside; ///< input at most 1
    V above;  ///< input - 1
    bool allInside;
};

HWY_INLINE ToneIndex IndexOf(V input)
{
    const D d;
    const DI di;
    ToneIndex t;
    t.inside = hn::Le(input, Splat(1));
    t.allInside = hn::AllTrue(d, t.inside);
    t.index = hn::ConvertTo(di, Unit(input) * Splat(16384.0f));
    t.above = input - Splat(1);
    return t;
}

HWY_INLINE V Lookup(const OCTone& tone, const ToneIndex& t)
{
    const V entry = hn::GatherIndex(D(), tone.entry, t.index);
    if (HWY_LIKELY(t.allInside)) return entry;
    return Select(t.inside, entry, Splat(tone.top) + t.above * Splat(tone.slope));
}

HWY_INLINE V Lookup(const OCTone& tone, V input)
{
    return Lookup(tone, IndexOf(input));
}

HWY_INLINE V Blend(const Pixels& p, V shadows, V midtones, V highlights)
{
    return p.weight[ocShadows] * shadows + p.weight[ocMidtones] * midtones + p.weight[ocHighlights] * highlights;
}

HWY_INLINE Color Blend(const Pixels& p, const Color& s, const Color& m, const Color& h)
{
    return {Blend(p, s.r, m.r, h.r), Blend(p, s.g, m.g, h.g), Blend(p, s.b, m.b, h.b)};
}

/// Three values that stand side by side in rows of four.
struct Three {
    V a, b, c;
};

/// Reads the rows at `index`: a load of four floats for each lane, then blocks of four lanes are turned around.
HWY_INLINE Three RowsAt(const float* HWY_RESTRICT rows, VI index)
{
#if HWY_TARGET == HWY_SCALAR
    const VI at = hn::ShiftLeft<2>(index);
    const D d;
    return {hn::GatherIndex(d, rows, at), hn::GatherIndex(d, rows + 1, at), hn::GatherIndex(d, rows + 2, at)};
#else
    const D d;
    const DI di;
    HWY_ALIGN int32_t at[hn::MaxLanes(D())];
    hn::Store(hn::ShiftLeft<2>(index), di, at);
    __asm__("" : "+m"(at));                      // read back from memory: taking lanes out of a register costs more
    const auto row = [&](size_t lane) HWY_ATTR { // of this lane, and of those in the same place of the further blocks
        const hn::CappedTag<float, 4> d4;
        const auto load = [&](size_t i) HWY_ATTR { return hn::Load(d4, rows + at[i]); };
#if HWY_TARGET <= HWY_AVX3
        const hn::CappedTag<float, 8> d8;
        return hn::Combine(d, hn::Combine(d8, load(lane + 12), load(lane + 8)),
                           hn::Combine(d8, load(lane + 4), load(lane)));
#elif HWY_TARGET == HWY_AVX2
        return hn::Combine(d, load(lane + 4), load(lane));
#else
        return load(lane);
#endif
    };
    const V r0 = row(0), r1 = row(1), r2 = row(2), r3 = row(3);
    const hn::RepartitionToWide<D> dw;
    const auto pairs = [&](V v) HWY_ATTR { return hn::BitCast(dw, v); };
    const auto low0 = pairs(hn::InterleaveLower(d, r0, r1)), low1 = pairs(hn::InterleaveLower(d, r2, r3));
    const auto high0 = pairs(hn::InterleaveUpper(d, r0, r1)), high1 = pairs(hn::InterleaveUpper(d, r2, r3));
    return {hn::BitCast(d, hn::InterleaveLower(dw, low0, low1)), hn::BitCast(d, hn::InterleaveUpper(dw, low0, low1)),
            hn::BitCast(d, hn::InterleaveLower(dw, high0, high1))};
#endif
}

/// The tones of the three ranges, blended. `rows` holds their entries side by side.
HWY_INLINE V BlendTones(const Pixels& p, const float* rows, const OCTone& s, const OCTone& m, const OCTone& h, V input)
{
    const ToneIndex t = IndexOf(input);
    Three entry = RowsAt(rows, t.index);
    if (HWY_UNLIKELY(!t.allInside)) {
        entry.a = Select(t.inside, entry.a, Splat(s.top) + t.above * Splat(s.slope));
        entry.b = Select(t.inside, entry.b, Splat(m.top) + t.above * Splat(m.slope));
        entry.c = Select(t.inside, entry.c, Splat(h.top) + t.above * Splat(h.slope));
    }
    return Blend(p, entry.a, entry.b, entry.c);
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#endif // SRC_OCKERNELBASICS_INL_H
