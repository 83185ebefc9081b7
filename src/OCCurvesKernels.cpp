// The spline walk, a register of basis rows at a time. The rows at which entries are written are found first; their
// values are computed afterwards, for those rows alone. Both have the bits of the walk row by row.
#include "src/OCCurvesKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/OCCurvesKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using DD = hn::ScalableTag<double>;
using DH = hn::Rebind<float, DD>;
using DI = hn::Rebind<int32_t, DD>;
using VD = hn::Vec<DD>;
using VH = hn::Vec<DH>;

/// Rounds to single, beyond the range of singles to an infinity; the library's emulated targets would stop short.
HWY_INLINE VH ToSingle(VD value)
{
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
    HWY_ALIGN double in[hn::MaxLanes(DD())];
    HWY_ALIGN float out[hn::MaxLanes(DD())];
    hn::Store(value, DD(), in);
    for (size_t i = 0; i < hn::MaxLanes(DD()); ++i) out[i] = static_cast<float>(in[i]);
    return hn::Load(DH(), out);
#else
    return hn::DemoteTo(DH(), value);
#endif
}

using DW = hn::ScalableTag<float>; // a whole register of singles, two of doubles
using DWI = hn::RebindToSigned<DW>;
using VW = hn::Vec<DW>;
using VWI = hn::Vec<DWI>;

HWY_INLINE VH Combined(VH b0, VH b1, VH b2, VH b3, const double control[4])
{
    const DD d;
    return ToSingle(hn::PromoteTo(d, b0) * hn::Set(d, control[0]) + hn::PromoteTo(d, b1) * hn::Set(d, control[1]) +
                    hn::PromoteTo(d, b2) * hn::Set(d, control[2]) + hn::PromoteTo(d, b3) * hn::Set(d, control[3]));
}

/// One column of the basis at t.
HWY_INLINE VH Column(const float row[4], VH t)
{
    const DH d;
    const VH t2 = t * t;
    const VH t3 = t2 * t;
    return hn::Set(d, row[0]) * t3 + hn::Set(d, row[1]) * t2 + hn::Set(d, row[2]) * t + hn::Set(d, row[3]);
}

HWY_INLINE VH TimeOf(hn::Vec<DI> row)
{
    return hn::ConvertTo(DH(), row) * hn::Set(DH(), 1 / 32768.0f); // a power of two: as exact as a division
}

constexpr int32_t kChunk = 1024; // rows whose indices are computed before they are looked through

/// The index that x has reached at each row of a chunk: what lies below 0 is -1, what lies beyond every table 32,767.
HWY_INLINE void IndicesOf(const OCBasisPlanes& basis, int32_t row, const double x[4], int32_t* index)
{
    const DH d;
    const auto lanes = static_cast<int32_t>(hn::Lanes(d));
    const VH scale = hn::Set(d, 16384.0f), beyond = hn::Set(d, 32767.0f), below = hn::Set(d, -1.0f);
    for (int32_t i = 0; i < kChunk; i += lanes) {
        const auto column = [&](int k) HWY_ATTR { return hn::LoadU(d, basis.plane[k] + row + i); };
        const VH at = Combined(column(0), column(1), column(2), column(3), x) * scale;
        const VH low = hn::IfThenElse(hn::Ge(at, hn::Zero(d)), at, below); // a NaN reaches nothing
        hn::StoreU(hn::ConvertTo(DI(), hn::IfThenElse(hn::Lt(low, beyond), low, beyond)), DI(), index + i);
    }
}

