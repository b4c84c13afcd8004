# 32-bit ARM with NEON on Android; docs/android.md says how to use it.
if(NOT DEFINED ENV{ANDROID_NDK})
  message(FATAL_ERROR "Set ANDROID_NDK to the folder of the NDK")
endif()
set(ANDROID_ABI armeabi-v7a CACHE STRING "armeabi-v7a or arm64-v8a")
set(ANDROID_PLATFORM android-26 CACHE STRING "Oldest system that the build runs on")
set(ANDROID_STL c++_static CACHE STRING "C++ library, linked in")
set(ANDROID_ARM_NEON ON)
include($ENV{ANDROID_NDK}/build/cmake/android.toolchain.cmake)
