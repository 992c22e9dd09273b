#!/usr/bin/env bash
# Checks the macOS adapters on Linux: every platform/macos/*.mm, the host program's choice of
# backends, the macOS test suite and the plug-in's pasteboard converter (on Qt's own
# QUtiMimeConverter) are compiled for a macOS target with clang's -fsyntax-only, against the
# declarations in platform/macos/checkdecls (written from Apple's public documentation) and
# Qt's headers. Warnings are errors: a misspelt selector, a required delegate method left
# out, an argument of the wrong type, a newer system's call outside its @available check.
#   scripts/check-macos-adapters.sh              the check (ctest runs it as check_macos_adapters)
#   scripts/check-macos-adapters.sh --self-test  that the check catches faults: three broken
#                                                copies of adapters, each must be refused
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
selftest=0
case "${1:-}" in
  "") ;;
  --self-test) selftest=1 ;;
  *) echo "usage: $0 [--self-test]" >&2; exit 1 ;;
esac

clang=${CLANGXX:-clang++}
command -v "$clang" > /dev/null || { echo "check-macos-adapters: no $clang (scripts/install-deps.sh installs clang)" >&2; exit 1; }
decls=$root/platform/macos/checkdecls
qt=$(pkg-config --variable=includedir Qt6Core 2>/dev/null || true)
[ -d "$qt/QtCore" ] || qt=$(qtpaths6 --query QT_INSTALL_HEADERS 2>/dev/null || true)
[ -d "$qt/QtCore" ] || { echo "check-macos-adapters: Qt 6 headers not found" >&2; exit 1; }

# The C++ library and C headers of this machine: a macOS target does not know where they are.
system_includes=()
while read -r dir; do
  system_includes+=(-isystem "$dir")
done < <("$clang" -x c++ -E -v /dev/null 2>&1 | sed -n '/#include <...> search starts here:/,/End of search list./p' \
           | grep '^ ' | sed 's/^ *//')

# Every folder of headers of the host, the platform and the plug-in.
project_includes=()
while read -r dir; do
  project_includes+=(-I "$dir")
done < <(find "$root/host" "$root/platform" "$root/libs" "$root/apps" "$root/tests/common" "$root/tests/platform/imageio" \
           -name '*.h' -not -path '*/checkdecls/*' -printf '%h\n' | sort -u)

flags=(
  -target x86_64-apple-macos10.13          # the oldest system the adapters are written for
  -fsyntax-only -std=gnu++17 -fobjc-arc -fobjc-arc-exceptions -fblocks -fexceptions
  -D_GNU_SOURCE -U__nonnull -U__nullable   # glibc's headers for a Darwin target
  -nostdinc++ -nostdinc
  -Werror -Wall -Wextra -Wpedantic -Wno-unused-parameter
  -Wunguarded-availability -Wdeprecated-declarations -Wprotocol -Wobjc-method-access -Wundeclared-selector
  -isystem "$decls/qt-apple" -isystem "$decls" -isystem "$decls/qt" -isystem "$decls/linux-libc"
  -isystem "$qt" -isystem "$qt/QtCore" -isystem "$qt/QtGui"
  "${system_includes[@]}"
  "${project_includes[@]}"
)

# The pasteboard converter derives from QUtiMimeConverter from Qt 6.5 on: with older Qt, Qt's
# headers are read first as they are, and then the converter is told it has 6.5.
qt65=$(mktemp --suffix=.h)
trap 'rm -f "$qt65"' EXIT
cat > "$qt65" <<'PRELUDE'
#include <QtCore/QtCore>
#include <QtGui/QColorSpace>
#include <QtGui/QIcon>
#include <QtGui/QImage>
#include <QtGui/QPixmap>
#if QT_VERSION < QT_VERSION_CHECK(6, 5, 0)
#undef QT_VERSION
#define QT_VERSION QT_VERSION_CHECK(6, 5, 0)
#endif
PRELUDE

check() {  # language, file, extra flags...
  local language=$1 file=$2
  shift 2
  "$clang" "${flags[@]}" "$@" -x "$language" "$file"
}

if [ "$selftest" -eq 0 ]; then
  # One compiler a core; each file's diagnostics come out whole.
  logs=$(mktemp -d)
  trap 'rm -f "$qt65"; rm -rf "$logs"' EXIT
  sources=("$root"/platform/macos/*.mm)
  others=()
  for source in "$root"/apps/orv-photos/OrvPlatformBackends.cpp "$root"/tests/platform/macos/*.cpp; do
    [ -f "$source" ] && others+=("$source")
  done
  pasteboard=$root/libs/OrvApplePhotos/pasteboard/OrvMacPasteboardMimePhotosAsset.cpp
  jobs=$(nproc)
  failed=0
  index=0
  for source in "${sources[@]}" "${others[@]}" "$pasteboard"; do
    index=$((index + 1))
    (
      if [ "$source" = "$pasteboard" ]; then
        check c++ "$source" -include "$qt65"
      else
        check objective-c++ "$source"
      fi > "$logs/$index.log" 2>&1 || echo "${source#"$root"/}" > "$logs/$index.failed"
    ) &
    while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n || true; done
  done
  wait
  for log in "$logs"/*.log; do
    cat "$log" >&2
  done
  for failure in "$logs"/*.failed; do
    [ -f "$failure" ] || continue
    echo "check-macos-adapters: FAILED $(cat "$failure")" >&2
    failed=1
  done
  if [ "$failed" -ne 0 ]; then
    exit 1
  fi
  echo "check-macos-adapters: ${#sources[@]} adapters, the host program's backends, the macOS tests and the pasteboard converter compile for macOS"
  exit 0
fi

# Three faults the check must catch, each in a copy of an adapter: the copy must differ from
# the original (the fault was made) and must fail with the diagnostic the fault causes.
work=$(mktemp -d)
trap 'rm -f "$qt65"; rm -rf "$work"' EXIT
selftest_case() {  # name, adapter, sed script, expected diagnostic
  local name=$1 adapter=$root/platform/macos/$2 script=$3 expected=$4
  local copy=$work/$2 log=$work/$2.log
  sed "$script" "$adapter" > "$copy"
  if cmp -s "$adapter" "$copy"; then
    echo "self-test: $name: the fault could not be made in $2" >&2
    return 1
  fi
  if check objective-c++ "$copy" -iquote "$root/platform/macos" > "$log" 2>&1; then
    echo "self-test: $name: the check accepted the broken copy of $2" >&2
    return 1
  fi
  if ! grep -q -- "$expected" "$log"; then
    echo "self-test: $name: refused, but not for the fault:" >&2
    cat "$log" >&2
    return 1
  fi
  echo "self-test: $name: refused as expected:"
  grep -m1 -- "$expected" "$log" | sed "s|$work/||"
}
selftest_case "misspelt selector" OrvMacICDevice.mm 's/\[device requestOpenSession\]/[device requestOpenSesion]/' \
  "no visible @interface for 'ICDevice' declares the selector 'requestOpenSesion'"
selftest_case "missing delegate method" OrvMacICDeviceBrowser.mm \
  '/^- (void)deviceBrowser:(ICDeviceBrowser\*)browser didRemoveDevice:/,/^}/d' \
  "method 'deviceBrowser:didRemoveDevice:moreGoing:' in protocol 'ICDeviceBrowserDelegate' not implemented"
selftest_case "wrong argument type" OrvMacPhotoLibrary.mm \
  's/predicateWithFormat:options->predicate->format.toNSString()/predicateWithFormat:options->predicate->format/' \
  "no viable conversion from 'const QString' to 'NSString \\*'"
echo "check-macos-adapters: self-test passed"
