#!/usr/bin/env bash
# Checks the interface module as the platform build does, so that what fails the device build
# fails here:
# - the current API dump exists and declares what the sources declare;
# - every frozen version's .hash recomputes from its dump;
# - a module set `frozen: true` declares what its last frozen version does.
# Declarations are compared by meaning, as `aidl --checkapi=equal` compares them, over the
# AIDL this interface uses: comments, imports, layout and whether a type of the package or of
# an import is named in full do not count; declarations, their order, types, names, values and
# annotations do.
# Usage: scripts/check-aidl-api.sh [interfaces folder]   (default: the tree's)
set -euo pipefail
cd "${1:-$(dirname "$0")/../interfaces}"

module=$(sed -n '/^aidl_interface {/,/^}/p' Android.bp)
name=$(sed -n 's/^    name: "\(.*\)",$/\1/p' <<<"$module")
last_version=$(sed -n 's/^ *version: "\([0-9]*\)",$/\1/p' <<<"$module" | tail -n 1)
api=aidl_api/$name

# One line per .aidl file under a folder: its path, then its tokens without comments and
# imports, each type the folder or an import defines named in full.
declarations() (
  cd "$1"
  local files types
  files=$(find . -name aidl_api -prune -o -name '*.aidl' -print | sed 's|^\./||' | LC_ALL=C sort)
  types=$(sed 's|\.aidl$||; s|/|.|g' <<<"$files")
  for file in $files; do
    perl -0777 -pe 's{/\*.*?\*/|//[^\n]*}{ }gs' "$file" |
      grep -oE '[[:alnum:]_.]+|[^[:space:]]' |
      awk -v file="$file" -v types="$types" '
        BEGIN { split(types, list, "\n"); for (i in list) known[list[i]] = 1; printf "%s", file }
        $0 == "import" { importing = 1; next }
        importing { if ($0 != ";") { n = split($0, part, "."); imported[part[n]] = $0 }
                    else importing = 0
                    next }
        previous == "package" { package = $0 }
        /^[[:alpha:]_][[:alnum:]_]*$/ && (package "." $0) in known { $0 = package "." $0 }
        /^[[:alpha:]_][[:alnum:]_]*$/ && $0 in imported { $0 = imported[$0] }
        { printf " %s", $0; previous = $0 }
        END { print "" }'
  done
)

# The files whose declarations differ between two folders, one missing on a side included.
differing_files() {
  { diff <(declarations "$1") <(declarations "$2") || true; } |
    sed -n 's/^[<>] \([^ ]*\).*/\1/p' | sort -u | paste -sd ' '
}

status=0
fail() {
  echo "$*"
  status=1
}

if [ ! -d "$api/current" ]; then
  fail "API dump for the current version of AIDL interface $name does not exist"
else
  differ=$(differing_files . "$api/current")
  [ -z "$differ" ] || fail "$api/current: the sources declare otherwise in $differ"
fi

for version_dir in "$api"/*/; do
  version=$(basename "$version_dir")
  [[ "$version" =~ ^[0-9]+$ ]] || continue
  latest="latest-version"
  [ "$version" -eq 1 ] || latest=$((version - 1))
  computed=$(cd "$version_dir" &&
    { find ./ -name "*.aidl" -print0 | LC_ALL=C sort -z | xargs -0 sha1sum && echo "$latest"; } |
    sha1sum | cut -d " " -f 1)
  recorded=$(tail -n 1 "$version_dir/.hash")
  [ "$computed" = "$recorded" ] ||
    fail "${version_dir%/}: the API dump hashes to $computed, .hash records $recorded"
done

if grep -q '^    frozen: true,$' <<<"$module"; then
  differ=$(differing_files . "$api/$last_version")
  [ -z "$differ" ] ||
    fail "frozen: true, but the sources differ from version $last_version in $differ"
fi
exit "$status"
