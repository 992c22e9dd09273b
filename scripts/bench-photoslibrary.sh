#!/bin/sh
# Photos library packages through the PhotoKit source, each figure next to its peer:
#   start and "All Photos" on 10 000 and 100 000 photos in 2 000 albums, against sqlite3
#     selecting the same rows to /dev/null (the floor): goal at most 3 times the floor, linear,
#     at most 1 KB per photo;
#   the browser's first screen of 48 thumbnails, against djpeg -scale 1/8 decoding the same
#     photos' originals: goal at least 5 times faster;
#   one photo added by SQL until the source has it (on a copy of each library): goal under 1 s,
#     the same on both sizes.
#
#   scripts/bench-photoslibrary.sh [BUILD_DIR]
#
# Configures and builds BUILD_DIR (default build-bench in the checkout, Release), makes the
# libraries once under BUILD_DIR/bench-data (scripts/make-photoslibrary.py, the last 100 photos
# left in the write-ahead log) and prints the figures. Each pair runs RUNS times (default 5),
# ours and the peer in turn, timed as whole processes by GNU time; the medians are printed.
# ORV_BENCH_COMPARE names another timer for the pairs (a command with its options), called as
#   $ORV_BENCH_COMPARE -n RUNS --vs 'sh PEER_SCRIPT' -- OURS...
set -eu

SOURCE_DIR=$(cd "$(dirname "$0")/.." && pwd)
BUILD_DIR=${1:-"$SOURCE_DIR/build-bench"}
RUNS=${RUNS:-5}
SIZES=${SIZES:-"10000 100000"}

cmake -S "$SOURCE_DIR" -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DORV_BUILD_TESTS=OFF -DORV_BUILD_BENCH=ON >/dev/null
if ! cmake --build "$BUILD_DIR" -j2 --target bench_photoslibrary_open_all bench_photoslibrary_thumbnails \
        bench_photoslibrary_change; then
    echo "the benchmarks do not build (is the Photos library backend there?)" >&2
    exit 1
fi
BIN="$BUILD_DIR/bin"
DATA="$BUILD_DIR/bench-data"
OUT="$BUILD_DIR/bench-photoslibrary"
mkdir -p "$DATA" "$OUT"

# Visible photos, as Photos shows them in its library.
SHOWN="FROM ZASSET a WHERE a.ZTRASHEDSTATE = 0 AND a.ZHIDDEN = 0 AND a.ZVISIBILITYSTATE = 0"
# What "All Photos" and the album tree need of each row: the floor that any reader of the library pays.
FLOOR_SQL="SELECT a.ZUUID, a.ZDATECREATED, aa.ZTIMEZONEOFFSET, a.ZLATITUDE, a.ZLONGITUDE, a.ZWIDTH, a.ZHEIGHT,
  a.ZFAVORITE, a.ZKIND, aa.ZORIGINALFILENAME FROM ZASSET a JOIN ZADDITIONALASSETATTRIBUTES aa
  ON aa.Z_PK = a.ZADDITIONALATTRIBUTES WHERE a.ZTRASHEDSTATE = 0 AND a.ZHIDDEN = 0 AND a.ZVISIBILITYSTATE = 0
  ORDER BY a.ZDATECREATED;
SELECT Z_PK, ZKIND, ZTITLE, ZUUID, ZPARENTFOLDER, Z_FOK_PARENTFOLDER FROM ZGENERICALBUM
  WHERE ZKIND IN (2, 4000) AND ZTRASHEDSTATE = 0 ORDER BY ZPARENTFOLDER, Z_FOK_PARENTFOLDER;"

query() {  # library, SQL: read-only, the log included
    sqlite3 -readonly "file:$1/database/Photos.sqlite?mode=ro" "$2"
}

median() {  # numbers on standard input
    sort -n | awk '{ v[NR] = $1 } END { if (NR) print v[int((NR + 1) / 2)]; else print "?" }'
}

# compare NAME PEER_SCRIPT OURS...: both timed as whole processes, RUNS times each, in turn.
compare() {
    name=$1
    peer=$2
    shift 2
    peer_s=""
    if [ -n "${ORV_BENCH_COMPARE:-}" ]; then
        # shellcheck disable=SC2086
        $ORV_BENCH_COMPARE -n "$RUNS" --vs "sh $peer" -- "$@"
        return
    fi
    : >"$OUT/$name.ours"
    : >"$OUT/$name.peer"
    i=0
    while [ "$i" -lt "$RUNS" ]; do
        /usr/bin/time -f '%e %M' -a -o "$OUT/$name.ours" "$@" >/dev/null 2>&1 || true
        /usr/bin/time -f '%e %M' -a -o "$OUT/$name.peer" sh "$peer" >/dev/null 2>&1 || true
        i=$((i + 1))
    done
    ours_s=$(awk '{ print $1 }' "$OUT/$name.ours" | median)
    peer_s=$(awk '{ print $1 }' "$OUT/$name.peer" | median)
    ours_mb=$(awk '{ print $2 / 1024 }' "$OUT/$name.ours" | median)
    peer_mb=$(awk '{ print $2 / 1024 }' "$OUT/$name.peer" | median)
    printf '%-20s ours %6.2f s %7.1f MB | peer %6.2f s %7.1f MB | ours/peer %.2f (medians of %d)\n' \
        "$name" "$ours_s" "$ours_mb" "$peer_s" "$peer_mb" "$(echo "$ours_s $peer_s" | awk '{ print ($2 > 0 ? $1 / $2 : 0) }')" "$RUNS"
}

