#!/usr/bin/env bash
# Builds and runs every test: with gcc, then with clang under AddressSanitizer and
# UndefinedBehaviorSanitizer, then with clang under ThreadSanitizer.
# Usage: ./run-tests.sh [preset...]   (default: default asan tsan)
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(default asan tsan)
jobs=$(nproc)

for preset in "${presets[@]}"; do
  echo "=== ${preset} ==="
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
