// Vectors that compilers are to keep in registers.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_LOAD_ONCE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_LOAD_ONCE_INL_H
#undef LUMEN_LOAD_ONCE_INL_H
#else
#define LUMEN_LOAD_ONCE_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The same vector, in a register: GCC would make a constant or a load a part of each of its uses,
// and what crosses a line of the cache costs two accesses each time.
template <class V>
HWY_INLINE V InRegister(V v) {
#if HWY_ARCH_X86
  asm("" : "+v"(v.raw));
#endif
  return v;
}
// Loads once what is used twice.
template <class D>
HWY_INLINE hn::Vec<D> LoadOnce(D d, const hn::TFromD<D>* p) {
  return InRegister(hn::LoadU(d, p));
}

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_LOAD_ONCE_INL_H
