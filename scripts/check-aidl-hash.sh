#!/usr/bin/env bash
# Recomputes the hash of every frozen interface version as the platform build does and fails
# when it differs from the last line of the version's .hash: an edited API dump fails here as
# it fails the device build.
# Usage: scripts/check-aidl-hash.sh [interfaces folder]   (default: interfaces)
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
for version_dir in "${1:-interfaces}"/aidl_api/*/*/; do
  version=$(basename "$version_dir")
  [[ "$version" =~ ^[0-9]+$ ]] || continue
  latest=latest-version
  [ "$version" -eq 1 ] || latest=$((version - 1))
  computed=$(cd "$version_dir" &&
    { find ./ -name "*.aidl" -print0 | LC_ALL=C sort -z | xargs -0 sha1sum && echo "$latest"; } |
    sha1sum | cut -d " " -f 1)
  recorded=$(tail -n 1 "$version_dir/.hash")
  if [ "$computed" != "$recorded" ]; then
    echo "${version_dir}: the API dump hashes to $computed, .hash records $recorded"
    status=1
  fi
done
exit "$status"