for photos in $SIZES; do
    library="$DATA/photoslibrary-$photos.photoslibrary"
    if [ ! -d "$library" ]; then
        python3 "$SOURCE_DIR/scripts/make-photoslibrary.py" --assets "$photos" --albums 2000 --seed 1 \
            --wal-assets 100 --image-cache "$DATA/photoslibrary-pictures" --out "$library"
    fi
done

echo "== start and \"All Photos\""
for photos in $SIZES; do
    library="$DATA/photoslibrary-$photos.photoslibrary"
    shown=$(query "$library" "SELECT count(*) $SHOWN")
    log="$OUT/open-all-$photos.log"
    : >"$log"
    peer="$OUT/floor-$photos.sh"
    printf "exec sqlite3 -readonly 'file:%s/database/Photos.sqlite?mode=ro' \"%s\" >/dev/null\n" "$library" "$FLOOR_SQL" >"$peer"
    compare "open-all-$photos" "$peer" \
        sh -c "exec \"$BIN/bench_photoslibrary_open_all\" \"$library\" --expect $shown >>\"$log\" 2>&1"
    tail -n 2 "$log"
done
first=""
for photos in $SIZES; do
    log="$OUT/open-all-$photos.log"
    per_photo=$(sed -n 's/.*(\([0-9.]*\) us\/photo).*/\1/p' "$log" | median)
    bytes=$(sed -n 's/.*, \([0-9]*\) B\/photo.*/\1/p' "$log" | median)
    printf '%7d photos: %s us and %s B a photo (medians)' "$photos" "$per_photo" "$bytes"
    if [ -n "$first" ]; then
        echo "$per_photo $first" | awk '{ printf "; %.2f times the time a photo of the smallest library\n", $1 / $2 }'
    else
        echo
        first=$per_photo
    fi
done

echo "== first screen of thumbnails"
for photos in $SIZES; do
    library="$DATA/photoslibrary-$photos.photoslibrary"
    list="$OUT/first-screen-$photos.txt"
    log="$OUT/thumbnails-$photos.log"
    "$BIN/bench_photoslibrary_thumbnails" "$library" --list "$list" >"$log" 2>&1 || { cat "$log"; exit 1; }
    uuids=$(sed "s/.*/'&'/" "$list" | paste -sd, -)
    originals=$(query "$library" "SELECT '$library/originals/' || ZDIRECTORY || '/' || ZFILENAME FROM ZASSET
                                  WHERE ZUUID IN ($uuids)" | paste -sd' ' -)
    : >"$log"
    peer="$OUT/djpeg-$photos.sh"
    printf 'for f in %s; do djpeg -scale 1/8 -outfile /dev/null "$f"; done\n' "$originals" >"$peer"
    compare "thumbnails-$photos" "$peer" \
        sh -c "exec \"$BIN/bench_photoslibrary_thumbnails\" \"$library\" >>\"$log\" 2>&1"
    alone=$(grep 'first screen' "$log" | sed 's/.* in \([0-9]*\) ms.*/\1/' | median)
    printf 'thumbnails alone: median %s ms for %d photos' "$alone" "$(wc -l <"$list")"
    if [ -n "$peer_s" ]; then
        echo "$alone $peer_s" | awk '{ printf ", %.1f times faster than the peer decoding their originals\n", $2 * 1000 / $1 }'
    else
        echo
    fi
done

echo "== a photo added by SQL"
for photos in $SIZES; do
    library="$DATA/photoslibrary-$photos.photoslibrary"
    copy="$OUT/changed-$photos.photoslibrary"
    rm -rf "$copy"
    cp -al "$library" "$copy"
    rm -rf "$copy/database"
    cp -a "$library/database" "$copy/database"
    shown=$(query "$copy" "SELECT count(*) $SHOWN")
    "$BIN/bench_photoslibrary_change" "$copy" --rounds 5 --expect "$shown" 2>"$OUT/change-$photos.log" | tail -n 1
    rm -rf "$copy"
done
