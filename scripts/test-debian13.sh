#!/usr/bin/env bash
# Builds a copy of this checkout inside a Debian 13 (trixie) root and runs its tests, so that
# Qt 6.8, Exiv2 0.28, libheif 1.19+ and GoogleTest 1.15 are proven beside Debian 12's.
#   scripts/test-debian13.sh           make or reuse the root, then build and test (normal build)
#   scripts/test-debian13.sh --shell   a shell in the root with the copy at /work/src
#
# The root lives outside the checkout, in $ORV_DEBIAN13_CACHE (default /var/cache/orv-debian13):
#   base/      debootstrap --variant=minbase from the machine's own Debian mirror, made once
#   root/      base/ plus scripts/install-deps.sh, made again whenever that script changes
#   archives/  downloaded packages, kept so that remaking root/ downloads nothing
# Mounts (proc, dev, the shared test data) live in a private mount namespace and vanish with it.
# Needs root, as debootstrap and chroot do.
set -euo pipefail
repo=$(cd "$(dirname "$0")/.." && pwd)
cache=${ORV_DEBIAN13_CACHE:-/var/cache/orv-debian13}
suite=trixie
mode=test
case "${1:-}" in
  "") ;;
  --shell) mode=shell ;;
  *) echo "usage: $0 [--shell]" >&2; exit 1 ;;
esac

if [ "$(id -u)" -ne 0 ]; then
  exec sudo -E bash "$0" "$@"
fi

# The mirror this machine's apt uses (deb822 or one-line format), else Debian's own.
mirror() {
  local uri
  if [ -n "${ORV_DEBIAN_MIRROR:-}" ]; then echo "$ORV_DEBIAN_MIRROR"; return; fi
  uri=$(grep -hs '^URIs:' /etc/apt/sources.list.d/*.sources | awk '{print $2}' | grep -v -- '-security' | head -n1 || true)
  if [ -z "$uri" ]; then
    uri=$(grep -hs '^deb ' /etc/apt/sources.list /etc/apt/sources.list.d/*.list \
            | awk '{for (i = 2; i <= NF; i++) if ($i ~ /^[a-z]+:\/\//) {print $i; exit}}' \
            | grep -v -- '-security' | head -n1 || true)
  fi
  echo "${uri:-http://deb.debian.org/debian}"
}

# What install-deps.sh installs, as its checksum: the root's key.
package_list() {
  sha256sum < "$repo/scripts/install-deps.sh" | cut -d' ' -f1
}

need_host_tools() {
  local missing=()
  command -v debootstrap > /dev/null || missing+=(debootstrap)
  command -v unshare > /dev/null || missing+=(util-linux)
  if [ ${#missing[@]} -gt 0 ]; then
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
  fi
}

# Runs a command in a private mount namespace with the root's pseudo file systems mounted.
in_root() {  # root, command...
  local root=$1
  shift
  local shared_ro=""
  if [ -d "$repo/../shared" ]; then shared_ro=$(cd "$repo/../shared" && pwd); fi
  unshare --mount --propagation private -- bash -euo pipefail -c '
    root=$1; archives=$2; shared=$3; shift 3
    mount -t proc proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
    mkdir -p "$archives" "$root/var/cache/apt/archives"
    mount --bind "$archives" "$root/var/cache/apt/archives"
    if [ -n "$shared" ]; then
      mkdir -p "$root/work/shared"
      mount --bind "$shared" "$root/work/shared"
      mount -o remount,bind,ro "$root/work/shared"
    fi
    cp -L /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
    exec chroot "$root" /usr/bin/env -i HOME=/root LANG=C.UTF-8 TERM="${TERM:-dumb}" CI="${CI:-}" \
      PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
  ' in_root "$root" "$cache/archives" "$shared_ro" "$@"
}

make_base() {
  local key="$suite minbase $(mirror)"
  if [ -f "$cache/base.key" ] && [ "$(cat "$cache/base.key")" = "$key" ]; then return; fi
  echo "== Debian 13 root: debootstrap $suite from $(mirror) into $cache/base"
  rm -rf "$cache/base" "$cache/base.new" "$cache/root" "$cache/root.key"
  mkdir -p "$cache/archives"
  debootstrap --variant=minbase --cache-dir="$cache/archives" "$suite" "$cache/base.new" "$(mirror)" \
    > "$cache/debootstrap.log" 2>&1 || { tail -n 30 "$cache/debootstrap.log"; return 1; }
  mv "$cache/base.new" "$cache/base"
  echo "$key" > "$cache/base.key"
}

make_root() {
  local key
  key="$(cat "$cache/base.key") | $(package_list)"
  if [ -f "$cache/root.key" ] && [ "$(cat "$cache/root.key")" = "$key" ]; then return; fi
  echo "== Debian 13 root: the dependencies from scripts/install-deps.sh"
  rm -rf "$cache/root" "$cache/root.new" "$cache/root.key"
  cp -a "$cache/base" "$cache/root.new"
  mkdir -p "$cache/root.new/work"
  cp "$repo/scripts/install-deps.sh" "$cache/root.new/work/install-deps.sh"
  in_root "$cache/root.new" bash /work/install-deps.sh > "$cache/install.log" 2>&1 \
    || { tail -n 30 "$cache/install.log"; return 1; }
  rm "$cache/root.new/work/install-deps.sh"
  mv "$cache/root.new" "$cache/root"
  echo "$key" > "$cache/root.key"
}

# A fresh copy of the checkout's files (tracked and new, without what git ignores) at /work/src.
copy_checkout() {
  local target="$cache/root/work/src"
  rm -rf "$target"
  mkdir -p "$target"
  if git -C "$repo" rev-parse --is-inside-work-tree > /dev/null 2>&1; then
    (cd "$repo" && git ls-files -z --cached --others --exclude-standard \
       | xargs -0 -r sh -c 'for f; do [ -e "$f" ] && printf "%s\0" "$f"; done' sh \
       | tar --null -T - -cf -) | tar -xf - -C "$target"
  else
    (cd "$repo" && tar --exclude='./build*' -cf - .) | tar -xf - -C "$target"
  fi
}

need_host_tools
mkdir -p "$cache"
make_base
make_root
copy_checkout
if [ "$mode" = shell ]; then
  in_root "$cache/root" bash -c 'cd /work/src && exec bash -i'
else
  echo "== Debian 13: $(in_root "$cache/root" sh -c '. /etc/os-release; echo "$PRETTY_NAME"')"
  in_root "$cache/root" bash /work/src/scripts/test.sh --quick --lean
fi
