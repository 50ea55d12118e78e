#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need, and only those that are
# missing, so running it twice costs a few dpkg queries. Package names given as arguments are
# installed the same way (scripts/bench_deps.sh passes the benchmarks' own).
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libpugixml-dev libcurl4-openssl-dev libssl-dev zlib1g-dev
  libfreetype-dev libfontconfig-dev fonts-liberation fontconfig
  libzint-dev libstb-dev libcpp-httplib-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  qpdf poppler-utils python3 python3-venv python3-wheel python3-zxing-cpp python3-pil tinyproxy
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -gt 0 ]; then
  echo "bootstrap: installing ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
