#!/usr/bin/env bash
# Builds the fuzz harnesses (preset asan: clang, libFuzzer, ASan+UBSan) and runs each in turn.
# Usage: fuzz/run-fuzz.sh [libFuzzer flags...]   (default: -runs=20000)
# A long run: fuzz/run-fuzz.sh -max_total_time=600
# Corpora grow in build/fuzz/corpus/<harness>; a failing input lands in build/fuzz/artifacts.
set -euo pipefail
cd "$(dirname "$0")/.."
# Absolute paths: the emulated device maps relative ones into its root.
out=$PWD/build/fuzz

flags=("$@")
[ ${#flags[@]} -gt 0 ] || flags=(-runs=20000)
harnesses=(service parser)
# The service fuzzer also starts from the seed corpus its device module ships: one call of each
# method.
seeds=$PWD/aidl/fuzzer_corpus

targets=()
for harness in "${harnesses[@]}"; do targets+=("zenth_${harness}_fuzz"); done
cmake --preset asan >/dev/null
cmake --build --preset asan -j "$(nproc)" --target "${targets[@]}" >/dev/null

for harness in "${harnesses[@]}"; do
  corpus=$out/corpus/$harness
  mkdir -p "$corpus" "$out/artifacts"
  echo "=== fuzz ${harness} ${flags[*]} ==="
  log=$out/${harness}.log
  extra=()
  [ "$harness" != service ] || extra=(-print_coverage=1 "$seeds")
  if ! "$PWD/build/asan/fuzz/zenth_${harness}_fuzz" "${flags[@]}" \
      -artifact_prefix="$out/artifacts/${harness}-" "$corpus" "${extra[@]}" >"$log" 2>&1; then
    tail -n 60 "$log"
    exit 1
  fi
  # The service's coverage report: every function of the service reached.
  if [ "$harness" = service ] && { grep '^UNCOVERED_FUNC: .*::ZenthMisc::' "$log" ||
      ! grep -q '^COVERED_FUNC: .*::ZenthMisc::' "$log"; }; then
    echo "fuzz ${harness}: the service has a function that no input reached"
    exit 1
  fi
  grep -E '^#[0-9]+[[:space:]]+DONE|^Done ' "$log"
done
