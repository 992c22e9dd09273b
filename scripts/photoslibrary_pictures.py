"""Pictures for generated Photos libraries: a few distinct subjects, each as an
original (stored pixels with its EXIF orientation), the upright renditions
Photos keeps (a preview of 1024 pixels on the long side, a thumbnail of 360 on
the short side) and, for some, an edit (black and white, as a full-size render
with its own preview and thumbnail). Assets share these files through hard links.

A subject is flat colour: sky-to-ground bands, a white bar at the top left
(so that a reader that gets the orientation wrong shows it), a block in the
middle and the subject's number in eight squares along the bottom. Rows are
built in Python and encoded by cjpeg (libjpeg-turbo-progs).
"""

import json
import os
import plistlib
import shutil
import struct
import subprocess
import zlib
from concurrent.futures import ThreadPoolExecutor

PREVIEW_LONG_SIDE = 1024
THUMBNAIL_SHORT_SIDE = 360
CACHE_FORMAT = 1


def displayed_size(stored, orientation):
    width, height = stored
    return (height, width) if orientation in (5, 6, 7, 8) else (width, height)


def fit_long_side(size, long_side):
    width, height = size
    scale = min(1.0, long_side / max(width, height))
    return max(1, round(width * scale)), max(1, round(height * scale))


def fit_short_side(size, short_side):
    width, height = size
    scale = min(1.0, short_side / min(width, height))
    return max(1, round(width * scale)), max(1, round(height * scale))


def subject_orientation(index):
    # Mostly upright, a quarter turned as phones store portraits, a few upside down or turned the other way.
    if index % 16 == 5:
        return 3
    if index % 16 == 9:
        return 8
    return 6 if index % 4 == 1 else 1


def subject_is_edited(index):
    return index % 8 == 3


