#!/usr/bin/env bash
# Builds and runs every test. With arguments, only the named steps: see `steps` and `more` below.
set -euo pipefail
cd "$(dirname "$0")"

steps=(style data release targets asan-ubsan tsan armv7 aarch64 neon)
# more: debug, the same tests in a build for debugging; the sanitizers' builds are Clang's too

# Builds a preset and runs its tests and lumenTest on the shipped data.
check_preset() {
  local build=build-$1
  [ "$1" = release ] && build=build
  cmake --preset "$1" >"$build.log" 2>&1 || { cat "$build.log" >&2; return 1; }
  cmake --build "$build" >"$build.log" 2>&1 || { grep -v '^\[' "$build.log" >&2; return 1; }
  rm -f "$build.log"
  ctest --preset "$1" --parallel 2
}

step_style() {
  git ls-files '*.h' '*.cpp' '*.c' | xargs clang-format --dry-run --Werror
}

step_data() {
  tools/lumen-testdata --check testdata
  /usr/bin/python3 -m unittest discover -s tools/tests
}

# The golden rows with every vector instruction set of this machine; the unit tests go through all
# of them anyway.
step_targets() {
  local target
  for target in sse4 avx2 avx512; do
    LUMEN_VECTOR_TARGET=$target build/lumenTest testdata -U >/dev/null 2>build-target.log || {
      cat build-target.log
      return 1
    }
    if grep -q 'ERROR: LUMEN_VECTOR_TARGET' build-target.log; then
      echo "$target: not on this machine"
      continue
    fi
    echo "$target: passed"
  done
  rm -f build-target.log
}

step_release() { check_preset release; }
step_debug() { check_preset debug; }
step_asan-ubsan() { check_preset asan-ubsan; }
step_tsan() { check_preset tsan; }
step_armv7() { check_preset armv7; }
step_aarch64() { check_preset aarch64; }

# The vector functions of the 32-bit ARM build are NEON code.
step_neon() { tools/check-neon build-armv7/liblumen.a; }

tools/install-packages git g++ cmake ninja-build libhwy-dev googletest ccache python3 python3-numpy \
  python3-scipy pkg-config clang-14 clang-format libclang-rt-14-dev qemu-user-static \
  g++-arm-linux-gnueabihf g++-aarch64-linux-gnu
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache

[ $# -gt 0 ] && steps=("$@")
passed=0
failed=()
for step in "${steps[@]}"; do
  echo "== $step"
  # Not in a condition: there bash would go on after a command that failed.
  set +e
  (set -e; "step_$step")
  status=$?
  set -e
  if [ $status -eq 0 ]; then passed=$((passed + 1)); else failed+=("$step"); fi
done
[ ${#failed[@]} -eq 0 ] || echo "Failed: ${failed[*]}"
echo "$passed passed, ${#failed[@]} failed"
[ ${#failed[@]} -eq 0 ]
