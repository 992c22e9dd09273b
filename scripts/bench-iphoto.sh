#!/bin/sh
# Parse benchmark of iPhoto library files: our parser with its pools against
# libplist and Python's plistlib, on 10 000 and 100 000 photos.
#
#   scripts/bench-iphoto.sh [BUILD_DIR] [-- bench_iphoto_parse options]
#
# Configures and builds BUILD_DIR (default build-bench in the checkout, Release), makes
# the library files once under BUILD_DIR/bench-data and prints the table.
set -eu

SOURCE_DIR=$(cd "$(dirname "$0")/.." && pwd)
BUILD_DIR="$SOURCE_DIR/build-bench"
if [ $# -gt 0 ] && [ "$1" != "--" ]; then
    BUILD_DIR=$1
    shift
fi
[ $# -gt 0 ] && [ "$1" = "--" ] && shift

cmake -S "$SOURCE_DIR" -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DORV_BUILD_TESTS=OFF -DORV_BUILD_BENCH=ON >/dev/null
cmake --build "$BUILD_DIR" -j2 --target bench_plist_peer
if ! cmake --build "$BUILD_DIR" -j2 --target bench_iphoto_parse; then
    echo "bench_iphoto_parse does not build (is the parser there yet?)" >&2
    exit 1
fi

DATA="$BUILD_DIR/bench-data"
mkdir -p "$DATA"
FILES=""
for photos in 10000 100000; do
    file="$DATA/AlbumData-$photos.xml"
    if [ ! -s "$file" ]; then
        echo "making $file" >&2
        python3 "$SOURCE_DIR/scripts/make-iphoto-library.py" --photos "$photos" --seed 1 --out "$file.tmp"
        mv "$file.tmp" "$file"
    fi
    FILES="$FILES $file"
done
ls -l $FILES >&2

OUT="$BUILD_DIR/bench-iphoto.txt"
# shellcheck disable=SC2086
"$BUILD_DIR/bin/bench_iphoto_parse" "$@" $FILES | tee "$OUT"
# The goal for 100 000 photos: the whole parse with pools in at most 1 s and 150 MB.
awk '$1 == "AlbumData-100000.xml" && $2 == "OrvIPhotoDatabaseParser" {
    verdict = ($5 <= 1.0 && $7 <= 150) ? "met" : "missed"
    printf "goal for 100 000 photos (<= 1 s, <= 150 MB): %s (%.3f s, %.1f MB)\n", verdict, $5, $7
}' "$OUT"
