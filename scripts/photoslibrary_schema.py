"""What a Photos library's database says about itself, and writing rows into it.

Everything is discovered from the database: tables and columns (PRAGMA
table_info), entity numbers (Z_PRIMARYKEY), the asset table's name and the join
tables of albums, so that any Photos 5 or later library serves as a template.
"""

import collections
import operator
import re
import sqlite3

ALBUM_KIND = 2
FOLDER_KIND = 4000
ROOT_FOLDER_KIND = 3999
IMPORT_SESSION_KIND = 1506
# Kinds that hold what a user made or imported; the rest are Photos' own containers.
USER_KINDS = (ALBUM_KIND, FOLDER_KIND, 1505, IMPORT_SESSION_KIND, 1507, 1508, 1509, 1510)


def quote(name):
    return '"%s"' % name.replace('"', '""')


class Schema:
    def __init__(self, db):
        self.db = db
        self.columns = {}
        for (table,) in db.execute("SELECT name FROM sqlite_master WHERE type='table'").fetchall():
            self.columns[table] = [row[1] for row in db.execute("PRAGMA table_info(%s)" % quote(table))]
        if "Z_PRIMARYKEY" not in self.columns:
            raise ValueError("no Z_PRIMARYKEY table: not a Photos library of version 5 or later")
        self.entities = {}
        self.supers = {}
        for ent, name, super_ent in db.execute("SELECT Z_ENT, Z_NAME, Z_SUPER FROM Z_PRIMARYKEY"):
            self.entities[name] = ent
            self.supers[ent] = super_ent
        self.asset_table = next((t for t in ("ZASSET", "ZGENERICASSET") if t in self.columns), None)
        if self.asset_table is None or "ZGENERICALBUM" not in self.columns:
            raise ValueError("no asset or album table: not a Photos library of version 5 or later")
        self.album_assets = self._join("ASSETS", "ALBUMS")
        self.album_lists = self._join("ALBUMLISTS", "ALBUMS")

    def _join(self, suffix, other):
        """(table, owner column, member column, order column) of a Z_<n><suffix> join table."""
        for table, columns in self.columns.items():
            if not re.fullmatch(r"Z_\d+" + suffix, table):
                continue
            owner = next((c for c in columns if re.fullmatch(r"Z_\d+" + other, c)), None)
            member = next((c for c in columns if re.fullmatch(r"Z_\d+" + suffix, c)), None)
            order = next((c for c in columns if c.startswith("Z_FOK_")), None)
            if owner and member:
                return table, owner, member, order
        return None

    def has(self, table, column):
        return column in self.columns.get(table, ())

    def first_column(self, table, *names):
        return next((name for name in names if self.has(table, name)), None)

    def ent(self, *names):
        for name in names:
            if name in self.entities:
                return self.entities[name]
        raise ValueError("the library has no entity %s" % " or ".join(names))

    def root(self, ent):
        while self.supers.get(ent):
            ent = self.supers[ent]
        return ent

    def zero_columns(self, table):
        """Columns that every row of the table holds 0 in: Photos' defaults for flags and counts."""
        columns = [c for c in self.columns[table] if c not in ("Z_PK", "Z_ENT", "Z_OPT")]
        if not columns or self.db.execute("SELECT count(*) FROM %s" % quote(table)).fetchone()[0] == 0:
            return {}
        sums = ", ".join("sum(%s IS NOT 0)" % quote(c) for c in columns)
        counts = self.db.execute("SELECT %s FROM %s" % (sums, quote(table))).fetchone()
        return {c: 0 for c, n in zip(columns, counts) if n == 0}

    def frequent_masks(self):
        """The changed-columns mask Photos wrote most often for updates of each entity."""
        masks = {}
        if "ACHANGE" not in self.columns:
            return masks
        for entity, mask, _ in self.db.execute(
                "SELECT ZENTITY, ZCOLUMNS, count(*) FROM ACHANGE WHERE ZCHANGETYPE = 1 AND ZCOLUMNS IS NOT NULL"
                " GROUP BY ZENTITY, ZCOLUMNS ORDER BY count(*)"):
            masks[entity] = mask
        return masks

    def max_pks(self, with_z_max=True):
        """The highest Z_PK in use per root entity: what the tables hold, or Z_MAX where that is larger."""
        result = {}
        if with_z_max:
            result = {ent: z_max or 0 for ent, z_max in self.db.execute("SELECT Z_ENT, Z_MAX FROM Z_PRIMARYKEY")}
        for table, columns in self.columns.items():
            if "Z_ENT" not in columns or "Z_PK" not in columns:
                continue
            for ent, top in self.db.execute("SELECT Z_ENT, max(Z_PK) FROM %s GROUP BY Z_ENT" % quote(table)):
                if ent is not None and top is not None:
                    root = self.root(ent)
                    result[root] = max(result.get(root, 0), top)
        return result


