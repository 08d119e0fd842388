#!/usr/bin/env bash
# Builds the benchmarks and prints every performance figure of the daemon as one table.
# Usage: ./run-bench.sh [Google Benchmark flags...]   (exit status 1 when a target is missed)
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh

cmake --preset bench >/dev/null
cmake --build --preset bench -j "$(nproc)" >/dev/null
# Log lines go to stderr: the figures with the stderr logger write them to /dev/null.
exec build/bench/bench/zenth_bench "$@" 2>/dev/null
