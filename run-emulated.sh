#!/usr/bin/env bash
# Builds the daemon and runs it on the emulated device until Ctrl-C.
# Usage: ./run-emulated.sh [device-folder]   (default: build/emulated-device)
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps.sh

cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target zenth_misc_service

device=${1:-build/emulated-device}
mkdir -p "$device"
export ZENTH_DEVICE_ROOT
ZENTH_DEVICE_ROOT=$(cd "$device" && pwd)
exec build/default/aidl/vendor.zenth.hardware.ZenthMisc-V1-service
