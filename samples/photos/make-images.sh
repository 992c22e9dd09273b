#!/bin/sh
# Makes the small JPEGs of the sample Photos library (needs python3 and cjpeg
# from libjpeg-turbo-progs). Run from anywhere; writes beside this script.
set -e
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$here/images"
make() {  # name width height r g b
    python3 - "$2" "$3" "$4" "$5" "$6" > "$here/images/$1.ppm" <<'PY'
import sys
w, h, r, g, b = (int(v) for v in sys.argv[1:])
sys.stdout.buffer.write(b"P6 %d %d 255\n" % (w, h))
rows = bytearray()
for y in range(h):
    for x in range(w):
        # a diagonal band, so that orientation and scaling show
        band = 60 if (x + y) // 12 % 2 else 0
        rows += bytes((min(255, r + band), min(255, g + band), min(255, b + band)))
sys.stdout.buffer.write(bytes(rows))
PY
    cjpeg -quality 85 "$here/images/$1.ppm" > "$here/images/$1.jpg"
    rm "$here/images/$1.ppm"
}
make IMG_0001 160 120 200 60 40
make IMG_0002 160 120 40 120 200
make IMG_0003 120 160 60 180 60
make IMG_0004 160 120 220 200 40
make IMG_0005 160 120 120 40 160
make IMG_0006 160 90 40 40 40
make IMG_0007 160 120 200 120 160
make IMG_0008 120 120 90 160 200