/// Looks through a chunk; index[-1] is that of the row before.
HWY_INLINE void LookThrough(const int32_t* index, int32_t row, OCSplineWalk* walk)
{
    const DWI d;
    const auto lanes = static_cast<int32_t>(hn::Lanes(d));
    const VWI one = hn::Set(d, 1);
    int32_t next = walk->next, hits = walk->hits;
    for (int32_t i = 0; i < kChunk && next < walk->end; i += lanes) {
        const VWI here = hn::LoadU(d, index + i);
        if (hn::AllTrue(d, hn::Lt(here, hn::Set(d, next)))) continue;
        // Where x goes on by at most an index a row, an entry is written at every row that enters a new index.
        const VWI rise = here - hn::LoadU(d, index + i - 1);
        const auto enters = hn::Eq(rise, one);
        const bool steady = index[i - 1] + 1 == next && next + lanes <= walk->end &&
                            hn::AllTrue(d, hn::Or(enters, hn::Eq(rise, hn::Zero(d))));
        if (steady) {
            // In a register first: some processors are slow at storing some lanes only.
            hn::StoreU(hn::Compress(hn::Iota(d, row + i), enters), d, walk->row + hits);
            const auto found = static_cast<int32_t>(hn::CountTrue(d, enters));
            hits += found;
            next += found;
            continue;
        }
        for (int32_t k = i; k < i + lanes && next < walk->end; ++k)
            if (index[k] >= next) {
                walk->row[hits++] = row + k;
                ++next;
            }
    }
    walk->next = next;
    walk->hits = hits;
}

void Values(const float matrix[4][4], const int32_t* row, int32_t count, const double y[4], float* out)
{
    const DH d;
    const DI di;
    const auto lanes = static_cast<int32_t>(hn::Lanes(d));
    const VH zero = hn::Zero(d), one = hn::Set(d, 1.0f);
    for (int32_t i = 0; i < count; i += lanes) {
        const VH t = TimeOf(hn::LoadU(di, row + i));
        const VH value =
            Combined(Column(matrix[0], t), Column(matrix[1], t), Column(matrix[2], t), Column(matrix[3], t), y);
        const VH held = hn::IfThenElse(hn::Lt(value, one), value, one);
        const VH unit = hn::IfThenElseZero(hn::Gt(value, zero), held);
        if (i + lanes <= count) {
            hn::StoreU(unit, d, out + i);
            continue;
        }
        float last[hn::MaxLanes(DH())];
        hn::StoreU(unit, d, last);
        for (int32_t k = i; k < count; ++k) out[k] = last[k - i];
    }
}

} // namespace

void Walk(const float matrix[4][4], const OCBasisPlanes& basis, const double x[4], const double y[4],
          OCSplineWalk* walk, float* out)
{
    int32_t held[1 + kChunk];
    int32_t* const index = held + 1;
    index[kChunk - 1] = -2; // before the first row nothing is steady
    walk->hits = 0;
    for (int32_t row = 0; row < kOCSplineRows && walk->next < walk->end; row += kChunk) {
        index[-1] = index[kChunk - 1];
        IndicesOf(basis, row, x, index);
        LookThrough(index, row, walk);
    }
    Values(matrix, walk->row, walk->hits, y, out);
}

void Basis(const float matrix[4][4], OCBasisPlanes* basis)
{
    const DI di;
    for (int32_t row = 0; row < kOCSplineRows; row += static_cast<int32_t>(hn::Lanes(di)))
        for (int k = 0; k < 4; ++k)
            hn::StoreU(Column(matrix[k], TimeOf(hn::Iota(di, row))), DH(), basis->plane[k] + row);
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ochrine {
HWY_EXPORT(Walk);
HWY_EXPORT(Basis);
} // namespace ochrine

void OCBuildBasisPlanes(const float matrix[4][4], OCBasisPlanes* basis)
{
    HWY_DYNAMIC_DISPATCH(ochrine::Basis)(matrix, basis);
}

void OCWalkSplineSegment(const float matrix[4][4], const OCBasisPlanes& basis, const double x[4], const double y[4],
                         OCSplineWalk* walk, float* out)
{
    HWY_DYNAMIC_DISPATCH(ochrine::Walk)(matrix, basis, x, y, walk, out);
}
#endif
