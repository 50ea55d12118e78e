#!/usr/bin/env bash
# Builds every fuzz/<name>_fuzz.cpp as a libFuzzer target (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, the library instrumented for coverage) in build/fuzz, then runs
# each for a bounded time. A crash is copied into fuzz/crashes/<name>/, where the normal test
# run replays it.
#
#   fuzz/run.sh [seconds per target, default 60] [target names...]
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(dirname "$here")"
build="$root/build/fuzz"
seconds="${1:-60}"
shift || true
case "$seconds" in
  ''|*[!0-9]*) echo "fuzz/run.sh: the time per target is a whole number of seconds" >&2; exit 2 ;;
esac

targets=("$@")
if [ "${#targets[@]}" -eq 0 ]; then
  for src in "$here"/*_fuzz.cpp; do
    name="$(basename "$src" _fuzz.cpp)"
    targets+=("$name")
  done
fi

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DVELMORA_FUZZ=ON -DVELMORA_BUILD_TESTS=OFF -DVELMORA_SANITIZE=ON \
  -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link >/dev/null
build_targets=()
for name in "${targets[@]}"; do build_targets+=("fuzz_$name"); done
cmake --build "$build" --target "${build_targets[@]}" -j2

work="$(mktemp -d "${TMPDIR:-/tmp}/velmora-fuzz-XXXXXX")"
trap 'rm -rf "$work"' EXIT
summary=()
status=0
for name in "${targets[@]}"; do
  corpus="$work/corpus/$name"
  artifacts="$work/artifacts/$name/"
  mkdir -p "$corpus" "$artifacts"
  # Seeds are copied: what the fuzzer learns stays in the work folder, not in the tree.
  if [ -d "$here/corpus/$name" ]; then cp -r "$here/corpus/$name/." "$corpus/"; fi
  if [ -d "$here/crashes/$name" ]; then cp -r "$here/crashes/$name/." "$corpus/"; fi
  # The fuzz targets write into their own temporary folders; the library into this one.
  home="$work/home/$name"
  mkdir -p "$home"
  echo "== $name: ${seconds}s"
  set +e
  VELMORA_HOME="$home" VELMORA_PDF_VIEWER="" XDG_DATA_HOME="$home" \
    ASAN_OPTIONS="detect_leaks=0:abort_on_error=1" UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
    "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="$artifacts" "$corpus" >"$work/$name.log" 2>&1
  rc=$?
  set -e
  runs="$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$work/$name.log" | grep -o '[0-9]*$' || true)"
  cov="$(grep -o 'cov: [0-9]*' "$work/$name.log" | tail -1 | grep -o '[0-9]*' || true)"
  found=0
  for crash in "$artifacts"*; do
    [ -e "$crash" ] || continue
    mkdir -p "$here/crashes/$name"
    cp "$crash" "$here/crashes/$name/"
    found=$((found + 1))
    echo "   kept $(basename "$crash") in fuzz/crashes/$name/"
  done
  if [ "$rc" -ne 0 ] || [ "$found" -gt 0 ]; then
    status=1
    tail -n 40 "$work/$name.log"
  fi
  summary+=("$name: exit $rc, ${runs:-?} runs, coverage ${cov:-?}, crashes kept $found")
done

echo
echo "fuzz summary (${seconds}s per target):"
printf '  %s\n' "${summary[@]}"
exit "$status"
