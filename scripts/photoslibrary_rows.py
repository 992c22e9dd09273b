"""A generated library's plan as rows of the template's tables: its structure and Photos' own
rows first, then photos (with their attributes, resources and edits), albums and folders, and
the change history, in the columns the template has.
"""

import base64
import datetime
import hashlib
import sqlite3
import struct

from photoslibrary_plan import CORE_DATA_EPOCH, new_uuid, visible
from photoslibrary_schema import (ALBUM_KIND, FOLDER_KIND, IMPORT_SESSION_KIND, USER_KINDS, History, Rows, Schema,
                                  quote)

# Tables whose template rows stay: the store's metadata and Photos' own singletons and containers.
KEPT_TABLES = ("Z_PRIMARYKEY", "Z_METADATA", "Z_MODELCACHE", "ZGLOBALKEYVALUE", "ZMIGRATIONHISTORY", "ZALBUMLIST",
               "ZUNIFORMTYPEIDENTIFIER", "ZGENERICALBUM")
PREVIEW_RECIPE, RENDER_RECIPE = 65747, 65938
CAMERAS = [("Apple", "iPhone 12", "iPhone 12 back camera 4.2mm f/1.6", 1.6, 4.2),
           ("Apple", "iPhone 8", "iPhone 8 back camera 3.99mm f/1.8", 1.8, 3.99),
           ("Canon", "Canon EOS 80D", "EF-S18-135mm f/3.5-5.6 IS USM", 5.6, 35.0)]


def fingerprint(uuid):
    """Something of the form of Photos' fingerprints of a file (base64 of 21 bytes), the same for the same photo."""
    return base64.b64encode(b"\x01" + hashlib.sha1(uuid.encode()).digest()).decode()


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
                    " GROUP BY ZVERSION, ZDATASTORESUBTYPE"
                    % ("ZQUALITYSORTVALUE" if s.has("ZINTERNALRESOURCE", "ZQUALITYSORTVALUE") else "NULL")):
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
        has_extended = self.extended_ent and "ZEXTENDEDATTRIBUTES" in self.schema.columns
        asset.ea = self.keys.next(self.extended_ent) if has_extended else None
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
            self.fingerprint_column or "ZMASTERFINGERPRINT": fingerprint(a.uuid),
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
