#!/bin/sh
# Camera import benchmark: `orv-photos export` of every photo of a folder served
# as a camera (libgphoto2's Directory Browse driver) against
# `gphoto2 --get-all-files` on the same folder, on 2 000 small JPEGs and on 20
# JPEGs of 24 megapixels. Each is run three times (GNU time); the medians of the
# wall clock times are printed, with their ratio.
#
#   scripts/bench-camera-import.sh [BUILD_DIR]
#
# BUILD_DIR (default: build in the checkout) must hold orv-photos; bench_imagecapture
# (built there when missing, ORV_BUILD_BENCH) makes the photos once under BUILD_DIR/bench-camera.
set -eu

SOURCE_DIR=$(cd "$(dirname "$0")/.." && pwd)
BUILD_DIR=${1:-$SOURCE_DIR/build}
BUILD_DIR=$(cd "$BUILD_DIR" && pwd)
RUNS=3

program=$(find "$BUILD_DIR" -name orv-photos -type f -perm -u+x | head -n 1)
[ -n "$program" ] || { echo "no orv-photos in $BUILD_DIR" >&2; exit 1; }
maker=$(find "$BUILD_DIR" -name bench_imagecapture -type f -perm -u+x | head -n 1)
if [ -z "$maker" ]; then
    cmake --build "$BUILD_DIR" -j2 --target bench_imagecapture >&2
    maker=$(find "$BUILD_DIR" -name bench_imagecapture -type f -perm -u+x | head -n 1)
fi
command -v gphoto2 > /dev/null || { echo "gphoto2 is not installed (scripts/install-deps.sh)" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "GNU time is not installed (scripts/install-deps.sh)" >&2; exit 1; }

DATA=$BUILD_DIR/bench-camera
if [ ! -d "$DATA/small/DCIM" ] || [ ! -d "$DATA/large/DCIM" ]; then
    echo "making the photos under $DATA" >&2
    rm -rf "$DATA"
    "$maker" make "$DATA/all"
    mkdir -p "$DATA/small/DCIM" "$DATA/large/DCIM"
    mv "$DATA/all/DCIM/100SMALL" "$DATA/small/DCIM/"
    mv "$DATA/all/DCIM/101LARGE" "$DATA/large/DCIM/"
    rm -rf "$DATA/all"
fi
OUT=$BUILD_DIR/bench-camera-out

# seconds COMMAND...: the wall clock seconds of one run in an empty $OUT (made there, as gphoto2 writes into its working folder).
seconds() {
    rm -rf "$OUT"
    mkdir -p "$OUT"
    (cd "$OUT" && /usr/bin/time -f %e -o "$OUT.time" "$@" > /dev/null 2> "$OUT.err") || {
        echo "failed: $*" >&2
        cat "$OUT.err" >&2
        exit 1
    }
    cat "$OUT.time"
}

# median A B C
median() { printf '%s\n' "$@" | sort -n | sed -n "$((($# + 1) / 2))p"; }

printf '%-22s %8s %8s %8s %6s\n' "data set" files orv-photos gphoto2 ratio
for set in small large; do
    dir=$DATA/$set
    files=$(find "$dir" -type f | wc -l | tr -d ' ')
    ours=""
    peer=""
    for _ in $(seq "$RUNS"); do
        ours="$ours $(seconds "$program" --camera "Directory Browse=disk:$dir" export --source appleimagecapture \
            --album "Directory Browse" --size full --format original --out "$OUT/photos" --wait 20)"
        peer="$peer $(seconds gphoto2 --camera "Directory Browse" --port "disk:$dir" --get-all-files)"
    done
    # shellcheck disable=SC2086
    m_ours=$(median $ours)
    # shellcheck disable=SC2086
    m_peer=$(median $peer)
    printf '%-22s %8s %8s %8s %6s\n' "$set" "$files" "$m_ours" "$m_peer" \
        "$(awk -v a="$m_ours" -v b="$m_peer" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }')"
    echo "  runs: orv-photos$ours; gphoto2$peer" >&2
done
rm -rf "$OUT" "$OUT.time" "$OUT.err"
