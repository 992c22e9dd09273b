"""What a generated Photos library holds, planned before it becomes rows: photos taken over the
years in places with their time zones, imported in sessions, some marked, hidden, trashed or
edited later; bursts; folders nested up to four deep and albums with their photos.
"""

import datetime

CORE_DATA_EPOCH = 978307200
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

try:
    import zoneinfo
    zoneinfo.ZoneInfo("Europe/Berlin")
except Exception:  # no tz database: fixed offsets and GMT names only
    zoneinfo = None


def new_uuid(rng):
    value = "%032X" % rng.getrandbits(128)
    return "%s-%s-4%s-%s-%s" % (value[:8], value[8:12], value[13:16], "89AB"[int(value[16], 16) % 4] + value[17:20],
                                value[20:32])


def gmt_name(offset):
    if offset == 0:
        return "GMT"
    sign = "+" if offset > 0 else "-"
    return "GMT%s%02d%02d" % (sign, abs(offset) // 3600, abs(offset) % 3600 // 60)


def zone_name(zone, offset, named=True):
    """The zone as Photos names it: by its IANA name, or as GMT-0700 (always, without a tz database)."""
    return zone if named and zoneinfo else gmt_name(offset)


def utc_offset(zone, unix):
    if zoneinfo is None:
        return {"Europe/Berlin": 3600, "Europe/London": 0, "America/Los_Angeles": -28800, "America/New_York": -18000,
                "Asia/Tokyo": 32400, "Asia/Kolkata": 19800, "Asia/Kathmandu": 20700, "Australia/Adelaide": 34200,
                "Pacific/Auckland": 43200, "America/Sao_Paulo": -10800}.get(zone, 0)
    return int(datetime.datetime.fromtimestamp(unix, zoneinfo.ZoneInfo(zone)).utcoffset().total_seconds())


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
                a.zone = zone_name(zone, a.offset, rng.random() < 0.6)
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
