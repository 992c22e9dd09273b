#!/usr/bin/env python3
"""Writes a large Photos library package (.photoslibrary) in the real schema.

    make-photoslibrary.py --assets 100000 --albums 2000 --out DIR [--folders N] [--seed S]
                          [--template PATH] [--wal-assets N] [--image-cache DIR] ...
    make-photoslibrary.py --add-one DIR

The database starts from a real library made by Photos (the template, by default
../shared/photos-libraries/photos8-macos-13.0.1.photoslibrary beside the checkout,
read from a private copy): its tables, indexes and triggers as sqlite_master has
them, its entity numbers, metadata and Photos' own albums. The template's photos,
albums, folders and history are left out; in their place come photos imported
over the years (dates with the time-zone offsets of where they were taken, most
with a location, favourites, some hidden, trashed or unpicked frames of a burst,
some edited in Photos), albums in nested folders under the root folder, and the
change history of all of it. Column names come from the template, so any Photos 5
or later library serves. The files are small renditions made from a few distinct
pictures that the photos share through hard links. Photos.sqlite is left in WAL
mode; --wal-assets N leaves the last N photos in the write-ahead log, as Photos
leaves a library it is still writing.

--add-one DIR adds one photo to a library as Photos does (its files, its rows and
one history transaction, committed to the write-ahead log) and prints a JSON line
with its identifier and the CLOCK_MONOTONIC time of the commit.

The output depends only on the options (and the template).
"""

import argparse
import datetime
import json
import os
import random
import shutil
import sqlite3
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True  # nothing beside the scripts in the checkout
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import photoslibrary_pictures as pictures  # noqa: E402
from photoslibrary_plan import (CORE_DATA_EPOCH, PLACES, Asset, core_data_time, new_uuid, plan_assets,  # noqa: E402
                                plan_collections, time_collections, utc_offset, visible, zone_name)
from photoslibrary_rows import Template, Tree, Writer, create_structure  # noqa: E402
from photoslibrary_schema import (ROOT_FOLDER_KIND, Keys, Schema, open_private, quote,  # noqa: E402
                                  register_core_data_functions)

REPOSITORY = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DEFAULT_TEMPLATE = os.path.join(REPOSITORY, "..", "shared", "photos-libraries", "photos8-macos-13.0.1.photoslibrary")
# Small files of the package that a reader may look at besides the database.
PACKAGE_FILES = ("database/DataModelVersion.plist", "database/photos.db", "database/metaSchema.db",
                 "resources/derivatives/thumbs/thumbnailConfiguration")


def fail(message):
    print("make-photoslibrary.py: " + message, file=sys.stderr)
    sys.exit(2)


def private_copy(template, folder):
    """Photos.sqlite and its log copied into folder, retried while the template changes under the copy."""
    database = template if os.path.isfile(template) else os.path.join(template, "database", "Photos.sqlite")
    if not os.path.isfile(database):
        fail("no Photos library at %s (give one made by Photos 5 or later with --template)" % template)
    for _ in range(5):
        before = [(os.stat(p).st_size, os.stat(p).st_mtime_ns) if os.path.exists(p) else None
                  for p in (database, database + "-wal")]
        shutil.copyfile(database, os.path.join(folder, "Photos.sqlite"))
        if os.path.exists(database + "-wal"):
            shutil.copyfile(database + "-wal", os.path.join(folder, "Photos.sqlite-wal"))
        after = [(os.stat(p).st_size, os.stat(p).st_mtime_ns) if os.path.exists(p) else None
                 for p in (database, database + "-wal")]
        if before == after:
            return os.path.join(folder, "Photos.sqlite"), os.path.dirname(os.path.dirname(database))
    fail("the template %s kept changing while it was copied" % template)


def link_files(package, a):
    subject, folder = a.subject, a.uuid[0]
    prefix = "edited-" if a.edited else ""
    targets = [(subject.paths["original"], "originals/%s/%s.jpeg" % (folder, a.uuid)),
               (subject.paths[prefix + "preview"], "resources/derivatives/%s/%s_1_105_c.jpeg" % (folder, a.uuid)),
               (subject.paths[prefix + "thumbnail"],
                "resources/derivatives/masters/%s/%s_4_5005_c.jpeg" % (folder, a.uuid))]
    if a.edited:
        targets.append((subject.paths["render"], "resources/renders/%s/%s_1_201_a.jpeg" % (folder, a.uuid)))
        moment = datetime.datetime.fromtimestamp(a.edit_time + CORE_DATA_EPOCH, datetime.timezone.utc).replace(tzinfo=None)
        with open(os.path.join(package, "resources/renders/%s/%s.plist" % (folder, a.uuid)), "wb") as f:
            f.write(pictures.adjustment_plist(subject.shown[0], subject.shown[1], moment))
    for source, target in targets:
        pictures.link_or_copy(source, os.path.join(package, target))


