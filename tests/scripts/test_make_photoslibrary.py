#!/usr/bin/env python3
"""scripts/make-photoslibrary.py against the real Photos library it starts from.

Makes a small library (and reads it back with sqlite3 and its own JPEG reader):
its structure must be the template's, its rows must hold together as Photos'
would (the counts asked for, the folder tree, album contents, the change
history), every file a row names must be there with the pixels the row says,
and the template must stay untouched. Skipped (exit 77) without ../shared.
"""

import collections
import datetime
import hashlib
import json
import os
import plistlib
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
REPOSITORY = os.path.dirname(os.path.dirname(HERE))
SCRIPT = os.path.join(REPOSITORY, "scripts", "make-photoslibrary.py")
TEMPLATE = os.path.join(REPOSITORY, "..", "shared", "photos-libraries", "photos8-macos-13.0.1.photoslibrary")
EPOCH = 978307200
ASSETS, ALBUMS, FOLDERS, ALBUM_SIZE, TAIL = 900, 30, 6, 20, 4
ORIGINAL = (320, 240)

TEMPLATE_FILES = {}

try:
    import zoneinfo
except ImportError:
    zoneinfo = None


def generate(out, *options):
    return subprocess.run([sys.executable, SCRIPT, "--out", out] + list(options), capture_output=True, text=True)


def jpeg_facts(path):
    """(width, height, EXIF orientation or None) read from the file's markers."""
    with open(path, "rb") as f:
        data = f.read()
    if data[:2] != b"\xff\xd8":
        raise AssertionError("%s is no JPEG" % path)
    at, orientation = 2, None
    while at + 4 <= len(data):
        if data[at] != 0xFF:
            raise AssertionError("%s: no marker at %d" % (path, at))
        marker = data[at + 1]
        length = struct.unpack(">H", data[at + 2:at + 4])[0]
        segment = data[at + 4:at + 2 + length]
        if marker == 0xE1 and segment[:6] == b"Exif\0\0":
            tiff = segment[6:]
            endian = ">" if tiff[:2] == b"MM" else "<"
            ifd = struct.unpack(endian + "I", tiff[4:8])[0]
            for n in range(struct.unpack(endian + "H", tiff[ifd:ifd + 2])[0]):
                entry = tiff[ifd + 2 + 12 * n:ifd + 14 + 12 * n]
                if struct.unpack(endian + "H", entry[:2])[0] == 0x0112:
                    orientation = struct.unpack(endian + "H", entry[8:10])[0]
        if 0xC0 <= marker <= 0xCF and marker not in (0xC4, 0xC8, 0xCC):
            height, width = struct.unpack(">HH", segment[1:5])
            return width, height, orientation
        at += 2 + length
    raise AssertionError("%s has no frame header" % path)


def fingerprint(folder):
    result = {}
    for parent, _, files in os.walk(folder):
        for name in files:
            path = os.path.join(parent, name)
            with open(path, "rb") as f:
                result[os.path.relpath(path, folder)] = hashlib.md5(f.read()).hexdigest()
    return result


def rows(db, sql, *arguments):
    return db.execute(sql, arguments).fetchall()


def album_join(db):
    """The table of album contents with its album, photo and order columns."""
    table = rows(db, "SELECT m.name FROM sqlite_master m WHERE m.name GLOB 'Z_[0-9]*ASSETS' AND EXISTS"
                     " (SELECT 1 FROM pragma_table_info(m.name) p WHERE p.name GLOB 'Z_[0-9]*ALBUMS')")[0][0]
    columns = [c[1] for c in rows(db, "PRAGMA table_info(%s)" % table)]
    album = next(c for c in columns if c.endswith("ALBUMS"))
    asset = next(c for c in columns if c.endswith("ASSETS") and not c.startswith("Z_FOK_"))
    order = next(c for c in columns if c.startswith("Z_FOK_"))
    return table, album, asset, order


def setUpModule():
    global TEMPLATE_FILES
    TEMPLATE_FILES = fingerprint(TEMPLATE)


def tearDownModule():
    # Every test reads the real library; none may have written a byte into it.
    if fingerprint(TEMPLATE) != TEMPLATE_FILES:
        raise AssertionError("the real library at %s changed" % TEMPLATE)


