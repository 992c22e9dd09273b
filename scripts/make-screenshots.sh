#!/bin/sh
# The README's pictures of the photo browser, made by the program itself
# (browse --screenshot) on the sample libraries, in English:
#   scripts/make-screenshots.sh [BUILD_DIR]      (default: build)
# Writes docs/screenshots/*.png anew; needs a built orv-photos and plug-in.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
program="$build/bin/orv-photos"
out="$root/docs/screenshots"
samples=$(mktemp -d)
trap 'rm -rf "$samples"' EXIT
sh "$root/scripts/make-samples.sh" "$samples" > /dev/null
export XDG_CONFIG_HOME="$samples/config" QT_QPA_PLATFORM=offscreen LANG=en_GB.UTF-8 LC_ALL=en_GB.UTF-8
photos="--os macos:14.0 --photos-library $root/samples/photos/library.json"
mkdir -p "$out"

shot() {
    name=$1
    shift
    rm -f "$out/$name"
    # shellcheck disable=SC2086
    "$program" --language en $photos browse "$@" --size 1200x700 --screenshot "$out/$name" > /dev/null
}

# Photos: the evening in California, 21:10 there (04:10 UTC the next day).
shot browse-photos.png --source photokit --album "All Photos" --select 6
# iPhoto: an album in its folder, a face in the details; the folder shows what its albums hold.
shot browse-iphoto-faces.png --source iphoto --album "At the Lake" --select 0
shot browse-iphoto-folder.png --source iphoto --album Holidays
# The dialogs over the window.
shot dialog-export.png --source iphoto --album "At the Lake" --dialog export
shot dialog-progress.png --source iphoto --album "At the Lake" --dialog progress
shot dialog-about.png --source iphoto --album "At the Lake" --dialog about
ls "$out"
