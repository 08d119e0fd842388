#!/usr/bin/env bash
# The arm64 lane: cross-builds the whole suite for 64-bit Arm with Debian's cross compiler
# (preset arm64) and runs it under qemu-user; a test that starts one of the built binaries
# runs it through the same emulator. The :arm64 libraries are installed beside the host's
# (dpkg multiarch), which removes nothing the host build needs.
# Usage: scripts/arm64-lane.sh   (./run-tests.sh --arm64 runs it)
set -euo pipefail
cd "$(dirname "$0")/.."
start=$SECONDS

packages=(
  g++-aarch64-linux-gnu qemu-user
  libgtest-dev:arm64 libgmock-dev:arm64 android-liblog-dev:arm64 android-libbase-dev:arm64
  libtinyxml2-dev:arm64 libcap-dev:arm64
)
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
if ! dpkg --print-foreign-architectures | grep -qx arm64; then
  $sudo dpkg --add-architecture arm64
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
fi

echo "=== arm64 (qemu-user) ==="
cmake --preset arm64 >/dev/null
cmake --build --preset arm64 -j "$(nproc)"
ctest --preset arm64 -j "$(nproc)"
echo "arm64 lane: $(((SECONDS - start) / 60)) min $(((SECONDS - start) % 60)) s"
