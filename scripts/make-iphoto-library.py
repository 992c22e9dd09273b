#!/usr/bin/env python3
"""Writes a synthetic iPhoto "AlbumData.xml" (or Aperture "ApertureData.xml").

The file has the shape and the weight of a real library export: every
top-level section the applications write, albums of all kinds, events,
persons with faces, and per photo the full set of keys, most of which a
reader skips. 100 000 photos give a file of about 100 MB.

    make-iphoto-library.py --photos 100000 --out AlbumData.xml
    make-iphoto-library.py --aperture --photos 1000 --out ApertureData.xml
    make-iphoto-library.py --photos 100000 --shared-images 300 --image-root DIR --out DIR/AlbumData.xml

The output depends only on the options (same seed, same bytes).
"""

import argparse
import datetime
import random
import sys
import uuid
from xml.sax.saxutils import escape

# 2001-01-01 00:00:00 UTC, the reference date of the *TimerInterval keys.
SECONDS_PER_DAY = 86400
LIBRARY_START = 283996800.0   # 2010-01-01
LIBRARY_SPAN = 12 * 365 * SECONDS_PER_DAY

FIRST_NAMES = ["Anna", "Ben", "Clara", "David", "Emma", "Felix", "Greta", "Hugo",
               "Ida", "Jonas", "Klara", "Lukas", "Mia", "Noah", "Olga", "Paul",
               "Rosa", "Simon", "Tilda", "Ulrich", "Vera", "Wim", "Xenia", "Yusuf", "Zoe"]
FAMILY_NAMES = ["Keller", "Brandt", "Vogel", "Roth", "Meier", "Schulz", "Lang", "Frank"]
PLACES = ["Berlin", "Hamburg", "Lisbon", "Rome", "Oslo", "Vienna", "Garden",
          "Beach", "Mountains", "Lake", "Zoo", "Wedding", "Birthday", "Christmas"]
KEYWORDS = ["Family", "Holiday", "Nature", "City", "Food", "Pets", "Sport",
            "Friends", "Architecture", "Kids", "Sunset", "Snow", "Favourite", "Work"]
CAMERA_PREFIXES = ["IMG_", "DSC", "P", "DSCF", "_MG_"]


class Writer:
    """Buffers the text and writes it in large pieces."""

    def __init__(self, stream):
        self.stream = stream
        self.parts = []
        self.size = 0

    def put(self, text):
        self.parts.append(text)
        self.size += len(text)
        if self.size > (1 << 20):
            self.flush()

    def flush(self):
        self.stream.write("".join(self.parts))
        self.parts = []
        self.size = 0


def key(level, name):
    return "\t" * level + "<key>" + name + "</key>\n"


def string(level, text):
    return "\t" * level + "<string>" + escape(text) + "</string>\n"


def integer(level, value):
    return "\t" * level + "<integer>" + str(value) + "</integer>\n"


def real(level, value):
    return "\t" * level + "<real>%.6f</real>\n" % value


def boolean(level, value):
    return "\t" * level + ("<true/>\n" if value else "<false/>\n")


def guid(rng):
    return str(uuid.UUID(int=rng.getrandbits(128), version=4)).upper()


def aperture_uuid(rng):
    # Photo ids of iPhoto 9 and Aperture 3: 22 characters of base-64-like text.
    alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789%+"
    return "".join(rng.choice(alphabet) for _ in range(22))


def keylist(level, keys):
    out = [key(level, "KeyList"), "\t" * level + "<array>\n"]
    inner = "\t" * (level + 1)
    for photo_key in keys:
        out.append(inner + "<string>" + str(photo_key) + "</string>\n")
    out.append("\t" * level + "</array>\n")
    return "".join(out)


