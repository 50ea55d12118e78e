#!/usr/bin/env bash
# Builds the benchmarks (Release, build/bench), runs them all, and rewrites bench/RESULTS.md
# with the date, the machine, the command and the figures beside their anchors.
#
#   bench/run.sh [extra Google Benchmark flags, e.g. --benchmark_filter=Receipt]
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(dirname "$here")"
build="$root/build/bench"

bash "$root/scripts/bootstrap.sh"
bash "$root/scripts/bench_deps.sh"

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVELMORA_BENCH=ON -DVELMORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target velmora_bench -j2

work="$(mktemp -d "${TMPDIR:-/tmp}/velmora-bench-XXXXXX")"
trap 'rm -rf "$work"' EXIT
command=("$build/bench/velmora_bench" --summary_out="$work/summary.md" "$@")
echo "running: ${command[*]}"
"${command[@]}" 2>&1 | tee "$work/console.txt"

cpu="$(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//')"
mem_kb="$(grep -m1 MemTotal /proc/meminfo | grep -o '[0-9]*')"
load="$(cut -d' ' -f1-3 /proc/loadavg)"
{
  echo "# Benchmark results"
  echo
  echo "Written by \`bench/run.sh\`; every run replaces this file."
  echo
  echo "- date: $(date -u '+%Y-%m-%d %H:%M:%S UTC')"
  echo "- machine: $(nproc) cores, ${cpu}, $((mem_kb / 1024)) MiB memory, Linux $(uname -r)"
  echo "- load average when the run ended: ${load} (the machine is shared)"
  echo "- command: \`bench/run.sh $*\`"
  echo "  (runs \`build/bench/bench/velmora_bench $*\`, Release build)"
  echo
  echo "## Figures beside their anchors"
  echo
  cat "$work/summary.md"
  echo
  cat <<'NOTES'
## How each figure is taken

- One dispensation: `CInterface::SolicitudDispensacion` against `velmora-sim` answering at once
  (`IntervaloComprobacion` 1, audit and log on), median of 40 calls after one warm-up. Anchor:
  `posix_spawn` and wait of `velmora_bench_trivial` (linked and loaded with libcurl and pugixml,
  does nothing), plus one libcurl POST, on a fresh connection, of the envelope executor.exe sent
  (taken from the simulator's record of the warm-up). The two "where it goes" rows are not
  anchors: executor.exe started for an id with no request file, and the same POST made after a
  WSDL GET on the same kept-alive connection, the way executor.exe made it before it closed each
  connection after its exchange (kept to show what that cost).
- At a distance: `velmora-sim --rtt R` (a relay holding each direction's bytes R/2 ms, TLS
  handshakes included, a new connection idle for its first R ms as its TCP handshake would
  cost), plain and TLS (the test certificate, TLS 1.3 negotiated; the simulator and the relay
  set `TCP_NODELAY`, so no answer waits for a delayed acknowledgement). TLS is trusted through
  the system's store (`CAFile` empty; `SSL_CERT_DIR` names a folder linking every entry of the
  system's hashed directory plus the test certificate under its hash), and at 0 ms also
  through a one-certificate `CAFile`. Each of 12 rounds takes one dispensation with the
  description kept in the runtime folder (the figure), one run of `velmora_bench_floor` (the
  anchor: a program of its own linked with libcurl, one connection, one POST of the envelope
  executor.exe sent, certificate verified with the same trust, through the same relay: process
  start-up, the protocol's round trips and the handshake's cryptography, nothing else), and one
  dispensation after `velmora.wsdl.cache` was removed (what every dispensation paid before:
  the description fetched on a connection of its own). Medians. "TLS resumed" counts the posts
  on which the simulator saw a resumed session (the floor's never are). At 0 ms the TLS
  figure's anchor is the plain dispensation of the same run.
- The fsyncs after the answer: before it hands the answer over, executor.exe writes two keys of
  `velmora.ini`, each synced to disk with its folder (four syncs); they make the record
  durable, and they are kept. Measured alone as two `WritePrivateProfileStringEx` calls in a
  runtime folder under the temporary directory, median of 40; the floor does not pay them, the
  dispensation does (about 2 ms on a quiet disk, 10-20 ms when other builds keep it busy).
- Wait: `getrusage(RUSAGE_SELF)` around one call whose answer comes after the time-out
  (`PeticionTimeOut` 5, scenario `slow-6`); beside it, one second of a loop that looks for the
  file on every pass without blocking.
- Throughput: 4 host processes started at once, sharing one runtime folder; each sends 50
  dispensations at once (one thread and one `CInterface` each, released together). Requests
  cycle through the scenarios accepted / warnings / rejected; every response must be the one of
  its own request's scenario, come from the service, and the simulator must have received each
  prescription id exactly once with that scenario.
- Receipt: `cPDF::mostrarPDF` of 1,000 dispensations, median of 5 after one warm-up that installs
  the barcode font. PoDoFo anchor: the content streams of the same run's receipt read back into
  drawing operations (texts with their fonts, lines, boxes, the logo) and replayed through
  `PdfPainter` onto 250 pages, fonts created the same way (F5 embedded, the others not), streams
  uncompressed as ours, then written to a file. Plain-writer anchor: the same file's lines
  appended to one `std::string` with object offsets kept, the cross-reference table made from
  them, then written with one `fwrite`; the benchmark checks that its bytes equal the receipt's.
- Code 128: `BarCode128::Barras` (set B) of 1,000 receipt-like texts against libzint encoding the
  same texts as `BARCODE_CODE128` (one symbol reused with `ZBarcode_Clear`), median of 30 rounds.
- Audit trail: one dispensation's audit operations through `CAuditor` (the host's header,
  request mark and answer kind, the executor's two marks and its late-answer check), median of
  500 dispensations, on an `audit.log` that already holds 0, 10,000, 100,000 or 1,000,000
  records of the usual size (166 MB at a million) written beforehand and synced, after one
  warm-up dispensation that builds the trail's index. The figure is the median divided by six.
- Times are wall-clock on a machine shared with other developers' builds; the load average above
  says how busy it was.
NOTES
  echo
  echo "## Google Benchmark output"
  echo
  echo '```'
  cat "$work/console.txt"
  echo '```'
} >"$here/RESULTS.md"
echo "wrote $here/RESULTS.md"