class GeneratedLibrary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.mkdtemp(prefix="test-make-photoslibrary-")
        cls.package = os.path.join(cls.scratch, "Generated.photoslibrary")
        result = generate(cls.package, "--assets", str(ASSETS), "--albums", str(ALBUMS), "--folders", str(FOLDERS),
                          "--album-size", str(ALBUM_SIZE), "--distinct", "12", "--original-size", "%dx%d" % ORIGINAL,
                          "--wal-assets", str(TAIL), "--seed", "7")
        if result.returncode != 0:
            raise AssertionError("the generator failed: " + result.stderr)
        cls.database = os.path.join(cls.package, "database", "Photos.sqlite")
        cls.wal_size = os.path.getsize(cls.database + "-wal")
        cls.db = sqlite3.connect("file:%s?mode=ro" % cls.database, uri=True)
        template_copy = os.path.join(cls.scratch, "template.sqlite")
        shutil.copyfile(os.path.join(TEMPLATE, "database", "Photos.sqlite"), template_copy)
        shutil.copyfile(os.path.join(TEMPLATE, "database", "Photos.sqlite-wal"), template_copy + "-wal")
        cls.template = sqlite3.connect(template_copy)
        cls.entities = dict(rows(cls.db, "SELECT Z_NAME, Z_ENT FROM Z_PRIMARYKEY"))

    @classmethod
    def tearDownClass(cls):
        cls.db.close()
        cls.template.close()
        shutil.rmtree(cls.scratch)

    def test_structure_is_the_templates(self):
        master = "SELECT type, name, tbl_name, sql FROM sqlite_master"
        made = collections.Counter(rows(self.db, master))
        real = collections.Counter(rows(self.template, master))
        self.assertEqual(made - real, collections.Counter(), "tables, indexes or triggers the template lacks")
        self.assertEqual(real - made, collections.Counter(), "tables, indexes or triggers of the template missing")
        for pragma in ("page_size", "auto_vacuum", "encoding"):
            self.assertEqual(rows(self.db, "PRAGMA " + pragma), rows(self.template, "PRAGMA " + pragma), pragma)
        self.assertEqual(rows(self.db, "SELECT * FROM Z_METADATA"), rows(self.template, "SELECT * FROM Z_METADATA"))
        with open(self.database, "rb") as f:
            self.assertEqual(f.read(20)[18:20], b"\x02\x02", "the database is in WAL mode")
        self.assertEqual(rows(self.db, "PRAGMA integrity_check"), [("ok",)])

    def test_counts_and_the_kinds_of_photos(self):
        count, shown, favourites, hidden, trashed, unpicked, edited, placeless = rows(
            self.db, "SELECT count(*), sum(ZTRASHEDSTATE = 0 AND ZHIDDEN = 0 AND ZVISIBILITYSTATE = 0), sum(ZFAVORITE),"
                     " sum(ZHIDDEN), sum(ZTRASHEDSTATE), sum(ZVISIBILITYSTATE = 2), sum(ZHASADJUSTMENTS),"
                     " sum(ZLATITUDE = -180 AND ZLONGITUDE = -180) FROM ZASSET")[0]
        self.assertEqual(count, ASSETS)
        self.assertTrue(0 < shown < count)
        for kind, number in (("favourites", favourites), ("hidden", hidden), ("trashed", trashed),
                             ("unpicked burst frames", unpicked), ("edited", edited), ("without a place", placeless)):
            self.assertGreater(number, 0, kind)
        # Attributes and photos point at each other, one to one.
        self.assertEqual(rows(self.db, "SELECT count(*) FROM ZASSET a JOIN ZADDITIONALASSETATTRIBUTES aa"
                                       " ON aa.Z_PK = a.ZADDITIONALATTRIBUTES AND aa.ZASSET = a.Z_PK"), [(ASSETS,)])
        self.assertEqual(rows(self.db, "SELECT count(*) FROM ZADDITIONALASSETATTRIBUTES"), [(ASSETS,)])
        self.assertEqual(rows(self.db, "SELECT count(DISTINCT ZUUID) FROM ZASSET"), [(ASSETS,)])
        # Each burst shows one frame.
        for burst, picks, frames in rows(self.db, "SELECT ZAVALANCHEUUID, sum(ZVISIBILITYSTATE = 0), count(*) FROM ZASSET"
                                                  " WHERE ZAVALANCHEUUID IS NOT NULL GROUP BY 1"):
            self.assertEqual(picks, 1, burst)
            self.assertGreater(frames, 1, burst)
        kinds = dict(rows(self.db, "SELECT ZKIND, count(*) FROM ZGENERICALBUM WHERE ZKIND IN (2, 4000, 3999)"
                                   " GROUP BY ZKIND"))
        self.assertEqual(kinds, {2: ALBUMS, 4000: FOLDERS, 3999: 1})
        # Photos' own containers stay as the template has them.
        own = "SELECT ZKIND, ZUUID FROM ZGENERICALBUM WHERE ZKIND NOT IN (2, 4000, 1505, 1506, 1507, 1508, 1509, 1510)"
        self.assertEqual(sorted(rows(self.db, own)), sorted(rows(self.template, own)))
        # Every photo came with an import session.
        self.assertEqual(rows(self.db, "SELECT count(*) FROM ZASSET a JOIN ZGENERICALBUM s ON s.Z_PK = a.ZIMPORTSESSION"
                                       " AND s.ZKIND = 1506 AND s.Z_ENT = ?", self.entities["ImportSession"]), [(ASSETS,)])

    def test_folder_tree(self):
        nodes = {pk: (kind, parent, order) for pk, kind, parent, order in rows(
            self.db, "SELECT Z_PK, ZKIND, ZPARENTFOLDER, Z_FOK_PARENTFOLDER FROM ZGENERICALBUM"
                     " WHERE ZKIND IN (2, 4000, 3999)")}
        root = next(pk for pk, node in nodes.items() if node[0] == 3999)
        depths = []
        siblings = collections.defaultdict(list)
        for pk, (kind, parent, order) in nodes.items():
            if pk == root:
                continue
            siblings[parent].append(order)
            depth, at = 0, pk
            while at != root:
                at = nodes[at][1]
                self.assertIn(at, nodes, "parent of %d is no folder" % pk)
                self.assertIn(nodes[at][0], (4000, 3999))
                depth += 1
                self.assertLess(depth, 10, "the parents of %d go round" % pk)
            depths.append(depth)
        self.assertGreater(max(depths), 2, "folders inside folders")
        for parent, orders in siblings.items():
            self.assertEqual(len(set(orders)), len(orders), "siblings in %d share a place" % parent)
        self.assertTrue(all(pk > root or nodes[pk][0] == 3999 for pk in nodes))

    def test_album_contents(self):
        table, album, asset, order = album_join(self.db)
        entries = rows(self.db, "SELECT j.%s, j.%s, j.%s, g.ZKIND, a.Z_PK FROM %s j LEFT JOIN ZGENERICALBUM g"
                                " ON g.Z_PK = j.%s LEFT JOIN ZASSET a ON a.Z_PK = j.%s"
                                % (album, asset, order, table, album, asset))
        self.assertTrue(ALBUMS * ALBUM_SIZE / 2 <= len(entries) <= ALBUMS * ALBUM_SIZE * 2, len(entries))
        per_album = collections.defaultdict(list)
        for owner, member, place, kind, found in entries:
            self.assertEqual(kind, 2, "album %d is no album" % owner)
            self.assertIsNotNone(found, "album %d holds a missing photo %d" % (owner, member))
            per_album[owner].append(place)
        for owner, places in per_album.items():
            self.assertEqual(len(set(places)), len(places), "album %d orders two photos alike" % owner)
        # The counts Photos keeps are those of the photos it shows.
        for owner, cached, counted in rows(
                self.db, "SELECT g.Z_PK, g.ZCACHEDCOUNT, (SELECT count(*) FROM %s j JOIN ZASSET a ON a.Z_PK = j.%s"
                         " WHERE j.%s = g.Z_PK AND a.ZTRASHEDSTATE = 0 AND a.ZHIDDEN = 0 AND a.ZVISIBILITYSTATE = 0)"
                         " FROM ZGENERICALBUM g WHERE g.ZKIND = 2" % (table, asset, album)):
            self.assertEqual(cached, counted, "album %d" % owner)
        sort_keys = {key for (key,) in rows(self.db, "SELECT DISTINCT ZCUSTOMSORTKEY FROM ZGENERICALBUM WHERE ZKIND = 2")}
        self.assertTrue({0, 1} <= sort_keys, sort_keys)

    def test_history_tells_what_was_made(self):
        inserts = collections.Counter(rows(self.db, "SELECT ZENTITY, ZENTITYPK FROM ACHANGE WHERE ZCHANGETYPE = 0"))
        made = collections.Counter()
        for table in ("ZASSET", "ZADDITIONALASSETATTRIBUTES", "ZINTERNALRESOURCE", "ZEXTENDEDATTRIBUTES",
                      "ZUNMANAGEDADJUSTMENT"):
            made.update(rows(self.db, "SELECT Z_ENT, Z_PK FROM %s" % table))
        made.update(rows(self.db, "SELECT Z_ENT, Z_PK FROM ZGENERICALBUM WHERE ZKIND IN (2, 4000, 1506)"))
        self.assertEqual(inserts, made)
        self.assertEqual(rows(self.db, "SELECT count(*) FROM ACHANGE WHERE ZCHANGETYPE NOT IN (0, 1)"), [(0,)])
        self.assertEqual(rows(self.db, "SELECT count(*) FROM ACHANGE c LEFT JOIN ATRANSACTION t"
                                       " ON t.Z_PK = c.ZTRANSACTIONID WHERE t.Z_PK IS NULL"), [(0,)])
        times = [t for (t,) in rows(self.db, "SELECT ZTIMESTAMP FROM ATRANSACTION ORDER BY Z_PK")]
        self.assertEqual(times, sorted(times), "transactions in the order they happened")
        # A row's version counts its saves: the insert and each update.
        asset = self.entities["Asset"]
        for pk, version, updates in rows(self.db, "SELECT a.Z_PK, a.Z_OPT, (SELECT count(*) FROM ACHANGE c"
                                                  " WHERE c.ZCHANGETYPE = 1 AND c.ZENTITY = ? AND c.ZENTITYPK = a.Z_PK)"
                                                  " FROM ZASSET a", asset):
            self.assertEqual(version, 1 + updates, "photo %d" % pk)
        # Putting a photo into an album saves the photo too.
        table, album, member, _ = album_join(self.db)
        self.assertEqual(rows(self.db, "SELECT count(*) FROM %s j JOIN ACHANGE made ON made.ZCHANGETYPE = 0"
                                       " AND made.ZENTITYPK = j.%s AND made.ZENTITY = ? LEFT JOIN ACHANGE moved"
                                       " ON moved.ZTRANSACTIONID = made.ZTRANSACTIONID AND moved.ZCHANGETYPE = 1"
                                       " AND moved.ZENTITY = ? AND moved.ZENTITYPK = j.%s WHERE moved.Z_PK IS NULL"
                                       % (table, album, member), self.entities["Album"], asset), [(0,)])
        # Z_MAX is at least every key in use.
        supers = dict(rows(self.db, "SELECT Z_ENT, Z_SUPER FROM Z_PRIMARYKEY"))
        highest = collections.Counter()
        for table in ("ZASSET", "ZADDITIONALASSETATTRIBUTES", "ZINTERNALRESOURCE", "ZGENERICALBUM", "ACHANGE",
                      "ATRANSACTION", "ATRANSACTIONSTRING"):
            for ent, top in rows(self.db, "SELECT Z_ENT, max(Z_PK) FROM %s GROUP BY Z_ENT" % table):
                while supers.get(ent):
                    ent = supers[ent]
                highest[ent] = max(highest[ent], top)
        z_max = dict(rows(self.db, "SELECT Z_ENT, Z_MAX FROM Z_PRIMARYKEY"))
        for ent, top in highest.items():
            self.assertGreaterEqual(z_max[ent], top, "Z_MAX of entity %d" % ent)

    def test_local_dates_and_places(self):
        checked = 0
        for created, offset, zone, text, lat, lon, blob in rows(
                self.db, "SELECT a.ZDATECREATED, aa.ZTIMEZONEOFFSET, aa.ZTIMEZONENAME, aa.ZEXIFTIMESTAMPSTRING,"
                         " a.ZLATITUDE, a.ZLONGITUDE, a.ZLOCATIONDATA FROM ZASSET a"
                         " JOIN ZADDITIONALASSETATTRIBUTES aa ON aa.Z_PK = a.ZADDITIONALATTRIBUTES"):
            local = datetime.datetime.fromtimestamp(created + EPOCH + offset, datetime.timezone.utc)
            self.assertEqual(text, local.strftime("%Y:%m:%d %H:%M:%S"))
            self.assertEqual(offset % 900, 0)
            if zone.startswith("GMT"):
                self.assertEqual(zone, "GMT" if offset == 0 else "GMT%s%02d%02d" % (
                    "+" if offset > 0 else "-", abs(offset) // 3600, abs(offset) % 3600 // 60))
            elif zoneinfo:
                moment = datetime.datetime.fromtimestamp(created + EPOCH, zoneinfo.ZoneInfo(zone))
                self.assertEqual(offset, moment.utcoffset().total_seconds(), zone)
                checked += 1
            if blob is None:
                self.assertEqual((lat, lon), (-180.0, -180.0))
            else:
                self.assertEqual(struct.unpack("<2d", blob[:16]), (lat, lon))
                self.assertTrue(-90 <= lat <= 90 and -180 <= lon <= 180)
        self.assertTrue(checked or not zoneinfo)

    def test_every_file_named_is_there(self):
        package = self.package
        named = set()
        for uuid, directory, filename, width, height, orientation, size, stored_w, stored_h, stored_orientation, edited in rows(
                self.db, "SELECT a.ZUUID, a.ZDIRECTORY, a.ZFILENAME, a.ZWIDTH, a.ZHEIGHT, a.ZORIENTATION,"
                         " aa.ZORIGINALFILESIZE, aa.ZORIGINALWIDTH, aa.ZORIGINALHEIGHT, aa.ZORIGINALORIENTATION,"
                         " a.ZHASADJUSTMENTS FROM ZASSET a JOIN ZADDITIONALASSETATTRIBUTES aa"
                         " ON aa.Z_PK = a.ZADDITIONALATTRIBUTES"):
            original = os.path.join("originals", directory, filename)
            self.assertEqual(os.path.getsize(os.path.join(package, original)), size, original)
            self.assertEqual(jpeg_facts(os.path.join(package, original)), (stored_w, stored_h, stored_orientation))
            self.assertEqual(orientation, stored_orientation)
            self.assertEqual((width, height), (stored_h, stored_w) if orientation in (6, 8) else (stored_w, stored_h))
            preview = os.path.join("resources", "derivatives", uuid[0], uuid + "_1_105_c.jpeg")
            thumbnail = os.path.join("resources", "derivatives", "masters", uuid[0], uuid + "_4_5005_c.jpeg")
            for path, fits in ((preview, lambda w, h: max(w, h) == min(1024, max(width, height))),
                               (thumbnail, lambda w, h: min(w, h) == min(360, width, height))):
                w, h, _ = jpeg_facts(os.path.join(package, path))
                self.assertTrue(fits(w, h), "%s is %dx%d" % (path, w, h))
                self.assertAlmostEqual(w / h, width / height, delta=0.02, msg=path + " is upright")
            named.update((original, preview, thumbnail))
            resources = rows(self.db, "SELECT r.ZVERSION, r.ZDATASTORESUBTYPE, r.ZDATALENGTH, r.ZUNORIENTEDWIDTH,"
                                      " r.ZUNORIENTEDHEIGHT FROM ZINTERNALRESOURCE r JOIN ZASSET a ON a.Z_PK = r.ZASSET"
                                      " WHERE a.ZUUID = ?", uuid)
            kinds = {(version, subtype): (length, (w, h)) for version, subtype, length, w, h in resources}
            self.assertEqual(kinds[(0, 1)], (size, (stored_w, stored_h)))
            self.assertEqual(kinds[(3, 0)][0], os.path.getsize(os.path.join(package, preview)))
            if edited:
                render = os.path.join("resources", "renders", uuid[0], uuid + "_1_201_a.jpeg")
                adjustments = os.path.join("resources", "renders", uuid[0], uuid + ".plist")
                self.assertEqual(kinds[(2, 2)], (os.path.getsize(os.path.join(package, render)), (width, height)))
                self.assertEqual(jpeg_facts(os.path.join(package, render))[:2], (width, height))
                with open(os.path.join(package, adjustments), "rb") as f:
                    plist = plistlib.load(f)
                self.assertEqual(plist["adjustmentFormatIdentifier"], "com.apple.photo")
                self.assertIn("adjustments", json.loads(zlib.decompress(plist["adjustmentData"], -15)))
                named.update((render, adjustments))
            else:
                self.assertNotIn((2, 2), kinds)
        on_disk = set()
        for top in ("originals", "resources"):
            for parent, _, files in os.walk(os.path.join(package, top)):
                on_disk.update(os.path.relpath(os.path.join(parent, f), package) for f in files)
        on_disk.discard(os.path.join("resources", "derivatives", "thumbs", "thumbnailConfiguration"))
        self.assertEqual(on_disk - named, set(), "files no row names")
        self.assertEqual(sorted(os.listdir(package)), ["database", "originals", "resources"])

    def test_last_photos_are_only_in_the_log(self):
        self.assertGreater(self.wal_size, 0)
        without_log = sqlite3.connect("file:%s?immutable=1" % self.database, uri=True)
        try:
            self.assertEqual(without_log.execute("SELECT count(*) FROM ZASSET").fetchone()[0], ASSETS - TAIL)
        finally:
            without_log.close()

    def test_adding_a_photo_as_photos_does(self):
        copy = os.path.join(self.scratch, "Copy.photoslibrary")
        shutil.copytree(self.package, copy, copy_function=os.link)
        shutil.rmtree(os.path.join(copy, "database"))
        shutil.copytree(os.path.join(self.package, "database"), os.path.join(copy, "database"))
        before = os.path.getsize(os.path.join(copy, "database", "Photos.sqlite-wal"))
        result = subprocess.run([sys.executable, SCRIPT, "--add-one", copy, "--seed", "3"], capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        added = json.loads(result.stdout)
        self.assertEqual(added["localIdentifier"], added["uuid"] + "/L0/001")
        self.assertGreater(os.path.getsize(os.path.join(copy, "database", "Photos.sqlite-wal")), before)
        db = sqlite3.connect("file:%s?mode=ro" % os.path.join(copy, "database", "Photos.sqlite"), uri=True)
        try:
            self.assertEqual(rows(db, "PRAGMA integrity_check"), [("ok",)])
            pk, aa, shown = rows(db, "SELECT Z_PK, ZADDITIONALATTRIBUTES, ZTRASHEDSTATE = 0 AND ZHIDDEN = 0"
                                     " AND ZVISIBILITYSTATE = 0 FROM ZASSET WHERE ZUUID = ?", added["uuid"])[0]
            self.assertEqual(pk, added["pk"])
            self.assertTrue(shown)
            last = rows(db, "SELECT max(Z_PK) FROM ATRANSACTION")[0][0]
            changes = set(rows(db, "SELECT ZCHANGETYPE, ZENTITY, ZENTITYPK FROM ACHANGE WHERE ZTRANSACTIONID = ?", last))
            self.assertIn((0, self.entities["Asset"], pk), changes)
            self.assertIn((0, self.entities["AdditionalAssetAttributes"], aa), changes)
            self.assertEqual(rows(db, "SELECT Z_MAX FROM Z_PRIMARYKEY WHERE Z_NAME = 'Asset'"), [(pk,)])
            self.assertEqual(collections.Counter(rows(db, "SELECT type, name, tbl_name, sql FROM sqlite_master")),
                             collections.Counter(rows(self.db, "SELECT type, name, tbl_name, sql FROM sqlite_master")))
            directory, filename = rows(db, "SELECT ZDIRECTORY, ZFILENAME FROM ZASSET WHERE Z_PK = ?", pk)[0]
            self.assertTrue(os.path.isfile(os.path.join(copy, "originals", directory, filename)))
        finally:
            db.close()
        self.assertEqual(rows(self.db, "SELECT count(*) FROM ZASSET WHERE ZUUID = ?", added["uuid"]), [(0,)],
                         "the library it was copied from stays as it was")

    def test_template_is_left_as_it_was(self):
        self.assertEqual(fingerprint(TEMPLATE), TEMPLATE_FILES)


class RealLibraryCopy(unittest.TestCase):
    def test_adding_a_photo_to_a_copy_of_the_real_library(self):
        scratch = tempfile.mkdtemp()
        try:
            package = os.path.join(scratch, "Copy.photoslibrary")
            shutil.copytree(TEMPLATE, package, ignore=shutil.ignore_patterns("*-shm", "private"))
            for parent, folders, files in os.walk(package):
                for name in folders + files:
                    os.chmod(os.path.join(parent, name), 0o755 if name in folders else 0o644)
            os.chmod(package, 0o755)
            database = os.path.join(package, "database", "Photos.sqlite")
            db = sqlite3.connect("file:%s?mode=ro" % database, uri=True)
            last_transaction = rows(db, "SELECT max(Z_PK) FROM ATRANSACTION")[0][0]
            before = rows(db, "SELECT ZUUID FROM ZASSET ORDER BY Z_PK")
            db.close()
            result = subprocess.run([sys.executable, SCRIPT, "--add-one", package, "--seed", "9"], capture_output=True,
                                    text=True)
            self.assertEqual(result.returncode, 0, result.stderr)
            added = json.loads(result.stdout)
            db = sqlite3.connect("file:%s?mode=ro" % database, uri=True)
            try:
                self.assertEqual(rows(db, "PRAGMA integrity_check"), [("ok",)])
                self.assertEqual(rows(db, "SELECT ZUUID FROM ZASSET ORDER BY Z_PK"), before + [(added["uuid"],)])
                self.assertEqual(rows(db, "SELECT count(*) FROM ATRANSACTION WHERE Z_PK > ?", last_transaction), [(1,)])
                inserted = {name for (name,) in rows(db, "SELECT p.Z_NAME FROM ACHANGE c JOIN Z_PRIMARYKEY p"
                                                         " ON p.Z_ENT = c.ZENTITY WHERE c.ZTRANSACTIONID > ?"
                                                         " AND c.ZCHANGETYPE = 0", last_transaction)}
                self.assertEqual(inserted, {"Asset", "AdditionalAssetAttributes", "InternalResource",
                                            "ExtendedAttributes", "ImportSession"})
                # The new photo shares the files of an unedited one and says so in its rows.
                width, height, size, directory, filename = rows(
                    db, "SELECT aa.ZORIGINALWIDTH, aa.ZORIGINALHEIGHT, aa.ZORIGINALFILESIZE, a.ZDIRECTORY, a.ZFILENAME"
                        " FROM ZASSET a JOIN ZADDITIONALASSETATTRIBUTES aa ON aa.Z_PK = a.ZADDITIONALATTRIBUTES"
                        " WHERE a.ZUUID = ?", added["uuid"])[0]
                original = os.path.join(package, "originals", directory, filename)
                self.assertEqual(os.path.getsize(original), size)
                self.assertEqual(jpeg_facts(original)[:2], (width, height))
                self.assertGreater(os.stat(original).st_nlink, 1)
            finally:
                db.close()
            self.assertGreater(os.path.getsize(database + "-wal"), 0, "the photo is in the log, as Photos leaves it")
        finally:
            shutil.rmtree(scratch)


class OtherPhotosVersions(unittest.TestCase):
    """A template with what changes between Photos versions: the asset table's name and its entity
    under a root entity (Photos 5), renamed columns (Photos 10), other entity numbers."""

    def test_names_and_numbers_come_from_the_template(self):
        scratch = tempfile.mkdtemp()
        try:
            template = os.path.join(scratch, "Photos.sqlite")
            shutil.copyfile(os.path.join(TEMPLATE, "database", "Photos.sqlite"), template)
            shutil.copyfile(os.path.join(TEMPLATE, "database", "Photos.sqlite-wal"), template + "-wal")
            db = sqlite3.connect(template)
            db.create_function("NSCoreDataDATriggerInsertUpdatedAffectedObjectValue", -1, lambda *a: None)
            db.create_function("NSCoreDataDATriggerUpdatedAffectedObjectValue", -1, lambda *a: None)
            db.create_function("NSCoreDataTriggerUpdateAffectedObjectValue", -1, lambda *a: None)
            db.executescript("""
                ALTER TABLE ZASSET RENAME TO ZGENERICASSET;
                ALTER TABLE ZGENERICASSET RENAME COLUMN ZHASADJUSTMENTS TO ZADJUSTMENTSSTATE;
                ALTER TABLE ZADDITIONALASSETATTRIBUTES RENAME COLUMN ZMASTERFINGERPRINT TO ZORIGINALSTABLEHASH;
                ALTER TABLE Z_28ASSETS RENAME COLUMN Z_3ASSETS TO Z_70ASSETS;
                ALTER TABLE Z_28ASSETS RENAME COLUMN Z_FOK_3ASSETS TO Z_FOK_70ASSETS;
                INSERT INTO Z_PRIMARYKEY (Z_ENT, Z_NAME, Z_SUPER, Z_MAX) VALUES (70, 'GenericAsset', 0, 5);
                UPDATE Z_PRIMARYKEY SET Z_ENT = 71, Z_SUPER = 70, Z_MAX = 0 WHERE Z_NAME = 'Asset';
                UPDATE ZGENERICASSET SET Z_ENT = 71;
                UPDATE ACHANGE SET ZENTITY = 71 WHERE ZENTITY = 3;""")
            db.close()
            out = os.path.join(scratch, "Older.photoslibrary")
            result = generate(out, "--template", template, "--assets", "300", "--albums", "10", "--distinct", "8",
                              "--original-size", "64x48", "--wal-assets", "2")
            self.assertEqual(result.returncode, 0, result.stderr)
            result = subprocess.run([sys.executable, SCRIPT, "--add-one", out], capture_output=True, text=True)
            self.assertEqual(result.returncode, 0, result.stderr)
            made = sqlite3.connect("file:%s?mode=ro" % os.path.join(out, "database", "Photos.sqlite"), uri=True)
            real = sqlite3.connect("file:%s?mode=ro" % template, uri=True)
            master = "SELECT type, name, tbl_name, sql FROM sqlite_master"
            self.assertEqual(collections.Counter(rows(made, master)), collections.Counter(rows(real, master)))
            real.close()
            self.assertEqual(rows(made, "SELECT Z_ENT, count(*) FROM ZGENERICASSET GROUP BY Z_ENT"), [(71, 301)])
            self.assertEqual(rows(made, "SELECT Z_MAX FROM Z_PRIMARYKEY WHERE Z_ENT = 70"), [(301,)])
            self.assertEqual(rows(made, "SELECT count(DISTINCT ZENTITYPK) FROM ACHANGE WHERE ZCHANGETYPE = 0"
                                        " AND ZENTITY = 71"), [(301,)])
            self.assertGreater(rows(made, "SELECT sum(ZADJUSTMENTSSTATE) FROM ZGENERICASSET")[0][0], 0)
            self.assertEqual(rows(made, "SELECT count(ZORIGINALSTABLEHASH) FROM ZADDITIONALASSETATTRIBUTES"), [(301,)])
            self.assertEqual(rows(made, "SELECT count(*) FROM Z_28ASSETS j LEFT JOIN ZGENERICASSET a"
                                        " ON a.Z_PK = j.Z_70ASSETS WHERE a.Z_PK IS NULL"), [(0,)])
            self.assertGreater(rows(made, "SELECT count(*) FROM Z_28ASSETS")[0][0], 0)
            made.close()
        finally:
            shutil.rmtree(scratch)


class Refusals(unittest.TestCase):
    def test_missing_template_is_one_clear_line(self):
        scratch = tempfile.mkdtemp()
        try:
            out = os.path.join(scratch, "Out.photoslibrary")
            result = generate(out, "--assets", "5", "--template", os.path.join(scratch, "none.photoslibrary"))
            self.assertEqual(result.returncode, 2)
            self.assertEqual(len(result.stderr.strip().splitlines()), 1, result.stderr)
            self.assertIn("none.photoslibrary", result.stderr)
            self.assertFalse(os.path.exists(out))
        finally:
            shutil.rmtree(scratch)

    def test_adding_to_what_is_no_library_is_one_clear_line(self):
        scratch = tempfile.mkdtemp()
        try:
            os.makedirs(os.path.join(scratch, "database"))
            with open(os.path.join(scratch, "database", "Photos.sqlite"), "wb") as f:
                f.write(b"SQLite format 3\0" + b"\xff" * 200)
            for package in (scratch, os.path.join(scratch, "missing")):
                result = subprocess.run([sys.executable, SCRIPT, "--add-one", package], capture_output=True, text=True)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertEqual(len(result.stderr.strip().splitlines()), 1, result.stderr)
                self.assertEqual(result.stdout, "")
        finally:
            shutil.rmtree(scratch)

    def test_same_seed_same_library(self):
        scratch = tempfile.mkdtemp()
        try:
            made = []
            for name, seed in (("A", "5"), ("B", "5"), ("C", "6")):
                out = os.path.join(scratch, name + ".photoslibrary")
                result = generate(out, "--assets", "60", "--albums", "4", "--distinct", "3", "--original-size", "64x48",
                                  "--seed", seed)
                self.assertEqual(result.returncode, 0, result.stderr)
                files = fingerprint(out)
                db = sqlite3.connect("file:%s?mode=ro" % os.path.join(out, "database", "Photos.sqlite"), uri=True)
                made.append((list(db.iterdump()), files))
                db.close()
            self.assertEqual(made[0], made[1])
            self.assertNotEqual(made[0], made[2])
        finally:
            shutil.rmtree(scratch)


if __name__ == "__main__":
    if not os.path.isdir(TEMPLATE):
        print("skipped: no real Photos library at %s" % os.path.normpath(TEMPLATE))
        sys.exit(77)
    unittest.main()
