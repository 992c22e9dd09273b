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
import struct
import sys
import tempfile
import time

sys.dont_write_bytecode = True  # nothing beside the scripts in the checkout
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import photoslibrary_pictures as pictures  # noqa: E402
from photoslibrary_schema import (ALBUM_KIND, FOLDER_KIND, IMPORT_SESSION_KIND, ROOT_FOLDER_KIND,  # noqa: E402
                                  USER_KINDS, History, Keys, Rows, Schema, open_private, quote,
                                  register_core_data_functions)

REPOSITORY = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
DEFAULT_TEMPLATE = os.path.join(REPOSITORY, "..", "shared", "photos-libraries", "photos8-macos-13.0.1.photoslibrary")
CORE_DATA_EPOCH = 978307200
# Tables whose template rows stay: the store's metadata and Photos' own singletons and containers.
KEPT_TABLES = ("Z_PRIMARYKEY", "Z_METADATA", "Z_MODELCACHE", "ZGLOBALKEYVALUE", "ZMIGRATIONHISTORY", "ZALBUMLIST",
               "ZUNIFORMTYPEIDENTIFIER", "ZGENERICALBUM")
PACKAGE_FILES = ("database/DataModelVersion.plist", "database/photos.db", "database/metaSchema.db",
                 "resources/derivatives/thumbs/thumbnailConfiguration")
PREVIEW_RECIPE, RENDER_RECIPE = 65747, 65938
# Where photos are taken: time zone, latitude, longitude.
PLACES = [("Europe/Berlin", 52.52, 13.40), ("Europe/Berlin", 48.14, 11.58), ("Europe/London", 51.51, -0.13),
          ("America/Los_Angeles", 33.50, -117.66), ("America/New_York", 40.71, -74.01), ("Asia/Tokyo", 35.68, 139.69),
          ("Asia/Kolkata", 28.61, 77.21), ("Asia/Kathmandu", 27.72, 85.32), ("Australia/Adelaide", -34.93, 138.60),
          ("Pacific/Auckland", -36.85, 174.76), ("America/Sao_Paulo", -23.55, -46.63), ("Atlantic/Reykjavik", 64.15, -21.94)]
PLACE_WEIGHTS = [30, 10, 8, 8, 6, 5, 3, 2, 3, 2, 3, 2]
CITY_NAMES = ["Berlin", "München", "London", "San Juan Capistrano", "New York", "東京", "Delhi", "Kathmandu", "Adelaide",
              "Auckland", "São Paulo", "Reykjavík"]
THEMES = ["Family", "Garden", "Kids", "Best of", "Wedding", "Birthday", "Zoo", "Fotobuch", "Café ☕", "Größte Hits",
          "Hiking", "Christmas", "Projects", "Friends", "Cars", "Food"]
FOLDER_NAMES = ["Travel", "Family", "Archive", "Projects", "Events", "Sport", "Work", "Scans", "Übersicht", "Misc"]
CAMERAS = [("Apple", "iPhone 12", "iPhone 12 back camera 4.2mm f/1.6", 1.6, 4.2),
           ("Apple", "iPhone 8", "iPhone 8 back camera 3.99mm f/1.8", 1.8, 3.99),
           ("Canon", "Canon EOS 80D", "EF-S18-135mm f/3.5-5.6 IS USM", 5.6, 35.0)]

try:
    import zoneinfo
    zoneinfo.ZoneInfo("Europe/Berlin")
except Exception:  # no tz database: fixed offsets and GMT names only
    zoneinfo = None


def fail(message):
    print("make-photoslibrary.py: " + message, file=sys.stderr)
    sys.exit(2)


def new_uuid(rng):
    value = "%032X" % rng.getrandbits(128)
    return "%s-%s-4%s-%s-%s" % (value[:8], value[8:12], value[13:16], "89AB"[int(value[16], 16) % 4] + value[17:20],
                                value[20:32])


