# Installs the build into a folder of its own, moves that, and builds small programs against it, by
# find_package and by pkg-config, shared and static. Variables: LUMEN_BUILD, LUMEN_WORK (a folder to
# work in), LUMEN_LIBDIR (where libraries go below the prefix), LUMEN_C (the C compiler), LUMEN_GENERATOR
# (of build files).
set(prefix ${LUMEN_WORK}/moved)
file(REMOVE_RECURSE ${LUMEN_WORK})

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE text)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGV}: ${status}\n${text}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${LUMEN_BUILD} --prefix ${LUMEN_WORK}/installed)
file(RENAME ${LUMEN_WORK}/installed ${prefix})

set(build ${LUMEN_WORK}/build)
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${build} -G ${LUMEN_GENERATOR}
  -DCMAKE_C_COMPILER=${LUMEN_C} -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${build})
foreach(library lumen lumen_shared lumen_static)
  run(${build}/with_${library})
endforeach()

find_program(LUMEN_PKG_CONFIG pkg-config)
if(NOT LUMEN_PKG_CONFIG)
  message("pkg-config is not there: left out")
  return()
endif()
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LUMEN_LIBDIR}/pkgconfig)
function(run_with_flags program)
  execute_process(COMMAND ${LUMEN_PKG_CONFIG} ${ARGN} --cflags --libs lumen OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${LUMEN_C} ${CMAKE_CURRENT_LIST_DIR}/main.c -o ${LUMEN_WORK}/${program} ${flags})
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LUMEN_LIBDIR} ${LUMEN_WORK}/${program})
endfunction()
run_with_flags(shared)
# Without the shared library the archive is what -llumen finds.
file(GLOB shared ${prefix}/${LUMEN_LIBDIR}/liblumen.so*)
file(REMOVE ${shared})
run_with_flags(static --static)