class Keys:
    """Z_PK allocation per root entity; Z_MAX is written back at the end."""

    def __init__(self, schema, start):
        self.schema = schema
        self.top = dict(start)
        self.roots = {}

    def next(self, ent):
        root = self.roots.get(ent)
        if root is None:
            root = self.roots[ent] = self.schema.root(ent)
        top = self.top.get(root, 0) + 1
        self.top[root] = top
        return top

    def store(self, db):
        db.executemany("UPDATE Z_PRIMARYKEY SET Z_MAX = ? WHERE Z_ENT = ?",
                       [(top, ent) for ent, top in self.top.items()])


class Rows:
    """Rows of one table collected as dicts and written with executemany, in the table's columns only."""

    def __init__(self, schema, table, defaults):
        self.schema = schema
        self.table = table
        self.defaults = {c: v for c, v in defaults.items() if schema.has(table, c)}
        self.rows = []

    def add(self, **values):
        self.rows.append(values)

    def write(self, db):
        if not self.rows:
            return
        names = set(self.defaults)
        for row in self.rows:
            names.update(row)
        columns = [c for c in self.schema.columns[self.table] if c in names]
        base = {c: None for c in columns}
        base.update(self.defaults)
        pick = operator.itemgetter(*columns)
        values = []
        for row in self.rows:
            full = dict(base)
            full.update(row)
            picked = pick(full)
            values.append(picked if len(columns) > 1 else (picked,))
        db.executemany("INSERT INTO %s (%s) VALUES (%s)" % (quote(self.table), ", ".join(map(quote, columns)),
                                                           ", ".join("?" * len(columns))), values)
        self.rows = []


class History:
    """Core Data's persistent history: one ATRANSACTION per save, one ACHANGE per object it touched."""

    INSERT, UPDATE = 0, 1

    def __init__(self, schema, keys, masks):
        self.schema = schema
        self.keys = keys
        self.masks = masks
        self.enabled = all(t in schema.columns for t in ("ATRANSACTION", "ACHANGE", "ATRANSACTIONSTRING"))
        if self.enabled:
            self.change_ent = schema.ent("CHANGE")
            self.transaction_ent = schema.ent("TRANSACTION")
            self.string_ent = schema.ent("TRANSACTIONSTRING")
        self.transactions = Rows(schema, "ATRANSACTION", {})
        self.changes = []
        self.strings = Rows(schema, "ATRANSACTIONSTRING", {})
        self.string_pks = {}
        self.current = None

    def string(self, db, name):
        if name not in self.string_pks:
            row = db.execute("SELECT Z_PK FROM ATRANSACTIONSTRING WHERE ZNAME = ?", (name,)).fetchone()
            if row:
                self.string_pks[name] = row[0]
            else:
                pk = self.keys.next(self.string_ent)
                self.strings.add(Z_PK=pk, Z_ENT=self.string_ent, ZNAME=name)
                self.string_pks[name] = pk
        return self.string_pks[name]

    def begin(self, db, timestamp, context):
        if not self.enabled:
            return
        self.current = self.keys.next(self.transaction_ent)
        self.transactions.add(Z_PK=self.current, Z_ENT=self.transaction_ent, ZTIMESTAMP=timestamp,
                              ZBUNDLEIDTS=self.string(db, "com.apple.photolibraryd"),
                              ZPROCESSIDTS=self.string(db, "photolibraryd"),
                              ZCONTEXTNAMETS=self.string(db, context))

    def record(self, change_type, ent, pk):
        if self.enabled:
            self.changes.append((change_type, ent, pk, self.current))

    def write(self, db):
        for rows in (self.strings, self.transactions):
            rows.write(db)
        if not self.changes:
            return
        # Numbered here rather than one by one: a library has several changes per photo.
        first = self.keys.top.get(self.change_ent, 0) + 1
        self.keys.top[self.change_ent] = first + len(self.changes) - 1
        masks = self.masks
        db.executemany("INSERT INTO ACHANGE (Z_PK, Z_ENT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID, ZCOLUMNS)"
                       " VALUES (?, %d, ?, ?, ?, ?, ?)" % self.change_ent,
                       [(first + n, kind, ent, pk, transaction, masks.get(ent) if kind == self.UPDATE else None)
                        for n, (kind, ent, pk, transaction) in enumerate(self.changes)])
        self.changes = []


def no_op(*arguments):
    return None


def register_core_data_functions(db):
    """Photos' triggers call functions of Core Data; outside it they do nothing."""
    names = set()
    for (sql,) in db.execute("SELECT sql FROM sqlite_master WHERE type='trigger' AND sql IS NOT NULL"):
        names.update(re.findall(r"\b(NSCoreData\w+)\s*\(", sql))
    for name in names:
        db.create_function(name, -1, no_op)


def schema_rows(db):
    """sqlite_master without its page numbers: what two databases of equal structure share."""
    return collections.Counter(db.execute("SELECT type, name, tbl_name, sql FROM sqlite_master"))


def open_private(path):
    db = sqlite3.connect(path, isolation_level=None)
    register_core_data_functions(db)
    return db
