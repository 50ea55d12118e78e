#!/usr/bin/env bash
# Builds everything with warnings as errors and runs the whole test suite under
# AddressSanitizer and UndefinedBehaviorSanitizer (optimised, so what is tested is close to what
# ships), then builds the plain library and tools, packages them as a .deb, unpacks it into a
# temporary root and runs the installed tools and the C and Python hosts against the installed
# simulator. Installs what it needs first.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/bootstrap.sh"
jobs=$(nproc)

build="$here/build/test"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_WERROR=ON -DVELMORA_SANITIZE=ON >/dev/null
cmake --build "$build" -j"$jobs"
(cd "$build" && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  LSAN_OPTIONS="suppressions=$here/tests/support/lsan.supp" \
  ctest --output-on-failure -j"$jobs" --timeout 300)

# The Debian package as an integrator uses it: C and Python hosts against velmora-sim.
VELMORA_INSTALL_CHECK_BUILD="$here/build/install-check" "$here/scripts/install_check.sh"
