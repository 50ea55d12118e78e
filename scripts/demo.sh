#!/usr/bin/env bash
# The main job: builds the library, executor.exe, the command-line host and the simulator, then
# runs `velmora demo`: one dispensation and a printed batch of five against the simulator, in a
# fresh runtime folder whose path it prints.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
"$here/scripts/bootstrap.sh"
build="$here/build/demo"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVELMORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"
runtime="$build/runtime"
unset VELMORA_HOME
exec "$runtime/velmora" demo
