// The spline walk. The rows at which entries are written are found first; their values are computed afterwards, for those
// rows alone, a register at a time. Where x rises evenly, the rows are solved for instead of looked through: real numbers
// tell nearly all of them, and the few that lie too near to call are asked in the precision of the walk. All of it has
// the bits of the walk row by row.
#include "src/OCCurvesKernels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "src/OCCurvesKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "src/OCKernelDoubles-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {
namespace {

using DI = hn::Rebind<int32_t, DD>;
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

constexpr int32_t kChunk = 1024;   // rows whose indices are computed before they are looked through
constexpr int32_t kStretch = 4096; // rows of which one way of looking for indices is chosen

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

/// The index that x reaches at a row, whole or not, in exact arithmetic: that of single precision is never farther off
/// than `error`.
struct RealIndex {
    double a, b, c, d;
    double error; ///< no number where x is wild
};

RealIndex RealIndexOf(const float matrix[4][4], const OCBasisPlanes& basis, const double x[4])
{
    double power[4] = {};
    double largest = 0;
    for (int k = 0; k < 4; ++k) {
        for (int i = 0; i < 4; ++i) power[i] += static_cast<double>(matrix[k][i]) * x[k];
        largest = std::max(largest, std::abs(x[k]));
    }
    constexpr double kRow = 1.0 / kOCSplineRows;
    RealIndex real = {16384 * kRow * kRow * kRow * power[0], 16384 * kRow * kRow * power[1], 16384 * kRow * power[2],
                      16384 * power[3], 0};
    const bool usual = largest < 4 && std::isfinite(power[0] + power[1] + power[2] + power[3]);
    real.error = usual ? 16384 * largest * basis.error + 1e-6 : std::numeric_limits<double>::quiet_NaN();
    return real;
}

double IndexAt(const RealIndex& real, double row)
{
    return ((real.a * row + real.b) * row + real.c) * row + real.d;
}

double SlopeAt(const RealIndex& real, double row)
{
    return (3 * real.a * row + 2 * real.b) * row + real.c;
}

/// Rows that are looked at together, `end` excluded, and how steep x is there.
struct Stretch {
    int32_t first, end;
    double low, high; ///< of the slope, in indices a row
};

Stretch StretchOf(const RealIndex& real, double r0, double r1)
{
    const double slope[3] = {SlopeAt(real, r0), 3 * real.a * r0 * r1 + real.b * (r0 + r1) + real.c, SlopeAt(real, r1)};
    return {static_cast<int32_t>(r0), static_cast<int32_t>(r1), std::min({slope[0], slope[1], slope[2]}),
            std::max({slope[0], slope[1], slope[2]})};
}

/// A row, whole or not.
struct Row {
    double row;
    bool isExact; ///< to 0.02 rows squared
};

/// Where a rising stretch reaches an index that lies in it.
Row RowOf(const RealIndex& real, const Stretch& s, double index, double guess)
{
    double row = guess;
    for (int i = 0; i < 20; ++i) {
        const double step = (index - IndexAt(real, row)) / SlopeAt(real, row);
        row = std::clamp(row + step, static_cast<double>(s.first), static_cast<double>(s.end));
        if (std::abs(step) < 0.02) return {row, true};
    }
    return {row, false};
}

/// Whether the row's x has reached the index, to the bit.
bool HasReached(const OCBasisPlanes& basis, const double x[4], int32_t row, int32_t index)
{
    const auto term = [&](int k) { return static_cast<double>(basis.plane[k][row]) * x[k]; };
    return static_cast<float>(term(0) + term(1) + term(2) + term(3)) * 16384.0f >= static_cast<float>(index);
}

/// The first row from `low` on that reaches the index, or the stretch's end.
int32_t FirstRow(const RealIndex& real, const OCBasisPlanes& basis, const double x[4], const Stretch& s, int32_t low,
                 int32_t guess, int32_t index)
{
    low = std::min(low, s.end);
    int32_t row = std::clamp(guess, low, s.end);
    while (row > low && IndexAt(real, row - 1) > index - real.error) --row;
    while (row < s.end && !HasReached(basis, x, row, index)) ++row;
    return row;
}

/// A piece of the inverse of x: the row as a cubic of the index.
struct Piece {
    double index, scale; ///< (index - `index`) * `scale` runs from 0 to 1
    double c[4];
    double error; ///< in rows; what it tells of a whole row nearer than this is not sure
};

/// The cubic with the rows and slopes of x at two indices.
Piece PieceOf(const RealIndex& real, double index, double step, Row first, Row last)
{
    const double from = first.row, to = last.row;
    const Stretch s = StretchOf(real, from - 1, to + 1);
    const double rise = step / SlopeAt(real, from), riseTo = step / SlopeAt(real, to);
    const double bend = std::max(std::abs(6 * real.a * from + 2 * real.b), std::abs(6 * real.a * to + 2 * real.b));
    // The fourth derivative of the inverse bounds what lies between; the ends are exact to 0.02 rows squared.
    const double low2 = s.low * s.low, step2 = step * step;
    const double fourth = (15 * bend * bend + 60 * s.high * std::abs(real.a)) * bend / (low2 * low2 * low2 * s.low);
    const double ends = bend / s.low * 0.0004 * (1 + step * bend / low2);
    const double error = real.error / s.low + fourth * step2 * step2 / 384 + ends;
    return {index,
            1 / std::max(step, 1e-9),
            {from, rise, 3 * (to - from) - 2 * rise - riseTo, 2 * (from - to) + rise + riseTo},
            s.low > 0 && first.isExact && last.isExact ? error : 1};
}

/// Looks for the rows of the indices from `first` to `last`, none of which is below `low`.
void RowsOfPiece(const RealIndex& real, const Piece& piece, const OCBasisPlanes& basis, const double x[4],
                 const Stretch& s, int32_t first, int32_t last, int32_t low, OCSplineWalk* walk)
{
    const DD d;
    const DI di;
    const auto lanes = static_cast<int32_t>(hn::Lanes(d));
    const VD scale = hn::Set(d, piece.scale), least = hn::Set(d, piece.error), most = hn::Set(d, 1 - piece.error);
    const VD c0 = hn::Set(d, piece.c[0]), c1 = hn::Set(d, piece.c[1]), c2 = hn::Set(d, piece.c[2]),
             c3 = hn::Set(d, piece.c[3]);
    VD index = hn::Iota(d, first - piece.index);
    for (int32_t i = first; i <= last; i += lanes) {
        const VD u = index * scale;
        const VD guess = ((c3 * u + c2) * u + c1) * u + c0;
        const auto below = hn::DemoteTo(di, guess);
        const VD part = guess - hn::PromoteTo(d, below);
        const auto row = hn::Min(hn::Max(below + hn::Set(di, 1), hn::Set(di, s.first)), hn::Set(di, s.end));
        const auto isSure = hn::And(hn::Gt(part, least), hn::Lt(part, most));
        int32_t* const out = walk->row + walk->hits;
        hn::StoreU(row, di, out);
        const int32_t count = std::min(lanes, last + 1 - i);
        if (!hn::AllTrue(d, isSure)) {
            uint8_t sure[8] = {};
            hn::StoreMaskBits(d, isSure, sure);
            for (int32_t k = 0; k < count; ++k)
                if (!((sure[k / 8] >> (k % 8)) & 1))
                    out[k] = FirstRow(real, basis, x, s, k > 0 ? out[k - 1] + 1 : low, out[k], i + k);
        }
        walk->hits += count;
        low = out[count - 1] + 1;
        index = index + hn::Set(d, static_cast<double>(lanes));
    }
}

/// A stretch in which x rises by less than an index a row: every 128th index is solved for, cubics between tell the
/// others, and where that is not sure, the rows around are asked to the bit.
void SolveStretch(const RealIndex& real, const OCBasisPlanes& basis, const double x[4], const Stretch& s,
                  OCSplineWalk* walk)
{
    const int32_t before = walk->hits;
    const int32_t last = std::min(walk->end - 1, static_cast<int32_t>(IndexAt(real, s.end - 1) + real.error));
    const double begin = std::max(static_cast<double>(walk->next), IndexAt(real, s.first));
    const double end = std::max(begin, std::min(static_cast<double>(last), IndexAt(real, s.end)));
    const auto pieces = static_cast<int32_t>((end - begin) / 128) + 1;
    const double step = (end - begin) / pieces;
    Row row = RowOf(real, s, begin, s.first);
    int32_t next = walk->next;
    for (int32_t i = 0; i < pieces && next <= last; ++i) {
        const double index = begin + i * step;
        const Row to = RowOf(real, s, index + step, row.row + step / SlopeAt(real, row.row));
        const int32_t lastHere = i + 1 < pieces ? static_cast<int32_t>(index + step) : last;
        const int32_t low = walk->hits > before ? walk->row[walk->hits - 1] + 1 : s.first;
        RowsOfPiece(real, PieceOf(real, index, step, row, to), basis, x, s, next, lastHere, low, walk);
        next = std::max(next, lastHere + 1);
        row = to;
    }
    while (walk->hits > before && walk->row[walk->hits - 1] >= s.end) --walk->hits;
    walk->next += walk->hits - before;
}

/// Any stretch, row by row.
void WalkStretch(const OCBasisPlanes& basis, const double x[4], const Stretch& s, OCSplineWalk* walk)
{
    int32_t held[1 + kChunk];
    int32_t* const index = held + 1;
    index[-1] = -2; // before the first row nothing is steady
    for (int32_t row = s.first; row < s.end && walk->next < walk->end; row += kChunk) {
        IndicesOf(basis, row, x, index);
        LookThrough(index, row, walk);
        index[-1] = index[kChunk - 1];
    }
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
    const RealIndex real = RealIndexOf(matrix, basis, x);
    walk->hits = 0;
    for (int32_t row = 0; row < kOCSplineRows && walk->next < walk->end; row += kStretch) {
        const Stretch s = StretchOf(real, row, row + kStretch);
        const double start = IndexAt(real, row);
        if (start + std::max(s.high, 0.0) * kStretch + real.error < walk->next) continue; // reaches nothing new
        const bool isEven =
            s.low > 4 * real.error && s.high < 1 - 4 * real.error && start + real.error < walk->next + 1;
        if (isEven)
            SolveStretch(real, basis, x, s, walk);
        else
            WalkStretch(basis, x, s, walk);
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
    double largest = 0;
    for (int32_t row = 0; row < kOCSplineRows; ++row) {
        const double t = row / static_cast<double>(kOCSplineRows);
        double error = 0, size = 0;
        for (int k = 0; k < 4; ++k) {
            const double exact = ((static_cast<double>(matrix[k][0]) * t + static_cast<double>(matrix[k][1])) * t +
                                  static_cast<double>(matrix[k][2])) *
                                     t +
                                 static_cast<double>(matrix[k][3]);
            error += std::abs(static_cast<double>(basis->plane[k][row]) - exact);
            size += std::abs(exact);
        }
        largest = std::max(largest, error + size / 16777216); // the sum is rounded once more
    }
    basis->error = largest;
}

void OCWalkSplineSegment(const float matrix[4][4], const OCBasisPlanes& basis, const double x[4], const double y[4],
                         OCSplineWalk* walk, float* out)
{
    HWY_DYNAMIC_DISPATCH(ochrine::Walk)(matrix, basis, x, y, walk, out);
}
#endif
