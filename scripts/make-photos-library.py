#!/usr/bin/env python3
"""Writes a synthetic Photos library description (platform/sim/README.md).

The library has the shape of a grown one: photos over twenty years, every
fortieth a movie, one in fifty a favourite, every photo in one album, one in
ten in a second one; albums of a few hundred photos in folders, some folders
inside others. The files the resources name are not written (a benchmark of
the album tree never opens them); the pixel size is given, so that nothing
looks for them either.

    make-photos-library.py --assets 100000 --out library.json

The output depends only on the options.
"""

import argparse
import datetime
import json
import sys

START = datetime.datetime(2005, 1, 1, 8, 0, 0, tzinfo=datetime.timezone.utc)
SPAN_SECONDS = 20 * 365 * 86400


def asset_id(index):
    return "%08X-4F2A-9C3E-%012d/L0/001" % (index, index % 977)


def make_assets(count):
    assets = []
    for i in range(count):
        taken = START + datetime.timedelta(seconds=i * (SPAN_SECONDS // max(count, 1)))
        movie = i % 40 == 39
        name = "IMG_%05d.%s" % (i % 100000, "MOV" if movie else "JPG")
        asset = {
            "id": asset_id(i),
            "creationDate": taken.strftime("%Y-%m-%dT%H:%M:%SZ"),
            "localCreationDate": (taken + datetime.timedelta(hours=(i % 7) - 3)).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "width": 4032,
            "height": 3024,
            "resources": [{"name": name, "type": "video" if movie else "photo",
                           "file": "images/%s" % name.lower()}],
        }
        if i % 50 == 0:
            asset["favorite"] = True
        if i % 4 == 0:
            asset["location"] = [48.0 + (i % 100) / 100.0, 11.0 + (i % 37) / 37.0]
        assets.append(asset)
    return assets


def make_collections(count, album_size, albums_per_folder):
    albums = []
    for number, first in enumerate(range(0, count, album_size)):
        members = [asset_id(i) for i in range(first, min(first + album_size, count))]
        # One in ten photos of the album before is shown here too.
        members += [asset_id(i) for i in range(max(first - album_size, 0), first, 10)]
        albums.append({"id": "ALB-%06d/L0/040" % number, "kind": "album",
                       "title": "Album %d" % (number + 1), "assets": members})
    folders = []
    for number, first in enumerate(range(0, len(albums), albums_per_folder)):
        folder = {"id": "FLD-%06d/L0/040" % number, "kind": "folder", "title": "Folder %d" % (number + 1),
                  "children": albums[first:first + albums_per_folder]}
        # Every third folder goes inside the one before it.
        if number % 3 == 2 and folders:
            folders[-1]["children"].append(folder)
        else:
            folders.append(folder)
    favourites = {"id": "FAV-000000/L0/040", "kind": "smartAlbum", "subtype": "favorites", "title": "Favoriten"}
    return [favourites] + folders


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--assets", type=int, default=100000)
    parser.add_argument("--album-size", type=int, default=500)
    parser.add_argument("--albums-per-folder", type=int, default=10)
    parser.add_argument("--out", required=True)
    options = parser.parse_args()
    if options.assets < 0 or options.album_size < 1 or options.albums_per_folder < 1:
        parser.error("counts must be positive")
    library = {
        "authorization": {"status": "authorized", "answer": "authorized"},
        "collections": make_collections(options.assets, options.album_size, options.albums_per_folder),
        "assets": make_assets(options.assets),
    }
    with open(options.out, "w", encoding="utf-8") as out:
        json.dump(library, out, ensure_ascii=False, separators=(",", ":"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
