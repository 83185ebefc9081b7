// What kernels share that compute in double: half a register of singles widened, and rounded again.
// Read once for every instruction set: the guard is turned over by the library each time.
#if defined(SRC_OCKERNELDOUBLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef SRC_OCKERNELDOUBLES_INL_H
#undef SRC_OCKERNELDOUBLES_INL_H
#else
#define SRC_OCKERNELDOUBLES_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ochrine {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using DD = hn::ScalableTag<double>;
using DH = hn::Rebind<float, DD>; // half a register of singles
using VD = hn::Vec<DD>;
using VH = hn::Vec<DH>;

/// Rounds to single, beyond the range of singles to an infinity. The library's target without vectors would stop at
/// the largest single, so there the compiler converts.
HWY_INLINE VH ToSingle(VD value)
{
#if HWY_TARGET == HWY_SCALAR
    HWY_ALIGN double in[hn::MaxLanes(DD())];
    HWY_ALIGN float out[hn::MaxLanes(DD())];
    hn::Store(value, DD(), in);
    for (size_t i = 0; i < hn::MaxLanes(DD()); ++i) out[i] = static_cast<float>(in[i]);
    return hn::Load(DH(), out);
#else
    return hn::DemoteTo(DH(), value);
#endif
}

} // namespace HWY_NAMESPACE
} // namespace ochrine
HWY_AFTER_NAMESPACE();

#endif // SRC_OCKERNELDOUBLES_INL_H
