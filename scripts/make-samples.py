#!/usr/bin/env python3
"""The bundled sample libraries of iPhoto and Aperture.

    make-samples.py install OUTDIR   copies samples/iphoto and samples/aperture to
                                     OUTDIR, writes their library files for that
                                     place and the applications' preferences to
                                     OUTDIR/config/apple/{iphoto,aperture}.conf
    make-samples.py images           (re)makes the small JPEGs under samples/
                                     (needs cjpeg from libjpeg-turbo-progs)

After "install", XDG_CONFIG_HOME=OUTDIR/config makes the program find them.
"""

import os
import shutil
import struct
import subprocess
import sys
from xml.sax.saxutils import escape

CHECKOUT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SAMPLES = os.path.join(CHECKOUT, "samples")

# (library, path of the image, width, height, EXIF orientation, hue, date, thumbnail path)
# A photo stored sideways (orientation 6 or 8) keeps landscape pixels; its
# thumbnail is upright, as iPhoto renders it.
IMAGES = [
    ("iphoto", "Masters/2012/07/14/20120714-101500/IMG_0101.JPG", 640, 480, 1, 0.58, "2012:07:14 10:15:02",
     "Thumbnails/2012/07/14/20120714-101500/IMG_0101.jpg"),
    ("iphoto", "Masters/2012/07/14/20120714-101500/IMG_0102.JPG", 480, 640, 6, 0.33, "2012:07:14 10:21:40",
     "Thumbnails/2012/07/14/20120714-101500/IMG_0102.jpg"),
    ("iphoto", "Masters/2012/07/14/20120714-101500/IMG_0103.JPG", 640, 480, 1, 0.08, "2012:07:14 11:02:13",
     "Thumbnails/2012/07/14/20120714-101500/IMG_0103.jpg"),
    ("iphoto", "Masters/2012/08/03/20120803-183000/IMG_0104.JPG", 480, 640, 1, 0.75, "2012:08:03 18:30:55",
     "Thumbnails/2012/08/03/20120803-183000/IMG_0104.jpg"),
    ("iphoto", "Masters/2012/08/03/20120803-183000/IMG_0106.JPG", 480, 640, 8, 0.92, "2012:08:03 19:05:09",
     "Thumbnails/2012/08/03/20120803-183000/IMG_0106.jpg"),
    ("iphoto", "Masters/2013/01/20/20130120-094500/DSC_2207.JPG", 640, 427, 1, 0.15, "2013:01:20 09:45:31",
     "Thumbnails/2013/01/20/20130120-094500/DSC_2207.jpg"),
    ("aperture", "Masters/2011/05/01/20110501-120000/P1000412.JPG", 640, 480, 1, 0.45, "2011:05:01 12:00:10",
     "Previews/2011/05/01/20110501-120000/P1000412.jpg"),
    ("aperture", "Masters/2011/05/01/20110501-120000/P1000413.JPG", 480, 640, 6, 0.02, "2011:05:01 12:03:44",
     "Previews/2011/05/01/20110501-120000/P1000413.jpg"),
    ("aperture", "Masters/2011/06/12/20110612-150000/P1000520.JPG", 640, 480, 1, 0.67, "2011:06:12 15:00:27",
     "Previews/2011/06/12/20110612-150000/P1000520.jpg"),
]

THUMB_EDGE = 160


def hsv(h, s, v):
    i = int(h * 6) % 6
    f = h * 6 - int(h * 6)
    p, q, t = v * (1 - s), v * (1 - f * s), v * (1 - (1 - f) * s)
    r, g, b = [(v, t, p), (q, v, p), (p, v, t), (p, q, v), (t, p, v), (v, p, q)][i]
    return int(r * 255), int(g * 255), int(b * 255)


def picture(width, height, hue, label_top):
    """A PPM: a sky-to-ground gradient of the photo's hue, a sun and a marker
    bar along the top edge, so that a wrong rotation is easy to see."""
    sky = hsv(hue, 0.45, 0.95)
    ground = hsv((hue + 0.5) % 1.0, 0.6, 0.45)
    sun_x, sun_y, sun_r = width * 0.7, height * 0.3, min(width, height) * 0.12
    rows = []
    for y in range(height):
        fy = y / max(1, height - 1)
        base = [int(sky[c] * (1 - fy) + ground[c] * fy) for c in range(3)]
        row = bytearray()
        for x in range(width):
            r, g, b = base
            if (x - sun_x) ** 2 + (y - sun_y) ** 2 < sun_r * sun_r:
                r, g, b = 250, 220, 60
            if label_top and y < height // 16 and width // 4 < x < 3 * width // 4:
                r, g, b = 200, 30, 30
            # A little texture, so that the files compress like photos, not like flat art.
            n = ((x * 7 + y * 13) ^ (x * y)) & 15
            row += bytes((min(255, r + n), min(255, g + n), min(255, b + n)))
        rows.append(bytes(row))
    return b"P6\n%d %d\n255\n" % (width, height) + b"".join(rows)


