#!/bin/sh
# Makes the HEIC and the PNG of the sample Photos library (needs python3 and
# heif-enc from libheif-examples; run make-images.sh first). The HEIC is made
# from IMG_0001.jpg with EXIF added (date, offset, camera, GPS of Berlin), which
# heif-enc carries into the HEIC; the PNG is drawn with the same diagonal band.
set -e
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

python3 - "$here/images/IMG_0001.jpg" "$work/IMG_0001-exif.jpg" "$here/images/IMG_0008.png" <<'PY'
import struct, sys, zlib

def ifd(entries, offset, extra_out):
    """One little-endian TIFF directory at offset; values that do not fit go after it."""
    count = len(entries)
    data_at = offset + 2 + count * 12 + 4
    out = struct.pack("<H", count)
    extra = b""
    for tag, kind, values in sorted(entries):
        if kind == 2:  # ASCII
            raw = values.encode() + b"\0"
            n = len(raw)
        elif kind == 1:  # BYTE
            raw = bytes(values)
            n = len(raw)
        elif kind == 3:  # SHORT
            raw = b"".join(struct.pack("<H", v) for v in values)
            n = len(values)
        elif kind == 4:  # LONG
            raw = b"".join(struct.pack("<I", v) for v in values)
            n = len(values)
        else:  # RATIONAL
            raw = b"".join(struct.pack("<II", a, b) for a, b in values)
            n = len(values)
        if len(raw) <= 4:
            out += struct.pack("<HHI", tag, kind, n) + raw.ljust(4, b"\0")
        else:
            out += struct.pack("<HHII", tag, kind, n, data_at + len(extra))
            extra += raw + (b"\0" if len(raw) % 2 else b"")
    out += struct.pack("<I", 0)
    extra_out.append(extra)
    return out

def tiff():
    def build(exif_at, gps_at):
        ifd0 = [(0x010F, 2, "Apple"), (0x0110, 2, "iPhone 11"), (0x0112, 3, [1]),
                (0x8769, 4, [exif_at]), (0x8825, 4, [gps_at])]
        exif = [(0x9003, 2, "2019:12:24 18:30:05"), (0x9011, 2, "+01:00")]
        gps = [(0x0000, 1, [2, 2, 0, 0]), (0x0001, 2, "N"), (0x0002, 5, [(52, 1), (31, 1), (12, 1)]),
               (0x0003, 2, "E"), (0x0004, 5, [(13, 1), (24, 1), (18, 1)])]
        parts = []
        head = b"II*\0" + struct.pack("<I", 8)
        a = ifd(ifd0, 8, parts)
        a += parts[-1]
        b = ifd(exif, 8 + len(a), parts)
        b += parts[-1]
        c = ifd(gps, 8 + len(a) + len(b), parts)
        c += parts[-1]
        return head + a + b + c, 8 + len(a), 8 + len(a) + len(b)
    # Lay out once to learn where the sub-directories land, then for real.
    _, exif_at, gps_at = build(0, 0)
    data, exif_check, gps_check = build(exif_at, gps_at)
    assert (exif_check, gps_check) == (exif_at, gps_at)
    return data

jpeg = open(sys.argv[1], "rb").read()
assert jpeg[:2] == b"\xff\xd8"
body = b"Exif\0\0" + tiff()
app1 = b"\xff\xe1" + struct.pack(">H", len(body) + 2) + body
open(sys.argv[2], "wb").write(jpeg[:2] + app1 + jpeg[2:])

# The PNG: 120x120, the band of make-images.sh.
w, h, r, g, bl = 120, 120, 90, 160, 200
rows = b""
for y in range(h):
    row = bytearray(b"\0")
    for x in range(w):
        band = 60 if (x + y) // 12 % 2 else 0
        row += bytes((min(255, r + band), min(255, g + band), min(255, bl + band)))
    rows += bytes(row)
def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xffffffff)
png = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, 8, 2, 0, 0, 0)) \
    + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")
open(sys.argv[3], "wb").write(png)
PY

heif-enc -q 85 -o "$here/images/IMG_0001.heic" "$work/IMG_0001-exif.jpg" >/dev/null
