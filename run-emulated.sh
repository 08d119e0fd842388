#!/usr/bin/env bash
# Builds what is missing and runs the daemon on an emulated phone, with a console on stdin.
# Usage: ./run-emulated.sh [--device DIR] [--log FILE] [--fast-sleep] [SCRIPT]
#   (./run-emulated.sh --help explains the options; type help at the prompt for the commands)
# Build output and the daemon's log go to stderr, console results to stdout.
set -euo pipefail
repo=$(cd "$(dirname "$0")" && pwd)
(
  cd "$repo"
  scripts/install-deps.sh
  cmake --preset default >/dev/null
  cmake --build --preset default -j "$(nproc)" --target zenth_emulated_phone
) >&2

status=0
"$repo/build/default/host/console/zenth_emulated_phone" "$@" || status=$?
# The daemon's entry ends with status 1 when its thread pool returns, as after quit.
[ "$status" -eq 1 ] && exit 0
exit "$status"
