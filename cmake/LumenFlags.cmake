# Flags that every source of the project is compiled with.
add_library(lumen_flags INTERFACE)
target_compile_features(lumen_flags INTERFACE cxx_std_20)
target_compile_options(lumen_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Werror
                                             $<$<COMPILE_LANGUAGE:CXX>:-Wno-psabi>)

if(LUMEN_SANITIZE)
  target_compile_options(lumen_flags INTERFACE -fsanitize=${LUMEN_SANITIZE}
                                               -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(lumen_flags INTERFACE -fsanitize=${LUMEN_SANITIZE})
endif()

# Highway's headers alone: a cross build must not see the rest of the host's include folder.
find_path(LUMEN_HIGHWAY_INCLUDE hwy/highway.h PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/highway)
file(CREATE_LINK ${LUMEN_HIGHWAY_INCLUDE}/hwy ${PROJECT_BINARY_DIR}/highway/hwy SYMBOLIC)
add_library(lumen_highway INTERFACE)
target_include_directories(lumen_highway SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/highway)
# Its assertions, which sanitizers would turn on, need its library.
target_compile_definitions(lumen_highway INTERFACE HWY_IS_DEBUG_BUILD=0)

# The instruction sets that vector files are compiled for. On x86-64 they are SSE4, AVX2 and AVX-512,
# with SSE4 in the place of what the compiler's flags allow everywhere; the library asks the
# processor before it uses any of them. ARM has NEON.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  target_compile_definitions(lumen_highway INTERFACE
    HWY_BASELINE_TARGETS=HWY_SSE4
    "HWY_DISABLED_TARGETS=(~(HWY_SSE4|HWY_AVX2|HWY_AVX3))")
else()
  target_compile_definitions(lumen_highway INTERFACE HWY_COMPILE_ONLY_STATIC
                                                     "HWY_DISABLED_TARGETS=(~(HWY_NEON|HWY_SCALAR))")
endif()
