#!/usr/bin/env bash
# Builds orv-photos and the plug-in, then shows what the plug-in sees in the
# bundled sample libraries and simulated cameras: the registered sources, their
# whole album trees, and a screenshot of the photo browser.
#   scripts/demo.sh            text output
#   scripts/demo.sh --json     the JSON form scripts use
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${ORV_BUILD_DIR:-$root/build}
format=()
[ "${1:-}" = "--json" ] && format=(--json)

bash "$root/scripts/install-deps.sh"
mkdir -p "$build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo > "$build/configure.log" 2>&1 \
  || { cat "$build/configure.log"; exit 1; }
cmake --build "$build" -j "$(nproc)" --target orv-photos OrvApplePhotos

# The sample iPhoto and Aperture libraries name absolute paths: write them for this checkout.
samples="$build/samples"
bash "$root/scripts/make-samples.sh" "$samples" > /dev/null
export XDG_CONFIG_HOME="$samples/config"
photos=(--os macos:14.0 --photos-library "$root/samples/photos/library.json" --devices "$root/samples/devices/devices.json")

echo "== orv-photos sources (macOS 14 with the sample Photos library)"
"$build/bin/orv-photos" "${photos[@]}" sources "${format[@]}"
echo
echo "== orv-photos tree (cameras: up to 10 s for their catalogues)"
"$build/bin/orv-photos" "${photos[@]}" tree --wait 10 "${format[@]}"
echo
echo "== orv-photos browse"
QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} "$build/bin/orv-photos" "${photos[@]}" browse --source photokit \
  --album "All Photos" --select 1 --screenshot "$build/browse.png" --size 1200x700 2> /dev/null