def hsv(hue, saturation, value):
    hue = hue % 360
    chroma = value * saturation
    x = chroma * (1 - abs((hue / 60) % 2 - 1))
    m = value - chroma
    r, g, b = [(chroma, x, 0), (x, chroma, 0), (0, chroma, x), (0, x, chroma), (x, 0, chroma), (chroma, 0, x)][int(hue // 60)]
    return tuple(int(255 * (c + m)) for c in (r, g, b))


def layout(index, grey):
    """The upright picture as rectangles (u0, v0, u1, v1, colour) in unit coordinates, painted in order."""
    hue = (index * 137) % 360
    rects = []
    bands = 16
    for band in range(bands):
        if band < bands // 2:
            colour = hsv(hue, 0.35 + 0.03 * band, 0.95 - 0.02 * band)
        else:
            colour = hsv(hue + 40, 0.6, 0.55 - 0.02 * (band - bands // 2))
        rects.append((0.0, band / bands, 1.0, (band + 1) / bands, colour))
    rects.append((0.3, 0.35, 0.7, 0.7, hsv(hue + 180, 0.8, 0.8)))
    rects.append((0.05, 0.05, 0.45, 0.12, (250, 250, 250)))
    for bit in range(8):
        on = (index >> (7 - bit)) & 1
        u0 = 0.1 + bit * 0.1
        rects.append((u0, 0.82, u0 + 0.07, 0.92, (255, 255, 255) if on else (10, 10, 10)))
    if grey:
        rects = [(u0, v0, u1, v1, (round(0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2]),) * 3) for u0, v0, u1, v1, c in rects]
    return rects


def stored_rect(rect, orientation, width, height):
    """A rectangle of the upright picture in the stored pixels of a width x height image."""
    u0, v0, u1, v1, colour = rect
    if orientation == 3:
        x0, x1, y0, y1 = 1 - u1, 1 - u0, 1 - v1, 1 - v0
    elif orientation == 6:    # shown turned 90 degrees clockwise
        x0, x1, y0, y1 = v0, v1, 1 - u1, 1 - u0
    elif orientation == 8:    # shown turned 90 degrees anticlockwise
        x0, x1, y0, y1 = 1 - v1, 1 - v0, u0, u1
    else:
        x0, x1, y0, y1 = u0, u1, v0, v1
    return round(x0 * width), round(x1 * width), round(y0 * height), round(y1 * height), bytes(colour)


def ppm_rows(rects, orientation, width, height):
    """The stored pixels as rows of RGB bytes (rows that look alike are one object)."""
    boxes = [stored_rect(rect, orientation, width, height) for rect in rects]
    rows = {}
    lines = []
    for y in range(height):
        key = tuple(i for i, box in enumerate(boxes) if box[2] <= y < box[3])
        line = rows.get(key)
        if line is None:
            buffer = bytearray(width * 3)
            for i in key:
                x0, x1, _, _, colour = boxes[i]
                if x1 > x0:
                    buffer[x0 * 3:x1 * 3] = colour * (x1 - x0)
            line = rows[key] = bytes(buffer)
        lines.append(line)
    return lines


def exif_segment(orientation):
    """An APP1 Exif segment with the orientation and the camera (big-endian TIFF)."""
    make, model = b"Apple\0", b"iPhone 12\0"
    entries = 3
    ifd_size = 2 + entries * 12 + 4
    data_offset = 8 + ifd_size
    tiff = b"MM\0*" + struct.pack(">I", 8) + struct.pack(">H", entries)
    tiff += struct.pack(">HHII", 0x010F, 2, len(make), data_offset)
    tiff += struct.pack(">HHII", 0x0110, 2, len(model), data_offset + len(make))
    tiff += struct.pack(">HHIHH", 0x0112, 3, 1, orientation, 0)
    tiff += struct.pack(">I", 0) + make + model
    payload = b"Exif\0\0" + tiff
    return b"\xff\xe1" + struct.pack(">H", len(payload) + 2) + payload


def with_exif(jpeg, orientation):
    # Cameras write Exif where cjpeg writes its JFIF segment.
    rest = jpeg[2:]
    if rest[:2] == b"\xff\xe0":
        rest = rest[2 + struct.unpack(">H", rest[2:4])[0]:]
    return b"\xff\xd8" + exif_segment(orientation) + rest


def adjustment_plist(width, height, timestamp):
    data = json.dumps({"formatVersion": 1, "metadata": {"masterWidth": width, "masterHeight": height, "orientation": 1},
                       "adjustments": [{"identifier": "Effect", "enabled": True, "formatVersion": 1,
                                        "settings": {"effectName": "Mono", "effectVersion": 0}}]}).encode()
    deflate = zlib.compressobj(9, zlib.DEFLATED, -15)
    return plistlib.dumps({"adjustmentBaseVersion": 0,
                           "adjustmentData": deflate.compress(data) + deflate.flush(),
                           "adjustmentEditorBundleID": "com.apple.Photos",
                           "adjustmentFormatIdentifier": "com.apple.photo",
                           "adjustmentFormatVersion": "1.5",
                           "adjustmentTimestamp": timestamp})


def encode(rects, orientation, size, path, quality):
    encoder = subprocess.Popen(["cjpeg", "-quality", str(quality), "-outfile", path], stdin=subprocess.PIPE)
    with encoder.stdin:
        encoder.stdin.write(b"P6\n%d %d\n255\n" % size)
        encoder.stdin.writelines(ppm_rows(rects, orientation, *size))
    if encoder.wait() != 0:
        raise RuntimeError("cjpeg failed on %s" % path)


def make_subject_files(index, stored, folder):
    """Writes one subject's files into folder; returns its description."""
    orientation = subject_orientation(index)
    shown = displayed_size(stored, orientation)
    files = {}
    base = os.path.join(folder, "s%04d" % index)
    original = base + "-original.jpeg"
    encode(layout(index, False), orientation, stored, original, 88)
    with open(original, "rb") as f:
        jpeg = f.read()
    with open(original, "wb") as f:
        f.write(with_exif(jpeg, orientation))
    files["original"] = original
    variants = [("", False)] + ([("edited-", True)] if subject_is_edited(index) else [])
    for prefix, grey in variants:
        rects = layout(index, grey)
        for kind, size in (("preview", fit_long_side(shown, PREVIEW_LONG_SIDE)),
                           ("thumbnail", fit_short_side(shown, THUMBNAIL_SHORT_SIDE))):
            path = "%s-%s%s.jpeg" % (base, prefix, kind)
            encode(rects, 1, size, path, 82)
            files[prefix + kind] = path
        if grey:
            path = base + "-render.jpeg"
            encode(rects, 1, shown, path, 88)
            files["render"] = path
    return {"index": index, "orientation": orientation, "stored": list(stored),
            "files": {kind: os.path.basename(path) for kind, path in files.items()}}


class Subject:
    """One subject's files in a folder, with their sizes and pixel sizes."""

    def __init__(self, folder, description):
        self.index = description["index"]
        self.orientation = description["orientation"]
        self.stored = tuple(description["stored"])
        self.shown = displayed_size(self.stored, self.orientation)
        self.edited = "render" in description["files"]
        self.paths = {kind: os.path.join(folder, name) for kind, name in description["files"].items()}
        self.sizes = {kind: os.path.getsize(path) for kind, path in self.paths.items()}
        self.preview_size = fit_long_side(self.shown, PREVIEW_LONG_SIDE)

    @classmethod
    def from_library_asset(cls, paths, stored, orientation):
        """An asset already in a library as a subject (its files are linked again)."""
        subject = cls.__new__(cls)
        subject.index = -1
        subject.orientation = orientation
        subject.stored = stored
        subject.shown = displayed_size(stored, orientation)
        subject.edited = False
        subject.paths = paths
        subject.sizes = {kind: os.path.getsize(path) for kind, path in paths.items()}
        subject.preview_size = fit_long_side(subject.shown, PREVIEW_LONG_SIDE)
        return subject


def make_pool(folder, count, stored, cache=None):
    """The subjects' files in folder (made there, or linked from cache where they were made before)."""
    os.makedirs(folder, exist_ok=True)
    source = folder
    if cache:
        source = os.path.join(cache, "v%d-%dx%d-%d" % (CACHE_FORMAT, stored[0], stored[1], count))
    manifest = os.path.join(source, "subjects.json")
    if not os.path.exists(manifest):
        os.makedirs(source, exist_ok=True)
        workers = max(1, min(4, os.cpu_count() or 1))
        with ThreadPoolExecutor(workers) as pool:
            descriptions = list(pool.map(lambda i: make_subject_files(i, stored, source), range(count)))
        with open(manifest + ".tmp", "w") as f:
            json.dump(descriptions, f)
        os.replace(manifest + ".tmp", manifest)
    with open(manifest) as f:
        descriptions = json.load(f)
    if source != folder:
        for description in descriptions:
            for name in description["files"].values():
                link_or_copy(os.path.join(source, name), os.path.join(folder, name))
    return [Subject(folder, description) for description in descriptions]


def link_or_copy(source, target):
    try:
        os.link(source, target)
    except OSError:
        shutil.copyfile(source, target)
