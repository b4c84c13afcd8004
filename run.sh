#!/usr/bin/env bash
# Builds lumenTest and runs it on the shipped data, with --strict. Options go to lumenTest; without any,
# everything that is built is tested on all unit slots, and every call timed a hundred times.
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages g++ cmake ninja-build libhwy-dev googletest

cmake --preset release >build-run.log 2>&1 && cmake --build build --target lumenTest lumen_shared \
  lumen_static >>build-run.log 2>&1 || { cat build-run.log >&2; exit 1; }
rm -f build-run.log

# Profiling inputs of the larger sizes are not shipped: they are made when one is asked for, up to
# the size asked for. -E goes through all of them.
options=("$@")
largest=0
for ((i = 0; i < ${#options[@]}; ++i)); do
  case ${options[i]} in
    -S*) [[ ${options[i + 1]:-} =~ ^[0-7]$ ]] && largest=${options[i + 1]} ;;
    -E*) largest=7 ;;
  esac
done
if [ "$largest" -gt 3 ]; then
  tools/install-packages python3 python3-numpy
  tools/lumen-testdata --profiling "$largest" >&2
fi

[ ${#options[@]} -eq 0 ] && options=(-l 100)

# In front, where no option takes it for its value. lumenTest takes 13 arguments and words of
# LUMEN_TEST_OPTS: what would be one too many goes without it.
read -ra words <<<"${LUMEN_TEST_OPTS:-}"
strict=(--strict)
if [ $((${#options[@]} + ${#words[@]})) -ge 12 ]; then
  echo "run.sh: no room for --strict beside so many options" >&2
  strict=()
fi
exec build/lumenTest testdata "${strict[@]}" "${options[@]}"
