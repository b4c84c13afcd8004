// The optional shared build of the library, "liblumenopt.so": it may run functions on remote units.

#ifndef LUMEN_SHARED_H
#define LUMEN_SHARED_H

#include <dlfcn.h>

#include "platform/lumenPlatform.h"

inline constexpr const char* LUM_SHARED_BUILD = "liblumenopt.so";

// A handle of its own on the shared build; null when there is none.
inline void* lumOpenSharedBuild() { return lumOpenLibrary(LUM_SHARED_BUILD); }

// A function that the library exports, as a pointer of type F; null where it has none.
template <class F>
F* lumSymbol(void* library, const char* name) {
  return reinterpret_cast<F*>(dlsym(library, name));
}

// The entry point that a variable of the library holds; null where it has none.
template <class F>
F* lumStoredSymbol(void* library, const char* name) {
  void* variable = dlsym(library, name);
  return variable ? *static_cast<F**>(variable) : nullptr;
}

#endif  // LUMEN_SHARED_H
