/// @file
/// Types that every family of functions shares.

#ifndef LUMEN_TYPES_H
#define LUMEN_TYPES_H

#include <stdint.h>

/// Marks a function of the shared library's interface.
#if defined(__GNUC__)
#define LUMEN_API __attribute__((visibility("default")))
#else
#define LUMEN_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// What a library call reports. In C++ a type of its own, so that it is not mixed up with a count.
#ifdef __cplusplus
enum lumStatus : int32_t {
#else
typedef int32_t lumStatus;
enum {
#endif
  LUMEN_SUCCESS = 0,
  LUMEN_EFAIL = 1,
  LUMEN_EUNALIGNPARAM = 2,
  LUMEN_EBADPARAM = 3,
  LUMEN_EINVALSTATE = 4,
  LUMEN_ENORES = 5,
  LUMEN_EUNSUPPORTED = 6,
  LUMEN_EHWZDSP = 7,
  LUMEN_EHWGPU = 8
};

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_TYPES_H
