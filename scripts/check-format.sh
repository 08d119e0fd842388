#!/usr/bin/env bash
# Fails when a C/C++ source is not formatted with the tree's .clang-format or an Android.bp is
# not as bpfmt writes it.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
git ls-files -co --exclude-standard '*.cpp' '*.h' | xargs clang-format --dry-run --Werror || status=1
while IFS= read -r bp; do
  diff=$(bpfmt -d "$bp")
  if [ -n "$diff" ]; then
    echo "$bp is not bpfmt-formatted:"
    echo "$diff"
    status=1
  fi
done < <(git ls-files -co --exclude-standard 'Android.bp' '*/Android.bp')
exit "$status"
