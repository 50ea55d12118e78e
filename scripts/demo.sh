#!/usr/bin/env bash
# The main job: builds the library, executor.exe, the command-line host and the simulator, then
# shows the ready runtime folder and, when the dispensation road is built, runs the demo.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/bootstrap.sh"
build="$here/build/demo"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVELMORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"
runtime="$build/runtime"
unset VELMORA_HOME
"$runtime/velmora" status
if "$runtime/velmora" help 2>&1 | grep -q demo; then
  "$runtime/velmora" demo
fi
