#!/usr/bin/env bash
# What only the benchmarks need (PoDoFo, the PDF anchor of the receipt benchmark, and Google
# Benchmark), installed with everything else when missing.
set -euo pipefail
exec bash "$(dirname "$0")/bootstrap.sh" libpodofo-dev libbenchmark-dev
