#!/usr/bin/env bash
# Installs what only the benchmarks need (PoDoFo, the PDF anchor of the receipt benchmark), and
# only when it is missing. Everything else comes from scripts/bootstrap.sh.
set -euo pipefail

packages=(libpodofo-dev libbenchmark-dev)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -gt 0 ]; then
  echo "bench_deps: installing ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  "${sudo_cmd[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