def gmt_name(offset):
    if offset == 0:
        return "GMT"
    sign = "+" if offset > 0 else "-"
    return "GMT%s%02d%02d" % (sign, abs(offset) // 3600, abs(offset) % 3600 // 60)


def utc_offset(zone, unix):
    if zoneinfo is None:
        return {"Europe/Berlin": 3600, "Europe/London": 0, "America/Los_Angeles": -28800, "America/New_York": -18000,
                "Asia/Tokyo": 32400, "Asia/Kolkata": 19800, "Asia/Kathmandu": 20700, "Australia/Adelaide": 34200,
                "Pacific/Auckland": 43200, "America/Sao_Paulo": -10800}.get(zone, 0)
    return int(datetime.datetime.fromtimestamp(unix, zoneinfo.ZoneInfo(zone)).utcoffset().total_seconds())


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


class Template:
    """What the generator takes from the real library besides its structure."""

    def __init__(self, db):
        self.db = db
        self.schema = Schema(db)
        s = self.schema
        self.asset_defaults = s.zero_columns(s.asset_table)
        self.attribute_defaults = s.zero_columns("ZADDITIONALASSETATTRIBUTES")
        self.resource_defaults = s.zero_columns("ZINTERNALRESOURCE")
        self.album_defaults = s.zero_columns("ZGENERICALBUM")
        self.extended_defaults = s.zero_columns("ZEXTENDEDATTRIBUTES") if "ZEXTENDEDATTRIBUTES" in s.columns else {}
        self.masks = s.frequent_masks()
        self.resource_keys = {}
        if s.has("ZINTERNALRESOURCE", "ZDATASTOREKEYDATA"):
            for version, subtype, key, quality in db.execute(
                    "SELECT ZVERSION, ZDATASTORESUBTYPE, ZDATASTOREKEYDATA, %s FROM ZINTERNALRESOURCE"
                    " GROUP BY ZVERSION, ZDATASTORESUBTYPE" % ("ZQUALITYSORTVALUE" if s.has("ZINTERNALRESOURCE", "ZQUALITYSORTVALUE") else "NULL")):
                self.resource_keys.setdefault((version, subtype), (key, quality))
        self.places = []
        if s.has("ZADDITIONALASSETATTRIBUTES", "ZREVERSELOCATIONDATA"):
            self.places = [row[0] for row in db.execute(
                "SELECT ZREVERSELOCATIONDATA FROM ZADDITIONALASSETATTRIBUTES WHERE ZREVERSELOCATIONDATA IS NOT NULL"
                " LIMIT 16")]
        # The album list that holds the user's albums and folders.
        self.user_list = None
        if s.album_lists:
            table, owner, member, _ = s.album_lists
            row = db.execute("SELECT j.%s, count(*) FROM %s j JOIN ZGENERICALBUM g ON g.Z_PK = j.%s WHERE g.ZKIND IN (%d, %d)"
                             " GROUP BY 1 ORDER BY 2 DESC" % (member, quote(table), owner, ALBUM_KIND, FOLDER_KIND)).fetchone()
            self.user_list = row[0] if row else None


def create_structure(db, template_path, schema):
    """The template's tables and triggers in a new database, and the rows of Photos' own that stay."""
    tpl = sqlite3.connect(template_path)
    for pragma in ("page_size", "auto_vacuum", "user_version", "application_id"):
        db.execute("PRAGMA %s = %d" % (pragma, tpl.execute("PRAGMA %s" % pragma).fetchone()[0]))
    entries = tpl.execute("SELECT type, name, sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY rowid").fetchall()
    tpl.close()
    for kind, name, sql in entries:
        if kind == "table" and sql.upper().startswith("CREATE VIRTUAL TABLE"):
            db.execute(sql)
    made = {row[0] for row in db.execute("SELECT name FROM sqlite_master")}
    for kind, name, sql in entries:
        if kind == "table" and name not in made and not name.startswith("sqlite_"):
            db.execute(sql)
    db.execute("ATTACH DATABASE ? AS tpl", (template_path,))
    for table in KEPT_TABLES + ((schema.album_lists[0],) if schema.album_lists else ()):
        if table not in schema.columns:
            continue
        where = ""
        if table == "ZGENERICALBUM":
            where = " WHERE ZKIND IS NULL OR ZKIND NOT IN (%s)" % ", ".join(map(str, USER_KINDS))
        elif schema.album_lists and table == schema.album_lists[0]:
            where = " WHERE %s IN (SELECT Z_PK FROM main.ZGENERICALBUM)" % schema.album_lists[1]
        db.execute("INSERT INTO main.%s SELECT * FROM tpl.%s%s" % (quote(table), quote(table), where))
    # Photos' containers pointed at the template's photos.
    for column in ("ZKEYASSET", "ZCUSTOMKEYASSET", "ZSECONDARYKEYASSET", "ZTERTIARYKEYASSET"):
        if schema.has("ZGENERICALBUM", column):
            db.execute("UPDATE main.ZGENERICALBUM SET %s = NULL" % column)
    db.execute("DETACH DATABASE tpl")
    triggers = [sql for kind, _, sql in entries if kind == "trigger"]
    indexes = [sql for kind, _, sql in entries if kind == "index"]
    return triggers, indexes


class Asset:
    __slots__ = ("pk", "aa", "ea", "uuid", "created", "offset", "zone", "place", "location", "favorite", "hidden",
                 "trashed", "burst", "pick", "subject", "edited", "added", "session", "title", "number", "opt",
                 "aa_opt", "flag_time", "edit_time", "resources", "adjustment")

    def __init__(self):
        self.pk = self.aa = self.ea = self.session = None
        self.favorite = self.hidden = self.trashed = self.edited = False
        self.burst = self.title = self.location = self.flag_time = self.edit_time = self.adjustment = None
        self.pick = 0
        self.opt = self.aa_opt = 1
        self.resources = []


class Writer:
    """Turns planned photos, albums and folders into rows of the library's tables."""

    def __init__(self, db, template, keys, rng):
        s = template.schema
        self.db, self.template, self.schema, self.keys, self.rng = db, template, s, keys, rng
        self.history = History(s, keys, template.masks)
        self.asset_ent = s.ent("Asset", "GenericAsset")
        self.attribute_ent = s.ent("AdditionalAssetAttributes")
        self.resource_ent = s.ent("InternalResource")
        self.album_ent = s.ent("Album")
        self.folder_ent = s.ent("Folder")
        self.session_ent = s.ent("ImportSession", "Album")
        self.extended_ent = s.entities.get("ExtendedAttributes")
        self.adjustment_ent = s.entities.get("UnmanagedAdjustment")
        self.assets = Rows(s, s.asset_table, template.asset_defaults)
        self.attributes = Rows(s, "ZADDITIONALASSETATTRIBUTES", template.attribute_defaults)
        self.resources = Rows(s, "ZINTERNALRESOURCE", template.resource_defaults)
        self.extended = Rows(s, "ZEXTENDEDATTRIBUTES", template.extended_defaults)
        self.adjustments = Rows(s, "ZUNMANAGEDADJUSTMENT", {})
        self.albums = Rows(s, "ZGENERICALBUM", template.album_defaults)
        self.members = []
        self.list_members = []
        self.adjusted_column = s.first_column(s.asset_table, "ZHASADJUSTMENTS", "ZADJUSTMENTSSTATE")
        self.fingerprint_column = s.first_column("ZADDITIONALASSETATTRIBUTES", "ZMASTERFINGERPRINT", "ZORIGINALSTABLEHASH")
        self.jpeg_uti = None
        if s.has("ZINTERNALRESOURCE", "ZUNIFORMTYPEIDENTIFIER") and "ZUNIFORMTYPEIDENTIFIER" in s.columns:
            row = db.execute("SELECT Z_PK FROM ZUNIFORMTYPEIDENTIFIER WHERE ZIDENTIFIER = 'public.jpeg'").fetchone()
            self.jpeg_uti = row[0] if row else None

    def allocate(self, asset):
        asset.aa = self.keys.next(self.attribute_ent)
        asset.ea = self.keys.next(self.extended_ent) if self.extended_ent and "ZEXTENDEDATTRIBUTES" in self.schema.columns else None
        asset.pk = self.keys.next(self.asset_ent)
        asset.resources = [self.keys.next(self.resource_ent) for _ in range(3 if asset.edited else 2)]
        if asset.edited and self.adjustment_ent:
            asset.adjustment = self.keys.next(self.adjustment_ent)

    def session(self, pk, uuid, assets, when):
        self.albums.add(Z_PK=pk, Z_ENT=self.session_ent, Z_OPT=1, ZKIND=IMPORT_SESSION_KIND, ZUUID=uuid,
                        ZIMPORTSESSIONID=uuid, ZCREATIONDATE=when, ZSTARTDATE=min(a.created for a in assets),
                        ZENDDATE=max(a.created for a in assets), ZCACHEDCOUNT=len(assets),
                        ZCACHEDPHOTOSCOUNT=len(assets), ZCACHEDVIDEOSCOUNT=0, ZTRASHEDSTATE=0,
                        ZIMPORTEDBYBUNDLEIDENTIFIER="com.apple.Photos")

    def asset_rows(self, a):
        subject = a.subject
        shown, stored = subject.shown, subject.stored
        unix = a.created + CORE_DATA_EPOCH
        local = datetime.datetime.fromtimestamp(unix + a.offset, datetime.timezone.utc)
        lat, lon = a.location if a.location else (-180.0, -180.0)
        visibility = 2 if a.pick == 2 else 0
        self.attributes.add(**{
            "Z_PK": a.aa, "Z_ENT": self.attribute_ent, "Z_OPT": a.aa_opt, "ZASSET": a.pk,
            "ZTIMEZONEOFFSET": a.offset, "ZINFERREDTIMEZONEOFFSET": a.offset, "ZTIMEZONENAME": a.zone,
            "ZEXIFTIMESTAMPSTRING": local.strftime("%Y:%m:%d %H:%M:%S"),
            "ZORIGINALFILENAME": "IMG_%04d.JPG" % (a.number % 10000), "ZORIGINALFILESIZE": subject.sizes["original"],
            "ZORIGINALWIDTH": stored[0], "ZORIGINALHEIGHT": stored[1], "ZORIGINALORIENTATION": subject.orientation,
            "ZTITLE": a.title, "ZIMPORTEDBYBUNDLEIDENTIFIER": "com.apple.Photos", "ZIMPORTEDBY": 5,
            "ZALLOWEDFORANALYSIS": 1, "ZPUBLICGLOBALUUID": new_uuid(self.rng),
            self.fingerprint_column or "ZMASTERFINGERPRINT": "A%027x" % (hash(a.uuid) & ((1 << 108) - 1)),
            "ZREVERSELOCATIONDATA": (self.template.places[a.number % len(self.template.places)]
                                     if a.location and self.template.places else None),
            "ZREVERSELOCATIONDATAISVALID": 1, "ZSHIFTEDLOCATIONISVALID": 1,
            "ZGPSHORIZONTALACCURACY": 5.0 if a.location else -1.0, "ZALTERNATEIMPORTIMAGEDATE": int(a.added),
            "ZCLOUDAVALANCHEPICKTYPE": a.pick, "ZCAMERACAPTUREDEVICE": 0, "ZIMPORTSESSIONID": a.session[1],
            "ZUNMANAGEDADJUSTMENT": a.adjustment, "ZEDITORBUNDLEID": "com.apple.Photos" if a.edited else None})
        if a.ea:
            make, model, lens, aperture, focal = CAMERAS[a.number % len(CAMERAS)]
            self.extended.add(Z_PK=a.ea, Z_ENT=self.extended_ent, Z_OPT=1, ZASSET=a.pk, ZCAMERAMAKE=make,
                              ZCAMERAMODEL=model, ZLENSMODEL=lens, ZAPERTURE=aperture, ZFOCALLENGTH=focal,
                              ZISO=25 * (1 + a.number % 16), ZSHUTTERSPEED=1.0 / (60 + a.number % 900),
                              ZFLASHFIRED=0, ZMETERINGMODE=5, ZWHITEBALANCE=0, ZEXPOSUREBIAS=0.0)
        location_data = struct.pack("<8d", lat, lon, 30.0, 5.0, 3.0, -1.0, -1.0, a.created) if a.location else None
        self.assets.add(**{
            "Z_PK": a.pk, "Z_ENT": self.asset_ent, "Z_OPT": a.opt, "ZUUID": a.uuid, "ZDIRECTORY": a.uuid[0],
            "ZFILENAME": a.uuid + ".jpeg", "ZUNIFORMTYPEIDENTIFIER": "public.jpeg",
            "ZORIGINALCOLORSPACE": "sRGB IEC61966-2.1", "ZKIND": 0, "ZKINDSUBTYPE": 0, "ZWIDTH": shown[0],
            "ZHEIGHT": shown[1], "ZORIENTATION": subject.orientation, "ZFAVORITE": int(a.favorite),
            "ZHIDDEN": int(a.hidden), "ZTRASHEDSTATE": int(a.trashed), "ZTRASHEDDATE": a.flag_time if a.trashed else None,
            "ZVISIBILITYSTATE": visibility, "ZAVALANCHEUUID": a.burst, "ZAVALANCHEPICKTYPE": a.pick,
            "ZDATECREATED": a.created, "ZSORTTOKEN": a.created, "ZADDEDDATE": a.added,
            "ZMODIFICATIONDATE": max(a.added, a.flag_time or 0, a.edit_time or 0), "ZLATITUDE": lat, "ZLONGITUDE": lon,
            "ZLOCATIONDATA": location_data, self.adjusted_column or "ZHASADJUSTMENTS": int(a.edited),
            "ZADJUSTMENTTIMESTAMP": a.edit_time, "ZADDITIONALATTRIBUTES": a.aa, "ZEXTENDEDATTRIBUTES": a.ea,
            "ZIMPORTSESSION": a.session[0], "ZCOMPLETE": 1, "ZPLAYBACKSTYLE": 1, "ZSAVEDASSETTYPE": 3,
            "ZTHUMBNAILINDEX": a.pk - 1, "ZDERIVEDCAMERACAPTUREDEVICE": 0, "ZDURATION": 0.0,
            "ZCURATIONSCORE": 0.5, "ZOVERALLAESTHETICSCORE": 0.5, "ZPROMOTIONSCORE": 0.0})
        preview = subject.preview_size
        resources = [(0, 1, 0, subject.sizes["original"], stored, subject.orientation),
                     (3, 0, PREVIEW_RECIPE, subject.sizes["edited-preview" if a.edited else "preview"], preview, 1)]
        if a.edited:
            resources.append((2, 2, RENDER_RECIPE, subject.sizes["render"], shown, 1))
        for pk, (version, subtype, recipe, length, size, orientation) in zip(a.resources, resources):
            key, quality = self.template.resource_keys.get((version, subtype), (None, None))
            self.resources.add(Z_PK=pk, Z_ENT=self.resource_ent, Z_OPT=1, ZASSET=a.pk, ZRESOURCETYPE=0,
                               ZVERSION=version, ZDATASTORESUBTYPE=subtype, ZRECIPEID=recipe, ZDATALENGTH=length,
                               ZUNORIENTEDWIDTH=size[0], ZUNORIENTEDHEIGHT=size[1], ZORIENTATION=orientation,
                               ZCOMPACTUTI="1", ZUNIFORMTYPEIDENTIFIER=self.jpeg_uti, ZDATASTOREKEYDATA=key,
                               ZQUALITYSORTVALUE=quality, ZLOCALAVAILABILITY=1, ZREMOTEAVAILABILITY=0, ZFILEID=-1,
                               ZUTICONFORMANCEHINT=1, ZDATASTORECLASSID=0, ZTRASHEDSTATE=0)
        if a.adjustment:
            self.adjustments.add(Z_PK=a.adjustment, Z_ENT=self.adjustment_ent, Z_OPT=1, ZASSETATTRIBUTES=a.aa,
                                 ZADJUSTMENTTIMESTAMP=a.edit_time, ZADJUSTMENTFORMATIDENTIFIER="com.apple.photo",
                                 ZADJUSTMENTFORMATVERSION="1.5", ZEDITORLOCALIZEDNAME="com.apple.Photos",
                                 ZADJUSTMENTBASEIMAGEFORMAT=0, ZADJUSTMENTRENDERTYPES=0, ZUUID=new_uuid(self.rng))

    def record_import(self, assets, session_pk, when):
        h = self.history
        h.begin(self.db, when, "import")
        h.record(h.INSERT, self.session_ent, session_pk)
        for a in assets:
            h.record(h.INSERT, self.attribute_ent, a.aa)
            if a.ea:
                h.record(h.INSERT, self.extended_ent, a.ea)
            h.record(h.INSERT, self.asset_ent, a.pk)
            for pk in a.resources[:2]:
                h.record(h.INSERT, self.resource_ent, pk)

    def record_edit(self, a):
        h = self.history
        h.begin(self.db, a.edit_time, "edit")
        h.record(h.INSERT, self.resource_ent, a.resources[2])
        if a.adjustment:
            h.record(h.INSERT, self.adjustment_ent, a.adjustment)
        h.record(h.UPDATE, self.attribute_ent, a.aa)
        h.record(h.UPDATE, self.asset_ent, a.pk)
        a.opt += 1
        a.aa_opt += 1

    def record_flag(self, a):
        h = self.history
        h.begin(self.db, a.flag_time, "library edit")
        h.record(h.UPDATE, self.asset_ent, a.pk)
        a.opt += 1

    def write(self):
        # Attributes before the photos that point at them: Photos' triggers look the photo up by them.
        for rows in (self.attributes, self.extended, self.assets, self.resources, self.adjustments, self.albums):
            rows.write(self.db)
        if self.members:
            table, owner, member, order = self.schema.album_assets
            self.db.executemany("INSERT INTO %s (%s, %s, %s) VALUES (?, ?, ?)" % (quote(table), owner, member, order),
                                self.members)
        if self.list_members:
            table, owner, member, order = self.schema.album_lists
            self.db.executemany("INSERT INTO %s (%s, %s, %s) VALUES (?, ?, ?)" % (quote(table), owner, member, order),
                                self.list_members)
        self.history.write(self.db)


def core_data_time(year, month=1, day=1):
    return datetime.datetime(year, month, day, tzinfo=datetime.timezone.utc).timestamp() - CORE_DATA_EPOCH


def plan_assets(rng, count, subjects, first_year, last_year):
    """Photos in the order Photos imported them, with their import sessions."""
    start, end = core_data_time(first_year), core_data_time(last_year + 1)
    edited_subjects = [s for s in subjects if s.edited]
    assets = []
    taken = sorted(rng.uniform(start, end) for _ in range(count))
    place = 0
    i = 0
    while i < count:
        # An outing: some photos in one place, a few taken in a burst.
        if rng.random() < 0.3:
            place = rng.choices(range(len(PLACES)), PLACE_WEIGHTS)[0]
        for _ in range(rng.randint(5, 120)):
            if i >= count:
                break
            frames = rng.randint(3, 6) if rng.random() < 0.02 else 1
            burst = new_uuid(rng) if frames > 1 else None
            pick = rng.randrange(frames)
            for frame in range(min(frames, count - i)):
                a = Asset()
                a.number = i
                a.uuid = new_uuid(rng)
                a.created = round(taken[i] if frame == 0 else assets[-1].created + 0.1, 3)
                zone, lat, lon = PLACES[place]
                a.place = place
                a.offset = utc_offset(zone, a.created + CORE_DATA_EPOCH)
                a.zone = zone if rng.random() < 0.6 else gmt_name(a.offset)
                if rng.random() < 0.7:
                    a.location = (round(lat + rng.uniform(-0.2, 0.2), 8), round(lon + rng.uniform(-0.2, 0.2), 8))
                a.burst = burst
                if burst:
                    a.pick = 20 if frame == pick else 2
                a.edited = not burst and rng.random() < 0.03 and bool(edited_subjects)
                a.subject = rng.choice(edited_subjects if a.edited else subjects)
                if rng.random() < 0.04:
                    a.title = rng.choice(THEMES) + (" %d" % rng.randint(1, 99) if rng.random() < 0.5 else "")
                assets.append(a)
                i += 1
    # Most are imported soon after they were taken; old scans and shared photos much later.
    late = [rng.random() < 0.05 for _ in assets]
    kept_back = [a for a, later in zip(assets, late) if later]
    rng.shuffle(kept_back)
    order = [a for a, later in zip(assets, late) if not later] + kept_back
    sessions = []
    clock = start
    i = 0
    while i < len(order):
        batch = order[i:i + rng.randint(20, 800)]
        i += len(batch)
        clock = max(clock, max(a.created for a in batch)) + rng.uniform(600, 30 * 86400)
        clock = min(clock, end + 86400 * 30)
        for n, a in enumerate(batch):
            a.added = round(clock + n * 0.01, 6)
        sessions.append((batch, clock))
    for a in order:
        roll = rng.random()
        if roll < 0.05:
            a.favorite = True
        elif roll < 0.06:
            a.hidden = True
        elif roll < 0.07:
            a.trashed = True
        if a.favorite or a.hidden or a.trashed:
            a.flag_time = a.added + rng.uniform(3600, 200 * 86400)
        if a.edited:
            a.edit_time = a.added + rng.uniform(60, 100 * 86400)
    return sessions


def visible(a):
    return not a.hidden and not a.trashed and a.pick != 2


class Collection:
    __slots__ = ("pk", "uuid", "folder", "title", "parent", "children", "members", "sort_key", "ascending", "trashed",
                 "time", "depth")

    def __init__(self, folder, title, parent, depth):
        self.pk = None
        self.folder, self.title, self.parent, self.depth = folder, title, parent, depth
        self.children, self.members = [], []
        self.sort_key, self.ascending, self.trashed, self.time = 0, 1, False, 0.0


def plan_collections(rng, assets, albums, folders, mean_size):
    """Folders nested up to four deep and albums in them, with their photos."""
    tree = []
    for n in range(folders):
        parents = [f for f in tree if f.depth < 4]
        parent = rng.choice(parents) if parents and rng.random() < 0.5 else None
        title = rng.choice(FOLDER_NAMES) if rng.random() < 0.7 else str(rng.randint(2005, 2024))
        tree.append(Collection(True, title, parent, parent.depth + 1 if parent else 1))
    made = []
    by_date = sorted(assets, key=lambda a: a.created)
    for n in range(albums):
        parent = rng.choice(tree) if tree and rng.random() < 0.7 else None
        album = Collection(False, "", parent, parent.depth + 1 if parent else 1)
        size = 0 if rng.random() < 0.03 or not assets else min(len(assets), 1 + int(rng.expovariate(1.0 / mean_size)))
        if rng.random() < 0.7 and size:
            first = rng.randrange(len(by_date))
            picked = by_date[first:first + size]
            year = datetime.datetime.fromtimestamp(picked[0].created + CORE_DATA_EPOCH, datetime.timezone.utc).year
            album.title = "%s %d" % (CITY_NAMES[picked[0].place], year)
        else:
            picked = rng.sample(assets, size)
            album.title = rng.choice(THEMES) + (" %d" % (n + 1) if rng.random() < 0.5 else "")
        album.members = picked
        album.sort_key = 0 if rng.random() < 0.25 else (5 if rng.random() < 0.05 else 1)
        album.ascending = 0 if rng.random() < 0.2 else 1
        album.trashed = n % 97 == 50
        made.append(album)
    for c in tree + made:
        if c.parent:
            c.parent.children.append(c)
    return tree, made


def time_collections(rng, tree, albums, first_time, last_time):
    """When each album was made (after the photos in it were imported) and each folder (before what it holds)."""
    for album in albums:
        base = max(a.added for a in album.members) if album.members else rng.uniform(first_time, last_time)
        album.time = base + rng.uniform(3600, 30 * 86400)
    for folder in sorted(tree, key=lambda f: -f.depth):
        times = [c.time for c in folder.children]
        folder.time = min(times) - 60 if times else rng.uniform(first_time, last_time)


class Tree:
    """Albums and folders as saves of their own: the new one, its parent folder, the album list, its photos."""

    def __init__(self, writer, root_pk, list_pk):
        self.writer, self.root_pk, self.list_pk = writer, root_pk, list_pk
        self.updates = {}
        self.made = []

    def record(self, c, rng):
        w = self.writer
        h = w.history
        ent = w.folder_ent if c.folder else w.album_ent
        c.pk = w.keys.next(ent)
        c.uuid = new_uuid(rng)
        h.begin(w.db, c.time, "library edit")
        h.record(h.INSERT, ent, c.pk)
        parent = c.parent.pk if c.parent else self.root_pk
        h.record(h.UPDATE, w.folder_ent, parent)
        self.updates[parent] = self.updates.get(parent, 0) + 1
        if self.list_pk is not None:
            h.record(h.UPDATE, w.schema.ent("AlbumList"), self.list_pk)
        for a in c.members:
            h.record(h.UPDATE, w.asset_ent, a.pk)
            a.opt += 1
        self.made.append(c)

    def record_trash(self, album):
        h = self.writer.history
        h.begin(self.writer.db, album.time + 86400, "library edit")
        h.record(h.UPDATE, self.writer.album_ent, album.pk)

    def rows(self, rng, tree, albums, root_base, list_base):
        w = self.writer
        # Siblings in Photos' order, which is not the order they were made in.
        for parent in [None] + tree:
            children = [c for c in tree + albums if c.parent is parent]
            rng.shuffle(children)
            base = root_base if parent is None else 2048
            for n, c in enumerate(children):
                shown = [a for a in c.members if visible(a)]
                created = [a.created for a in c.members]
                w.albums.add(
                    Z_PK=c.pk, Z_ENT=w.folder_ent if c.folder else w.album_ent,
                    Z_OPT=1 + self.updates.get(c.pk, 0) + int(c.trashed), ZKIND=FOLDER_KIND if c.folder else ALBUM_KIND,
                    ZTITLE=c.title, ZUUID=c.uuid, ZPARENTFOLDER=parent.pk if parent else self.root_pk,
                    Z_FOK_PARENTFOLDER=base + 1024 * n, ZCUSTOMSORTKEY=c.sort_key if not c.folder else 0,
                    ZCUSTOMSORTASCENDING=c.ascending, ZTRASHEDSTATE=int(c.trashed),
                    ZTRASHEDDATE=c.time + 86400 if c.trashed else None, ZCREATIONDATE=c.time,
                    ZSTARTDATE=min(created) if created else None, ZENDDATE=max(created) if created else None,
                    ZCACHEDCOUNT=len(shown), ZCACHEDPHOTOSCOUNT=len(shown), ZCACHEDVIDEOSCOUNT=0,
                    ZKEYASSET=min(shown, key=lambda a: a.created).pk if shown else None)
        for c in albums:
            order = list(c.members)
            rng.shuffle(order)
            w.members.extend((c.pk, a.pk, 2048 + 1024 * n) for n, a in enumerate(order))
        if self.list_pk is not None:
            w.list_members.extend((c.pk, self.list_pk, list_base + 1024 * n) for n, c in enumerate(self.made))
        w.db.execute("UPDATE ZGENERICALBUM SET Z_OPT = Z_OPT + ? WHERE Z_PK = ?",
                     (self.updates.get(self.root_pk, 0), self.root_pk))
        if self.list_pk is not None:
            w.db.execute("UPDATE ZALBUMLIST SET Z_OPT = coalesce(Z_OPT, 0) + ? WHERE Z_PK = ?",
                         (len(self.made), self.list_pk))


def link_files(package, a, plist_time=None):
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
            a.zone = zone
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
    finally:
        reader.close()
    pool = None
    if subject is None:
        pool = tempfile.mkdtemp(prefix=".pictures-", dir=package)
        subject = pictures.make_pool(pool, 1, (1600, 1200))[0]
    try:
        when = time.time() - CORE_DATA_EPOCH
        assets, committed = add_assets(package, 1, [subject], rng, when)
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
        template = Template(sqlite3.connect(template_path))
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
        schema = Schema(db)
        keys = Keys(schema, schema.max_pks(with_z_max=False))
        template.schema = schema
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

        make_folders(partial)
        for a in assets:
            link_files(partial, a)
        if tail:
            add_assets(partial, tail, [s for s in subjects if not s.edited] or subjects, rng, history_end + 86400)
        shutil.rmtree(pool)
        for name in pictures_files_of(template_package):
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


def pictures_files_of(package):
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
    parser.add_argument("--add-one", metavar="DIR", help="add one photo to the library DIR as Photos would")
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
