#!/usr/bin/env bash
# Proves the Debian package is usable on its own: builds velmora, makes the .deb with cpack,
# unpacks it into a clean temporary root (dpkg-deb -x: the system's own dpkg database and /usr are
# never touched), then, from the unpacked files only: builds the C example host against them
# twice (pkg-config, and find_package in a small CMake project), sets up a VELMORA_HOME folder as
# velmora(1) shows, checks it with the installed `velmora status`, and runs the installed
# `velmora dispense` on the sample request, both C hosts, the Python host and the Python module's
# tests (the module pip-installed into a venv) against the installed velmora-sim.
# Any failure stops the script with a message and a non-zero status.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build="${VELMORA_INSTALL_CHECK_BUILD:-$here/build/install-check}"
jobs=$(nproc)

fail() { echo "install_check: FAILED: $*" >&2; exit 1; }
step() { echo "== install_check: $* ($SECONDS s)"; }

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

# The build directory is kept between runs and compiles through ccache when there is one, so a
# second run rebuilds only what changed.
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
step "build ($build)"
cmake -S "$here" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_BUILD_TESTS=OFF -DVELMORA_WERROR=ON \
  -DCMAKE_INSTALL_PREFIX=/usr "${launcher[@]}" >/dev/null
cmake --build "$build" -j"$jobs"

step "package"
(cd "$build" && cpack -G DEB -B "$work/package" >/dev/null) || fail "cpack -G DEB failed"
deb=$(ls "$work"/package/velmora_*.deb)
[ "$(dpkg-deb --field "$deb" Package)" = velmora ] || fail "the package is not named velmora"
root="$work/root"
dpkg-deb -x "$deb" "$root"
multiarch=$(find "$root/usr/lib" -name velmora.pc -printf '%h\n' | head -n1)
libdir=${multiarch%/pkgconfig}
[ -n "$multiarch" ] || fail "no velmora.pc in the package"
for f in "$libdir/libvelmora.so" "$libdir/libvelmora.so.1" "$libdir/libvelmora-executor.so.1" "$libdir/executor.exe" \
         "$libdir/cmake/velmora/velmoraConfig.cmake" "$root/usr/include/velmora/velmora.h" \
         "$root/usr/include/velmora/version.h" "$root/usr/bin/velmora" "$root/usr/bin/velmora-sim" \
         "$root/usr/share/velmora/velmora.ini" "$root/usr/share/man/man1/velmora.1" \
         "$root/usr/share/man/man1/velmora-sim.1" "$root/usr/share/man/man5/velmora.ini.5" \
         "$root/usr/share/doc/velmora/LICENSE" "$root/usr/share/doc/velmora/examples/request.ini"; do
  [ -e "$f" ] || fail "not in the package: ${f#"$root"}"
done
[ -x "$libdir/executor.exe" ] || fail "executor.exe is not executable"
if readelf -d "$libdir/executor.exe" "$libdir/libvelmora.so" "$libdir/libvelmora-executor.so.1" "$root/usr/bin/velmora" | grep -E 'R(UN)?PATH' | grep -F "$build" >/dev/null; then  # not -q: with pipefail an early exit fails the pipe
  fail "an installed binary still points into the build tree"
fi

export PKG_CONFIG_PATH="$multiarch"
step "C host through pkg-config"
pkg-config --exists --print-errors "velmora >= 1" || fail "pkg-config does not find velmora"
[ "$(pkg-config --variable=executor velmora)" -ef "$libdir/executor.exe" ] || fail "velmora.pc names the wrong executor"
# shellcheck disable=SC2046 # the flags are meant to be split
cc -std=c99 -Wall -Wextra -pedantic -Werror -o "$work/host-pkgconfig" "$root/usr/share/doc/velmora/examples/c/host.c" \
  $(pkg-config --cflags --libs velmora) -Wl,-rpath,"$(pkg-config --variable=libdir velmora)" \
  || fail "the C host does not build with pkg-config"

step "C host through find_package(velmora)"
cmake -S "$root/usr/share/doc/velmora/examples/c" -B "$work/host-cmake" -DCMAKE_PREFIX_PATH="$root/usr" \
  -DCMAKE_BUILD_TYPE=Release >/dev/null || fail "find_package(velmora) failed"
cmake --build "$work/host-cmake" >/dev/null || fail "the C host does not build with find_package"

step "runtime folder as velmora(1) sets it up, and velmora-sim"
home="$work/home"
install -d -m 700 "$home"
install -m 600 "$root/usr/share/velmora/velmora.ini" "$home/velmora.ini"
ln -s "$(pkg-config --variable=executor velmora)" "$home/executor.exe"
"$root/usr/bin/velmora-sim" --port 0 --port-file "$work/sim.port" >"$work/sim.out" 2>&1 &
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

step "velmora status and dispense"
"$root/usr/bin/velmora" status >"$work/status.out" 2>&1 || { cat "$work/status.out" >&2; fail "velmora status failed"; }
"$root/usr/bin/velmora" dispense "$root/usr/share/doc/velmora/examples/request.ini" >"$work/dispense.out" 2>&1 \
  || { cat "$work/dispense.out" >&2; fail "the sample request was not accepted"; }
grep -qx "ACCEPTED (rspReceived)" "$work/dispense.out" || fail "velmora dispense: no verdict of the service"

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

# The module as an integrator installs it: into a virtual environment of Debian's python3,
# offline (the build takes setuptools and wheel from the system instead of fetching them).
step "Python module into a venv"
/usr/bin/python3 -m venv --system-site-packages "$work/venv" >/dev/null || fail "python3 -m venv failed (python3-venv)"
cp -r "$here/python" "$work/python"  # setuptools builds in the source folder: not in the tree's
"$work/venv/bin/pip" install --quiet --no-index --no-build-isolation "$work/python" >"$work/pip.out" 2>&1 \
  || { cat "$work/pip.out" >&2; fail "pip install ./python failed"; }
export VELMORA_LIBRARY="$libdir/libvelmora.so.1"
py="$work/venv/bin/python"
(cd "$work" && "$py" -m unittest discover -s "$here/python/tests" -t "$here/python/tests") \
  || fail "the Python module's tests failed"
run_host "Python host" "$py" "$root/usr/share/doc/velmora/examples/python/host.py"

# A rejection must reach the host as a verdict, not as a failure of the call.
step "Python host, rejected"
"$py" "$root/usr/share/doc/velmora/examples/python/host.py" sim:rejected >"$work/rejected.out" 2>&1 \
  || { cat "$work/rejected.out" >&2; fail "the rejected dispensation failed the call"; }
grep -qx "DispensacionRealizada: False" "$work/rejected.out" || fail "a rejection was reported as done"
grep -q "^  2001  " "$work/rejected.out" || fail "the rejection reasons did not reach the host"

[ -d "$home/Auditoria" ] && [ -s "$home/velmora.log" ] || fail "the runtime folder was not used"
step "passed"
