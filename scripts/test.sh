#!/usr/bin/env bash
# Builds everything with warnings as errors and runs the whole test suite: once normally, and
# once under AddressSanitizer and UndefinedBehaviorSanitizer. Installs what it needs first.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/bootstrap.sh"
jobs=$(nproc)

run_suite() {
  local dir=$1; shift
  cmake -S "$here" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j"$jobs"
  (cd "$dir" && ctest --output-on-failure -j"$jobs" --timeout 300)
}

run_suite "$here/build/test"
# The sanitizer run is the one that proves no parser reads out of bounds and nothing leaks.
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  run_suite "$here/build/sanitize" -DVELMORA_SANITIZE=ON

# The installed package as an integrator uses it: C and Python hosts against velmora-sim.
# It reuses the first build rather than compiling everything a third time.
VELMORA_INSTALL_CHECK_BUILD="$here/build/test" "$here/scripts/install_check.sh"