class Library:
    def __init__(self, args):
        self.args = args
        self.rng = random.Random(args.seed)
        self.aperture = args.aperture
        self.root = args.image_root.rstrip("/") or "/"
        self.photos = []
        self.events = []
        self.persons = []
        self.keywords = []
        self.make_keywords()
        self.make_persons()
        self.make_photos()

    # -- model ---------------------------------------------------------

    def make_keywords(self):
        for index, word in enumerate(KEYWORDS, start=1):
            self.keywords.append((index, word))

    def make_persons(self):
        rng = self.rng
        count = max(2, min(400, self.args.photos // 250 + 2))
        for index in range(1, count + 1):
            name = "%s %s" % (FIRST_NAMES[(index - 1) % len(FIRST_NAMES)],
                              FAMILY_NAMES[rng.randrange(len(FAMILY_NAMES))])
            if index % 25 == 0:
                name = ""   # a recognised face nobody named yet
            self.persons.append({"key": index, "name": name, "faces": []})
        # The last person appears on no photo at all.
        self.unused_person = self.persons[-1]

    def make_photos(self):
        rng = self.rng
        n = self.args.photos
        # Events of 5 to 120 photos, in date order, as a camera import makes them.
        photo_key = 10 + rng.randrange(50)
        date = LIBRARY_START
        step = LIBRARY_SPAN / max(1, n)
        remaining = n
        roll_id = 1
        while remaining > 0:
            size = min(remaining, rng.randint(5, 120))
            place = PLACES[rng.randrange(len(PLACES))]
            event = {"id": roll_id, "name": "%s %d" % (place, roll_id),
                     "date": date, "keys": [], "guid": guid(rng)}
            folder_time = date
            for _ in range(size):
                date += rng.uniform(0.2, 1.8) * step
                photo = self.make_photo(photo_key, event, date, folder_time)
                self.photos.append(photo)
                event["keys"].append(photo_key)
                photo_key += rng.choice((1, 1, 1, 2, 3))
            self.events.append(event)
            remaining -= size
            roll_id += 1

    def make_photo(self, photo_key, event, date, folder_time):
        rng = self.rng
        movie = rng.random() < 0.04
        prefix = CAMERA_PREFIXES[event["id"] % len(CAMERA_PREFIXES)]
        number = 1000 + photo_key % 9000
        ext = ".MOV" if movie else (".JPG" if rng.random() < 0.9 else ".jpeg")
        t = event.setdefault("folder_parts", date_parts(folder_time))
        # Masters are filed by import: year/month/day/import-time.
        folder = "%04d/%02d/%02d/%04d%02d%02d-%02d%02d%02d" % (t[0], t[1], t[2], *t)
        name = "%s%04d%s" % (prefix, number, ext)
        landscape = rng.random() < 0.75
        photo = {
            "key": photo_key,
            "guid": aperture_uuid(rng),
            "caption": name.rsplit(".", 1)[0],
            "comment": "" if rng.random() < 0.9 else "At the %s" % event["name"],
            "roll": event["id"],
            "rating": rng.choice((0, 0, 0, 0, 0, 1, 2, 3, 4, 5)),
            "movie": movie,
            "image": "%s/Masters/%s/%s" % (self.root, folder, name),
            "thumb": "%s/Thumbnails/%s/%s.jpg" % (self.root, folder, name.rsplit(".", 1)[0]),
            "modified": rng.random() < 0.12,
            "date": date,
            "gmt": date - 3600 * rng.choice((1, 2)),
            "flagged": rng.random() < 0.02,
            "keywords": sorted(rng.sample(range(1, len(KEYWORDS) + 1), rng.choice((0, 0, 0, 1, 1, 2, 3)))),
            "faces": [],
            "location": None,
            "aspect": (4 / 3 if landscape else 3 / 4) if rng.random() < 0.8 else (3 / 2 if landscape else 2 / 3),
        }
        if photo["modified"]:
            photo["original"] = photo["image"]
            photo["image"] = "%s/Previews/%s/%s" % (self.root, folder, name)
        if self.args.shared_images:
            # A few hundred real files that many photos share (for benchmarks that decode them).
            shared = photo_key % self.args.shared_images
            photo["image"] = "%s/Masters/shared/%04d.jpg" % (self.root, shared)
            photo["thumb"] = "%s/Thumbnails/shared/%04d.jpg" % (self.root, shared)
            if photo["modified"]:
                photo["original"] = photo["image"]
        if rng.random() < 0.2:
            photo["location"] = (rng.uniform(-60, 70), rng.uniform(-170, 170))
        if not movie and rng.random() < 0.18:
            used = set()
            for index in range(rng.choice((1, 1, 1, 2, 2, 3, 5))):
                person = self.persons[rng.randrange(len(self.persons) - 1)]
                if person["key"] in used and rng.random() < 0.9:
                    continue
                used.add(person["key"])
                w = rng.uniform(0.05, 0.3)
                h = w * rng.uniform(1.0, 1.4)
                x = rng.uniform(0.0, 1.0 - w)
                y = rng.uniform(0.0, 1.0 - h)
                photo["faces"].append({"key": person["key"], "index": index,
                                       "rect": "{{%.6f, %.6f}, {%.6f, %.6f}}" % (x, y, w, h)})
                person["faces"].append(photo_key)
        return photo

    # -- output --------------------------------------------------------

    def write(self, out):
        w = Writer(out)
        w.put('<?xml version="1.0" encoding="UTF-8"?>\n'
              '<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" '
              '"http://www.apple.com/DTDs/PropertyList-1.0.dtd">\n'
              '<plist version="1.0">\n<dict>\n')
        if self.aperture:
            w.put(key(1, "Application Version") + string(1, "3.6"))
            w.put(key(1, "Archive Id") + string(1, aperture_uuid(self.rng)))
            w.put(key(1, "Archive Path") + string(1, self.root))
        else:
            w.put(key(1, "Application Version") + string(1, "9.6.1 (910.29)"))
            w.put(key(1, "Archive Id") + string(1, guid(self.rng)))
            w.put(key(1, "Archive Path") + string(1, self.root))
        self.write_faces(w)
        self.write_albums(w)
        self.write_keywords(w)
        self.write_rolls(w)
        w.put(key(1, "Major Version") + integer(1, 2))
        w.put(key(1, "Minor Version") + integer(1, 0))
        self.write_photos(w)
        w.put("</dict>\n</plist>\n")
        w.flush()

    def write_faces(self, w):
        w.put(key(1, "List of Faces") + "\t<dict>\n")
        for order, person in enumerate(self.persons):
            w.put(key(2, str(person["key"])) + "\t\t<dict>\n")
            w.put(key(3, "PhotoCount") + integer(3, len(person["faces"])))
            w.put(key(3, "Order") + integer(3, order))
            w.put(key(3, "key") + integer(3, person["key"]))
            if person["faces"]:
                w.put(key(3, "key image") + string(3, str(person["faces"][0])))
                w.put(key(3, "key image face index") + integer(3, 0))
            w.put(key(3, "name") + string(3, person["name"]))
            w.put("\t\t</dict>\n")
        w.put("\t</dict>\n")

    def album(self, w, album_id, name, album_type, keys, extra=()):
        w.put("\t\t<dict>\n")
        w.put(key(3, "AlbumId") + integer(3, album_id))
        w.put(key(3, "AlbumName") + string(3, name))
        if album_type is not None:
            w.put(key(3, "Album Type") + string(3, album_type))
        w.put(key(3, "GUID") + string(3, aperture_uuid(self.rng) if self.aperture else guid(self.rng)))
        for extra_key, extra_value in extra:
            w.put(key(3, extra_key) + extra_value)
        if keys is not None:
            w.put(keylist(3, keys))
            w.put(key(3, "PhotoCount") + integer(3, len(keys)))
        w.put("\t\t</dict>\n")

    def write_albums(self, w):
        rng = self.rng
        all_keys = [p["key"] for p in self.photos]
        last_date = self.photos[-1]["date"] if self.photos else LIBRARY_START
        recent = [p["key"] for p in self.photos if p["date"] > last_date - 365 * SECONDS_PER_DAY]
        flagged = [p["key"] for p in self.photos if p["flagged"]]
        last_import = self.events[-1]["keys"] if self.events else []
        w.put(key(1, "List of Albums") + "\t<array>\n")
        album_id = 999000
        if self.aperture:
            # Aperture numbers its album kinds and has projects instead of events.
            self.album(w, album_id, "Photos", "99", all_keys, [("Master", boolean(3, True))])
            self.album(w, album_id + 1, "Flagged", "2", flagged)
            self.album(w, album_id + 2, "Last 12 Months", "Special Month", recent)
            self.album(w, album_id + 3, "Projects", "3", None)
            next_id = 100
            for index in range(max(1, len(self.events) // 20)):
                keys = sorted(rng.sample(all_keys, min(len(all_keys), rng.randint(3, 80))))
                self.album(w, next_id, "%s Selects" % PLACES[index % len(PLACES)],
                           rng.choice(("1", "1", "2", "4")), keys,
                           [("Parent", integer(3, album_id + 3))])
                next_id += 1
        else:
            self.album(w, album_id, "Photos", "99", all_keys, [("Master", boolean(3, True))])
            self.album(w, album_id + 1, "Last 12 Months", "Special Month", recent)
            self.album(w, album_id + 2, "Last Import", "Special Roll", last_import)
            self.album(w, album_id + 3, "Flagged", "Flagged", flagged)
            self.album(w, album_id + 4, "Trash", "Trash", [])
            next_id = 100
            folder_id = None
            albums = max(3, len(self.events) // 10)
            for index in range(albums):
                if index % 12 == 0:
                    folder_id = next_id
                    self.album(w, folder_id, "Folder %d" % (index // 12 + 1), "Folder", None)
                    next_id += 1
                kind = rng.choice(("Regular", "Regular", "Regular", "Smart", "Book", "Slideshow"))
                keys = sorted(rng.sample(all_keys, min(len(all_keys), rng.randint(3, 150))))
                extra = [("Parent", integer(3, folder_id))] if index % 3 else []
                if kind == "Smart":
                    extra.append(("Filter Mode", string(3, "All")))
                self.album(w, next_id, "%s %d" % (PLACES[index % len(PLACES)], index), kind, keys, extra)
                next_id += 1
            # A few of the odd kinds a long-lived library collects.
            self.album(w, next_id, "Flagged Event Photos", "Flagged Event Photos", flagged[:20])
            self.album(w, next_id + 1, "Old Event", "Event", last_import[:10])
            self.album(w, next_id + 2, "Unknown kind", "", all_keys[:5])
            self.album(w, next_id + 3, "Untyped", None, all_keys[5:9])
        w.put("\t</array>\n")

    def write_keywords(self, w):
        w.put(key(1, "List of Keywords") + "\t<dict>\n")
        for index, word in self.keywords:
            w.put(key(2, str(index)) + string(2, word))
        w.put("\t</dict>\n")

    def write_rolls(self, w):
        w.put(key(1, "List of Rolls") + "\t<array>\n")
        for event in self.events:
            w.put("\t\t<dict>\n")
            w.put(key(3, "RollID") + integer(3, event["id"]))
            w.put(key(3, "ProjectUuid") + string(3, event["guid"]))
            w.put(key(3, "RollName") + string(3, event["name"]))
            w.put(key(3, "RollDateAsTimerInterval") + real(3, event["date"]))
            w.put(key(3, "KeyPhotoKey") + string(3, str(event["keys"][0])))
            w.put(key(3, "PhotoCount") + integer(3, len(event["keys"])))
            w.put(keylist(3, event["keys"]))
            w.put("\t\t</dict>\n")
        w.put("\t</array>\n")

    def write_photos(self, w):
        w.put(key(1, "Master Image List") + "\t<dict>\n")
        for p in self.photos:
            parts = [key(2, str(p["key"])), "\t\t<dict>\n",
                     key(3, "Caption"), string(3, p["caption"]),
                     key(3, "Comment"), string(3, p["comment"]),
                     key(3, "GUID"), string(3, p["guid"]),
                     key(3, "Roll"), integer(3, p["roll"]),
                     key(3, "Rating"), integer(3, p["rating"]),
                     key(3, "ImagePath"), string(3, p["image"]),
                     key(3, "MediaType"), string(3, "Movie" if p["movie"] else "Image"),
                     key(3, "ModDateAsTimerInterval"), real(3, p["date"] + 86400 * 3.5),
                     key(3, "DateAsTimerInterval"), real(3, p["date"]),
                     key(3, "DateAsTimerIntervalGMT"), real(3, p["gmt"]),
                     key(3, "MetaModDateAsTimerInterval"), real(3, p["date"] + 86400 * 7.25)]
            if "original" in p:
                parts += [key(3, "OriginalPath"), string(3, p["original"])]
            parts += [key(3, "ThumbPath"), string(3, p["thumb"])]
            if p["flagged"]:
                parts += [key(3, "Flagged"), boolean(3, True)]
            if p["keywords"]:
                parts += [key(3, "Keywords"), "\t\t\t<array>\n"]
                parts += [string(4, str(k)) for k in p["keywords"]]
                parts.append("\t\t\t</array>\n")
            if p["faces"]:
                parts += [key(3, "Faces"), "\t\t\t<array>\n"]
                for face in p["faces"]:
                    parts += ["\t\t\t\t<dict>\n",
                              key(5, "face index"), integer(5, face["index"]),
                              key(5, "face key"), string(5, str(face["key"])),
                              key(5, "rectangle"), string(5, face["rect"]),
                              "\t\t\t\t</dict>\n"]
                parts.append("\t\t\t</array>\n")
            if p["location"]:
                parts += [key(3, "Latitude"), real(3, p["location"][0]),
                          key(3, "Longitude"), real(3, p["location"][1])]
            parts += [key(3, "Aspect Ratio"), real(3, p["aspect"]), "\t\t</dict>\n"]
            w.put("".join(parts))
        w.put("\t</dict>\n")


def date_parts(interval):
    """Year, month, day, hour, minute, second of seconds since 2001 (UTC)."""
    moment = datetime.datetime(2001, 1, 1) + datetime.timedelta(seconds=int(interval))
    return (moment.year, moment.month, moment.day, moment.hour, moment.minute, moment.second)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--photos", type=int, default=1000, help="number of photos (default 1000)")
    parser.add_argument("--out", default="-", help="output file (default: standard output)")
    parser.add_argument("--image-root", default=None,
                        help="library folder that the image paths start with")
    parser.add_argument("--seed", type=int, default=1, help="random seed (default 1)")
    parser.add_argument("--shared-images", type=int, default=0, metavar="N",
                        help="point every photo at one of N shared files Masters/shared/NNNN.jpg and "
                             "Thumbnails/shared/NNNN.jpg under the image root (default: a file each)")
    parser.add_argument("--aperture", action="store_true", help="write an Aperture ApertureData.xml")
    args = parser.parse_args()
    if args.photos < 0:
        parser.error("--photos must not be negative")
    if args.image_root is None:
        args.image_root = ("/Users/orv/Pictures/Aperture Library" if args.aperture
                           else "/Users/orv/Pictures/iPhoto Library")
    library = Library(args)
    if args.out == "-":
        library.write(sys.stdout)
    else:
        with open(args.out, "w", encoding="utf-8", newline="\n") as stream:
            library.write(stream)


if __name__ == "__main__":
    main()
