#!/usr/bin/env bash
# Checks the formatting of the sources and Android.bp files, then builds and runs every test:
# with gcc, then with clang under AddressSanitizer and UndefinedBehaviorSanitizer with plain
# char unsigned as on the phone, then with clang under ThreadSanitizer; then a short run of
# each fuzz harness ("fuzz").
# Usage: ./run-tests.sh [preset...]   (default: default asan tsan fuzz)
#        ./run-tests.sh --debian 12|13 [preset...]   the same on a fresh minimal root of that
#        Debian release (scripts/debian-lane.sh)
#        ./run-tests.sh --arm64          the whole suite built for 64-bit Arm, run under qemu-user
set -euo pipefail
cd "$(dirname "$0")"
if [ "${1:-}" = --debian ]; then
  shift
  exec scripts/debian-lane.sh "$@"
fi
scripts/install-deps.sh
scripts/check-format.sh
[ "${1:-}" = --arm64 ] && exec scripts/arm64-lane.sh

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(default asan tsan fuzz)
jobs=$(nproc)

for preset in "${presets[@]}"; do
  echo "=== ${preset} ==="
  if [ "$preset" = fuzz ]; then
    fuzz/run-fuzz.sh -runs=20000
    continue
  fi
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