def rotate_for_storage(ppm_rows, width, height, orientation):
    """Upright pixels (width x height) turned the way a camera stores them for
    the orientation tag: 6 means the stored image must be turned 90 degrees
    clockwise to be upright, so it is stored turned counter-clockwise."""
    pixels = [ppm_rows[i:i + 3] for i in range(0, len(ppm_rows), 3)]
    out = bytearray()
    if orientation in (6, 8):
        for y in range(width):
            for x in range(height):
                if orientation == 6:
                    out += pixels[x * width + (width - 1 - y)]
                else:
                    out += pixels[(height - 1 - x) * width + y]
        return bytes(out), height, width
    return ppm_rows, width, height


def exif_segment(orientation, date):
    """APP1 with IFD0 (Orientation, ExifIFD pointer) and an Exif IFD with DateTimeOriginal."""
    date_bytes = date.encode("ascii") + b"\0"
    ifd0_offset = 8
    ifd0_size = 2 + 2 * 12 + 4
    exif_offset = ifd0_offset + ifd0_size
    exif_size = 2 + 1 * 12 + 4
    data_offset = exif_offset + exif_size
    tiff = b"MM\x00\x2a" + struct.pack(">I", ifd0_offset)
    tiff += struct.pack(">H", 2)
    tiff += struct.pack(">HHIHH", 0x0112, 3, 1, orientation, 0)
    tiff += struct.pack(">HHII", 0x8769, 4, 1, exif_offset)
    tiff += struct.pack(">I", 0)
    tiff += struct.pack(">H", 1)
    tiff += struct.pack(">HHII", 0x9003, 2, len(date_bytes), data_offset)
    tiff += struct.pack(">I", 0)
    tiff += date_bytes
    payload = b"Exif\0\0" + tiff
    return b"\xff\xe1" + struct.pack(">H", len(payload) + 2) + payload


def insert_after_app0(jpeg, segment):
    assert jpeg[:2] == b"\xff\xd8"
    position = 2
    if jpeg[2:4] == b"\xff\xe0":
        position = 4 + struct.unpack(">H", jpeg[4:6])[0]
    return jpeg[:position] + segment + jpeg[position:]


def cjpeg(ppm, quality):
    return subprocess.run(["cjpeg", "-quality", str(quality), "-optimize"], input=ppm,
                          stdout=subprocess.PIPE, check=True).stdout


def make_images():
    for library, path, width, height, orientation, hue, date, thumb in IMAGES:
        upright = picture(width, height, hue, True)
        header_end = upright.index(b"255\n") + 4
        pixels, stored_w, stored_h = rotate_for_storage(upright[header_end:], width, height, orientation)
        ppm = b"P6\n%d %d\n255\n" % (stored_w, stored_h) + pixels
        jpeg = insert_after_app0(cjpeg(ppm, 80), exif_segment(orientation, date))
        write(os.path.join(SAMPLES, library, path), jpeg)
        scale = THUMB_EDGE / max(width, height)
        small = picture(max(1, round(width * scale)), max(1, round(height * scale)), hue, True)
        write(os.path.join(SAMPLES, library, thumb), cjpeg(small, 75))


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as stream:
        stream.write(data)
    print("wrote %s (%d bytes)" % (os.path.relpath(path, CHECKOUT), len(data)))


def ini_string(text):
    """A QSettings INI value: quoted, so that commas and blanks survive."""
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def install(outdir):
    outdir = os.path.abspath(outdir)
    for library, xml_name in (("iphoto", "AlbumData.xml"), ("aperture", "ApertureData.xml")):
        source = os.path.join(SAMPLES, library)
        target = os.path.join(outdir, library)
        if os.path.isdir(target):
            shutil.rmtree(target)
        shutil.copytree(source, target, ignore=shutil.ignore_patterns("*.in", "README*"))
        with open(os.path.join(source, xml_name + ".in"), encoding="utf-8") as stream:
            text = stream.read()
        # The library file names absolute paths: those of this copy.
        text = text.replace("@SAMPLES@", escape(target))
        xml_path = os.path.join(target, xml_name)
        with open(xml_path, "w", encoding="utf-8", newline="\n") as stream:
            stream.write(text)
        config = os.path.join(outdir, "config", "apple", library + ".conf")
        os.makedirs(os.path.dirname(config), exist_ok=True)
        with open(config, "w", encoding="utf-8", newline="\n") as stream:
            stream.write("[General]\nXMLDataFilePath=%s\nRootDirectory=%s\n"
                         % (ini_string(xml_path), ini_string(target)))
        print("%s: %s" % (library, xml_path))
    print("run with XDG_CONFIG_HOME=%s" % os.path.join(outdir, "config"))


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "install":
        install(sys.argv[2])
    elif len(sys.argv) == 2 and sys.argv[1] == "images":
        make_images()
    else:
        sys.stderr.write(__doc__)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
