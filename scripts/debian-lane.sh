#!/usr/bin/env bash
# Runs the test command on a minimal Debian of the given release: makes its root with mmdebstrap,
# clones the committed HEAD of this checkout into it and runs ./run-tests.sh there as root.
# Usage: scripts/debian-lane.sh RELEASE [preset...]   (RELEASE: 12 or 13)
# ZENTH_DEBIAN_ROOT=DIR keeps the root in DIR and reuses it (and its build) in later runs;
# otherwise the root is a temporary folder, removed at the end.
set -euo pipefail
self=$(realpath "$0")
[ "$(id -u)" -eq 0 ] || exec sudo --preserve-env=ZENTH_DEBIAN_ROOT "$self" "$@"
# Every mount below lives in a mount namespace of the lane's own, so none outlives it even when
# it is killed before its cleanup runs.
[ -n "${ZENTH_LANE_NAMESPACE:-}" ] ||
  exec env ZENTH_LANE_NAMESPACE=1 unshare --mount --propagation private "$self" "$@"
cd "$(dirname "$self")/.."

case "${1:-}" in
  12) suite=bookworm ;;
  13) suite=trixie ;;
  *) echo "usage: $0 12|13 [preset...]" >&2; exit 2 ;;
esac
shift

root=$(realpath -m "${ZENTH_DEBIAN_ROOT:-$(mktemp -d /var/tmp/zenth-$suite.XXXXXX)}")
[ "$root" != / ] || { echo "ZENTH_DEBIAN_ROOT=/ is the machine's own root" >&2; exit 2; }

cleanup() {
  # What still runs in the lane's namespace (an interrupted test) would keep the mounts busy.
  local ns proc
  ns=$(readlink /proc/$$/ns/mnt)
  for proc in /proc/[0-9]*; do
    [ "$proc" != /proc/$$ ] && [ "$(readlink "$proc/ns/mnt" 2>/dev/null)" = "$ns" ] &&
      kill -KILL "${proc#/proc/}" 2>/dev/null
  done
  for mount in dev/shm dev/pts dev sys proc; do
    mountpoint -q "$root/$mount" && umount "$root/$mount"
  done
  if [ -z "${ZENTH_DEBIAN_ROOT:-}" ] && ! findmnt -rn -o TARGET | grep -qF "$root/"; then
    rm -rf --one-file-system "$root"
  fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM

if [ ! -x "$root/usr/bin/apt-get" ]; then
  command -v mmdebstrap >/dev/null || {
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq mmdebstrap debian-archive-keyring >/dev/null
  }
  # mktemp's 0700 would keep the tests' unprivileged processes (and apt's) out of the root.
  mkdir -p "$root" && chmod 755 "$root"
  mirror=http://deb.debian.org
  mmdebstrap --variant=apt "$suite" "$root" "deb $mirror/debian $suite main" \
    "deb $mirror/debian $suite-updates main" "deb $mirror/debian-security $suite-security main"
fi
cp -L /etc/resolv.conf "$root/etc/resolv.conf"

checkout=$root/root/zenth
git init --quiet "$checkout"
git -C "$checkout" fetch --quiet --no-tags "$PWD" HEAD
git -C "$checkout" checkout --quiet --force --detach FETCH_HEAD

mount -t proc proc "$root/proc"
mount -t sysfs sysfs "$root/sys"
# A /dev of its own: the few nodes the build and tests use, a fresh pts and shared memory.
mount -t tmpfs -o mode=755,nosuid dev "$root/dev"
for node in null:1:3 zero:1:5 full:1:7 random:1:8 urandom:1:9 tty:5:0; do
  IFS=: read -r name major minor <<<"$node"
  mknod -m 666 "$root/dev/$name" c "$major" "$minor"
done
mkdir "$root/dev/pts" "$root/dev/shm"
mount -t devpts -o newinstance,ptmxmode=666 devpts "$root/dev/pts"
ln -s pts/ptmx "$root/dev/ptmx"
ln -s /proc/self/fd "$root/dev/fd"
ln -s /proc/self/fd/0 "$root/dev/stdin"
ln -s /proc/self/fd/1 "$root/dev/stdout"
ln -s /proc/self/fd/2 "$root/dev/stderr"
mount -t tmpfs -o mode=1777,nosuid,nodev shm "$root/dev/shm"

echo "=== Debian $(cat "$root/etc/debian_version"): ./run-tests.sh $* ==="
# In the background, so that a signal reaches the trap at once.
chroot "$root" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM="${TERM:-dumb}" \
  bash -c 'cd /root/zenth && exec ./run-tests.sh "$@"' run-tests "$@" &
wait $!
