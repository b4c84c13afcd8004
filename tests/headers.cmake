# Every public header compiles alone, and twice in one file, as C11 and as C++11.
file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/include
  ${PROJECT_SOURCE_DIR}/include/lumen/*.h)
add_library(lumen_headers OBJECT)
foreach(header ${headers})
  foreach(language c cpp)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${header}.${language})
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"@header@\"\n#include \"@header@\"\n" @ONLY)
    target_sources(lumen_headers PRIVATE ${source})
  endforeach()
endforeach()
set_target_properties(lumen_headers PROPERTIES C_STANDARD 11 C_EXTENSIONS OFF CXX_STANDARD 11)
target_include_directories(lumen_headers PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_compile_options(lumen_headers PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Werror
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>)