def link_all(package, assets):
    make_folders(package)
    for a in assets:
        link_files(package, a)


def make_folders(package):
    for folder in "0123456789ABCDEF":
        for parent in ("originals", "resources/derivatives", "resources/derivatives/masters", "resources/renders"):
            os.makedirs(os.path.join(package, parent, folder), exist_ok=True)


def add_assets(package, count, subjects, rng, when):
    """Photos as Photos imports them into a library it has open: files, rows, one history transaction,
    committed to the write-ahead log and left there. Returns the photos and the CLOCK_MONOTONIC time of the commit."""
    path = os.path.join(package, "database", "Photos.sqlite")
    # A reader that stays until the writer is gone: the last connection to close would fold the log into the database.
    sentinel = sqlite3.connect("file:%s?mode=ro" % path, uri=True)
    sentinel.execute("SELECT count(*) FROM sqlite_master").fetchone()
    db = open_private(path)
    try:
        db.execute("BEGIN IMMEDIATE")
        template = Template(db)
        keys = Keys(template.schema, template.schema.max_pks())
        writer = Writer(db, template, keys, rng)
        session = (keys.next(writer.session_ent), new_uuid(rng))
        number = keys.top.get(template.schema.root(writer.asset_ent), 0)
        assets = []
        for n in range(count):
            a = Asset()
            a.number, a.uuid, a.place = number + n, new_uuid(rng), 0
            a.created = round(when - rng.uniform(60, 3600), 3)
            zone, lat, lon = PLACES[0]
            a.offset = utc_offset(zone, a.created + CORE_DATA_EPOCH)
            a.zone = zone_name(zone, a.offset)
            a.location = (round(lat + rng.uniform(-0.2, 0.2), 8), round(lon + rng.uniform(-0.2, 0.2), 8))
            a.subject = subjects[n % len(subjects)]
            a.added = round(when + n * 0.01, 6)
            a.session = session
            writer.allocate(a)
            assets.append(a)
        writer.record_import(assets, session[0], when)
        writer.session(session[0], session[1], assets, when)
        for a in assets:
            writer.asset_rows(a)
        writer.write()
        keys.store(db)
        make_folders(package)
        for a in assets:
            link_files(package, a)
        db.execute("COMMIT")
        committed = time.monotonic_ns()
    finally:
        db.close()
        sentinel.close()
    return assets, committed


def library_subject(package, db):
    """An unedited photo of the library whose files a new photo can share."""
    schema = Schema(db)
    adjusted = schema.first_column(schema.asset_table, "ZHASADJUSTMENTS", "ZADJUSTMENTSSTATE")
    rows = db.execute("SELECT a.ZUUID, a.ZDIRECTORY, a.ZFILENAME, aa.ZORIGINALWIDTH, aa.ZORIGINALHEIGHT,"
                      " aa.ZORIGINALORIENTATION FROM %s a JOIN ZADDITIONALASSETATTRIBUTES aa"
                      " ON aa.Z_PK = a.ZADDITIONALATTRIBUTES WHERE a.%s = 0 ORDER BY a.Z_PK DESC LIMIT 100"
                      % (quote(schema.asset_table), adjusted or "ZHASADJUSTMENTS"))
    for uuid, directory, filename, width, height, orientation in rows:
        if not (uuid and directory and filename and width and height):
            continue
        paths = {"original": os.path.join(package, "originals", directory, filename),
                 "preview": os.path.join(package, "resources/derivatives", uuid[0], uuid + "_1_105_c.jpeg"),
                 "thumbnail": os.path.join(package, "resources/derivatives/masters", uuid[0], uuid + "_4_5005_c.jpeg")}
        if all(os.path.isfile(p) for p in paths.values()):
            return pictures.Subject.from_library_asset(paths, (width, height), orientation or 1)
    return None


