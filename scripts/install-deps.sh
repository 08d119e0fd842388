#!/usr/bin/env bash
# Installs the Debian packages the host build, the tests and the benchmarks need.
set -euo pipefail

packages=(
  cmake make git g++ clang libclang-rt-dev llvm clang-format blueprint-tools
  libgtest-dev libgmock-dev libbenchmark-dev
  android-liblog-dev android-libbase-dev android-platform-system-core-headers libtinyxml2-dev
  libcap-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
