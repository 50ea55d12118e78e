#!/usr/bin/env bash
# Proves the installed package is usable on its own: builds velmora, installs it into a fresh
# temporary prefix, builds the C example host against that prefix twice (pkg-config, and
# find_package in a small CMake project), then runs both example hosts (C and Python) against
# velmora-sim on an ephemeral port, from a VELMORA_HOME folder set up as an integrator would.
# Any failure stops the script with a message and a non-zero status.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build="${VELMORA_INSTALL_CHECK_BUILD:-$here/build/install-check}"
jobs=$(nproc)

fail() { echo "install_check: FAILED: $*" >&2; exit 1; }
step() { echo "== install_check: $*"; }

work=$(mktemp -d "${TMPDIR:-/tmp}/velmora-install-check.XXXXXX")
sim_pid=""
cleanup() {
  if [ -n "$sim_pid" ] && kill -0 "$sim_pid" 2>/dev/null; then
    kill "$sim_pid" 2>/dev/null || true
    wait "$sim_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

step "build ($build)"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_BUILD_TESTS=OFF -DVELMORA_WERROR=ON >/dev/null
cmake --build "$build" -j"$jobs"

prefix="$work/prefix"
step "install into $prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=""
for candidate in "$prefix"/lib "$prefix"/lib64 "$prefix"/lib/*-linux-gnu; do
  if [ -f "$candidate/pkgconfig/velmora.pc" ]; then libdir=$candidate; break; fi
done
[ -n "$libdir" ] || fail "no velmora.pc under $prefix"
for f in "$libdir/libvelmora.so" "$libdir/executor.exe" "$libdir/cmake/velmora/velmoraConfig.cmake" \
         "$prefix/include/velmora/velmora.h" "$prefix/include/velmora/interface.h" \
         "$prefix/bin/velmora-sim" "$prefix/share/velmora/velmora.ini"; do
  [ -e "$f" ] || fail "not installed: $f"
done
[ -x "$libdir/executor.exe" ] || fail "executor.exe is not executable"
# Nothing of the build tree may leak into the installed programs' run paths.
if readelf -d "$libdir/executor.exe" "$libdir/libvelmora.so" | grep -E 'R(UN)?PATH' | grep -q "$build"; then
  fail "an installed binary still points into the build tree"
fi

export PKG_CONFIG_PATH="$libdir/pkgconfig"
step "C host through pkg-config"
pkg-config --exists --print-errors "velmora >= 1" || fail "pkg-config does not find velmora"
[ "$(pkg-config --variable=executor velmora)" -ef "$libdir/executor.exe" ] || fail "velmora.pc names the wrong executor"
# shellcheck disable=SC2046 # the flags are meant to be split
cc -std=c99 -Wall -Wextra -pedantic -Werror -o "$work/host-pkgconfig" "$here/examples/c/host.c" \
  $(pkg-config --cflags --libs velmora) -Wl,-rpath,"$(pkg-config --variable=libdir velmora)" \
  || fail "the C host does not build with pkg-config"

step "C host through find_package(velmora)"
cmake -S "$here/examples/c" -B "$work/host-cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release >/dev/null \
  || fail "find_package(velmora) failed"
cmake --build "$work/host-cmake" >/dev/null || fail "the C host does not build with find_package"

step "runtime folder and velmora-sim"
home="$work/home"
mkdir -m 700 "$home"
install -m 600 "$prefix/share/velmora/velmora.ini" "$home/velmora.ini"
ln -s "$libdir/executor.exe" "$home/executor.exe"
"$prefix/bin/velmora-sim" --port 0 --port-file "$work/sim.port" >"$work/sim.out" 2>&1 &
sim_pid=$!
port=""
for _ in $(seq 1 500); do  # at most ten seconds
  if [ -s "$work/sim.port" ]; then port=$(cat "$work/sim.port"); break; fi
  kill -0 "$sim_pid" 2>/dev/null || fail "velmora-sim exited: $(cat "$work/sim.out")"
  sleep 0.02
done
[ -n "$port" ] || fail "velmora-sim did not report its port"
sed -i "s|^Servicio=.*|Servicio=http://127.0.0.1:$port/dispensacion?wsdl|" "$home/velmora.ini"
export VELMORA_HOME="$home"
export VELMORA_PDF_VIEWER=""

run_host() {
  local name=$1; shift
  local out="$work/$name.out"
  step "$name"
  if ! "$@" >"$out" 2>&1; then
    cat "$out" >&2
    fail "$name exited with an error"
  fi
  cat "$out"
  grep -qx "DatosValidos: True" "$out" || fail "$name: the data was not valid"
  grep -qx "DispensacionRealizada: True" "$out" || fail "$name: the dispensation was not done"
  grep -q "AlTerminarSolicitudDispensacion: blnCorrecto=1 intTipoRespuesta=1" "$out" \
    || fail "$name: the answer did not come from the service"
  if grep -q "^  error " "$out"; then fail "$name: Errores is not empty"; fi
}

run_host "C host (pkg-config)" "$work/host-pkgconfig"
run_host "C host (find_package)" "$work/host-cmake/velmora-example-host"
run_host "Python host" python3 "$here/examples/python/host.py" --library "$libdir/libvelmora.so"

# A rejection must reach the host as a verdict, not as a failure of the call.
step "Python host, rejected"
python3 "$here/examples/python/host.py" --library "$libdir/libvelmora.so" sim:rejected >"$work/rejected.out" 2>&1 \
  || { cat "$work/rejected.out" >&2; fail "the rejected dispensation failed the call"; }
grep -qx "DispensacionRealizada: False" "$work/rejected.out" || fail "a rejection was reported as done"
grep -q "^  2001  " "$work/rejected.out" || fail "the rejection reasons did not reach the host"

[ -d "$home/Auditoria" ] && [ -s "$home/velmora.log" ] || fail "the runtime folder was not used"
step "passed"