def add_one(args):
    package = os.path.abspath(args.add_one)
    path = os.path.join(package, "database", "Photos.sqlite")
    if not os.path.isfile(path):
        fail("no Photos library at %s" % package)
    rng = random.Random(args.seed if args.seed is not None else time.time_ns())
    reader = sqlite3.connect("file:%s?mode=ro" % path, uri=True)
    try:
        subject = library_subject(package, reader)
    except (sqlite3.Error, ValueError) as error:
        fail("cannot add a photo to %s: %s" % (package, error))
    finally:
        reader.close()
    pool = None
    if subject is None:
        pool = tempfile.mkdtemp(prefix=".pictures-", dir=package)
        subject = pictures.make_pool(pool, 1, (1600, 1200))[0]
    try:
        when = time.time() - CORE_DATA_EPOCH
        assets, committed = add_assets(package, 1, [subject], rng, when)
    except (sqlite3.Error, OSError, ValueError) as error:
        fail("cannot add a photo to %s: %s" % (package, error))
    finally:
        if pool:
            shutil.rmtree(pool)
    a = assets[0]
    print(json.dumps({"uuid": a.uuid, "localIdentifier": a.uuid + "/L0/001", "pk": a.pk, "committedNs": committed}))
    sys.stdout.flush()


def build(args):
    started = time.monotonic()
    rng = random.Random(args.seed)
    out = os.path.abspath(args.out)
    if os.path.exists(out):
        fail("%s exists already" % out)
    tail = min(args.wal_assets, args.assets)
    partial = out + ".partial"
    if os.path.exists(partial):
        shutil.rmtree(partial)
    scratch = tempfile.mkdtemp(prefix="make-photoslibrary-")
    try:
        template_path, template_package = private_copy(args.template, scratch)
        template_db = sqlite3.connect(template_path)
        template = Template(template_db)
        os.makedirs(os.path.join(partial, "database"))
        pool = os.path.join(partial, ".pictures")
        subjects = pictures.make_pool(pool, args.distinct, args.original_size, args.image_cache)
        made_pictures = time.monotonic()

        db = open_private(os.path.join(partial, "database", "Photos.sqlite"))
        db.execute("PRAGMA journal_mode = OFF")
        db.execute("PRAGMA synchronous = OFF")
        triggers, indexes = create_structure(db, template_path, template.schema)
        db.execute("BEGIN")
        for sql in triggers:
            db.execute(sql)
        register_core_data_functions(db)
        # From here on the new database answers for the structure (the template's, in the same words).
        schema = Schema(db)
        keys = Keys(schema, schema.max_pks(with_z_max=False))
        template.schema = schema
        template_db.close()
        writer = Writer(db, template, keys, rng)
        root = db.execute("SELECT Z_PK FROM ZGENERICALBUM WHERE ZKIND = ?", (ROOT_FOLDER_KIND,)).fetchone()
        if root is None:
            fail("the template has no root folder (ZKIND %d)" % ROOT_FOLDER_KIND)
        root_base = (db.execute("SELECT max(Z_FOK_PARENTFOLDER) FROM ZGENERICALBUM WHERE ZPARENTFOLDER = ?",
                                (root[0],)).fetchone()[0] or 0) + 1024
        list_base = 0
        if schema.album_lists and template.user_list is not None:
            table, _, member, order = schema.album_lists
            list_base = (db.execute("SELECT max(%s) FROM %s WHERE %s = ?" % (order, quote(table), member),
                                    (template.user_list,)).fetchone()[0] or 0) + 1024

        sessions = plan_assets(rng, args.assets - tail, subjects, *args.years)
        events = []
        for batch, when in sessions:
            session = (keys.next(writer.session_ent), new_uuid(rng))
            for a in batch:
                a.session = session
                writer.allocate(a)
            events.append((when, 0, batch))
        assets = [a for batch, _ in sessions for a in batch]
        # The files do not wait for the database: the links are made beside it, on a thread of their own.
        linker = threading.Thread(target=link_all, args=(partial, assets))
        linker.start()
        events += [(a.edit_time, 1, a) for a in assets if a.edited]
        events += [(a.flag_time, 2, a) for a in assets if a.flag_time]
        first_time = min((e[0] for e in events), default=core_data_time(args.years[0]))
        last_time = max((e[0] for e in events), default=core_data_time(args.years[1]))
        tree, albums = plan_collections(rng, assets, args.albums, args.folders, args.album_size)
        time_collections(rng, tree, albums, first_time, last_time)
        events += [(c.time, 3, c) for c in tree + albums]
        events += [(c.time + 86400, 4, c) for c in albums if c.trashed]
        collections = Tree(writer, root[0], template.user_list)
        # One history in the order things happened.
        for when, kind, item in sorted(events, key=lambda e: (e[0], e[1])):
            if kind == 0:
                writer.record_import(item, item[0].session[0], when)
            elif kind == 1:
                writer.record_edit(item)
            elif kind == 2:
                writer.record_flag(item)
            elif kind == 3:
                collections.record(item, rng)
            else:
                collections.record_trash(item)
        history_end = max(e[0] for e in events) if events else last_time
        for batch, when in sessions:
            writer.session(batch[0].session[0], batch[0].session[1], batch, when)
        for a in assets:
            writer.asset_rows(a)
        collections.rows(rng, tree, albums, root_base, list_base)
        writer.write()
        for sql in indexes:
            db.execute(sql)
        keys.store(db)
        db.execute("COMMIT")
        db.execute("PRAGMA journal_mode = WAL")
        db.close()
        made_database = time.monotonic()

        linker.join()
        if tail:
            add_assets(partial, tail, [s for s in subjects if not s.edited] or subjects, rng, history_end + 86400)
        shutil.rmtree(pool)
        for name in package_files_of(template_package):
            os.makedirs(os.path.dirname(os.path.join(partial, name)), exist_ok=True)
            shutil.copyfile(os.path.join(template_package, name), os.path.join(partial, name))
        os.rename(partial, out)
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    size = sum(os.path.getsize(os.path.join(out, "database", f)) for f in os.listdir(os.path.join(out, "database")))
    shown = sum(1 for a in assets if visible(a)) + tail
    print("%s: %d photos (%d shown), %d albums in %d folders, %d album entries; database %.1f MB; "
          "%.1f s (pictures %.1f s, database %.1f s)"
          % (out, len(assets) + tail, shown, len(albums), len(tree), len(writer.members), size / 1e6,
             time.monotonic() - started, made_pictures - started, made_database - made_pictures), file=sys.stderr)


def package_files_of(package):
    return [name for name in PACKAGE_FILES if os.path.isfile(os.path.join(package, name))]


def size_argument(text):
    width, _, height = text.partition("x")
    if not (width.isdigit() and height.isdigit() and 16 <= int(width) <= 20000 and 16 <= int(height) <= 20000):
        raise argparse.ArgumentTypeError("give WIDTHxHEIGHT, e.g. 4032x3024")
    return int(width), int(height)


def years_argument(text):
    first, _, last = text.partition("-")
    if not (first.isdigit() and last.isdigit() and 1971 <= int(first) <= int(last) <= 2100):
        raise argparse.ArgumentTypeError("give FIRST-LAST, e.g. 2005-2024")
    return int(first), int(last)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0],
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--out", help="the package to write (must not exist)")
    parser.add_argument("--assets", type=int, default=1000, help="photos (default 1000)")
    parser.add_argument("--albums", type=int, help="albums (default one per 50 photos)")
    parser.add_argument("--folders", type=int, help="folders, nested up to four deep (default one per 20 albums)")
    parser.add_argument("--album-size", type=float, default=50, help="mean photos per album (default 50)")
    parser.add_argument("--seed", type=int, help="random seed (default 1; --add-one: the clock)")
    parser.add_argument("--template", default=DEFAULT_TEMPLATE,
                        help="a library made by Photos 5 or later, its package or its Photos.sqlite (default %(default)s)")
    parser.add_argument("--years", type=years_argument, default=(2005, 2024), help="when the photos were taken")
    parser.add_argument("--distinct", type=int, default=48, help="distinct pictures the photos share (default 48)")
    parser.add_argument("--original-size", type=size_argument, default=(4032, 3024),
                        help="stored size of the originals (default 4032x3024)")
    parser.add_argument("--image-cache", help="a folder that keeps the distinct pictures between runs")
    parser.add_argument("--wal-assets", type=int, default=0,
                        help="photos imported last that stay in the write-ahead log (default 0: the log is empty)")
    parser.add_argument("--add-one", metavar="DIR",
                        help="add one photo to the library DIR as Photos would (a generated library or a copy)")
    args = parser.parse_args()
    if args.add_one:
        add_one(args)
        return
    if not args.out:
        parser.error("--out is needed (or --add-one)")
    if args.assets < 0 or args.wal_assets < 0 or args.distinct < 1 or args.album_size <= 0:
        parser.error("counts must not be negative, --distinct and --album-size at least 1")
    if args.albums is None:
        args.albums = args.assets // 50
    if args.folders is None:
        args.folders = args.albums // 20
    if args.albums < 0 or args.folders < 0:
        parser.error("counts must not be negative")
    if args.seed is None:
        args.seed = 1
    for tool in ("cjpeg",):
        if shutil.which(tool) is None:
            fail("%s is missing (scripts/install-deps.sh installs it)" % tool)
    build(args)


if __name__ == "__main__":
    main()
