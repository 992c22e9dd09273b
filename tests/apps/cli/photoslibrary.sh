#!/bin/sh
# A real Photos library through the host program: its tree in Photos' order, the current versions
# exported as they are stored, thumbnails, the pseudo paths of its assets, a drop of one of them, and
# the default library in ~/Pictures; not a byte of the library changes and no file appears in it.
program=$1
library=$2
if [ ! -d "$library" ]; then
    echo "no ../shared/photos-libraries beside the checkout: test of a real library skipped"
    exit 77
fi
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
run() { "$program" --language en --os macos:13.0 "$@"; }
print() { (cd "$library" && find . | LC_ALL=C sort && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 sha1sum); }
before=$(print)

expected='  All Photos  [5 photos]
  Favorites  [2 photos]
  Years  [5 photos]
    2020  [5 photos]
  Empty Album  [0 photos]
  Farmers Market  [1 photo]
  Travel  [2 photos]
    San Juan Capistrano  [2 photos]
  Folder1  [0 photos]
    SubFolder1  [0 photos]'
tree=$(run --photos-library "$library" tree --source photokit) || exit 1
[ "$(echo "$tree" | tail -n +2)" = "$expected" ] || { echo "$tree"; exit 1; }

run --photos-library "$library" export --source photokit --album "All Photos" --size full --format original \
    --out "$d/original" | grep -q 'wrote 5 of 5' || exit 1
cmp "$d/original/IMG_2510.JPG" "$library/originals/B/B6DB996D-8A0A-4983-AFBD-D206B7D38A23.jpeg" || exit 1
# The edited photo's current version is its edit.
cmp "$d/original/IMG_0096.jpeg" "$library/resources/renders/3/3A71DE26-EDEF-41D3-86C1-E8328DFC9FA0_1_201_a.jpeg" || exit 1
run --photos-library "$library" export --source photokit --album "San Juan Capistrano" --size 256 --format jpeg \
    --out "$d/small" | grep -q 'wrote 2 of 2' || exit 1

listing=$(run --photos-library "$library" ls photokitfs:) || exit 1
echo "$listing" | grep -q '^5 entries$' || { echo "$listing"; exit 1; }
echo "$listing" | grep -q 'photokit:foto#F8EFA39F-7D26-4DC2-82FE-CC9357F19F00_2FL0_2F001\.jpeg$' || { echo "$listing"; exit 1; }

cat > "$d/drop.plist" <<'PLIST'
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>localIdentifier</key><string>F8EFA39F-7D26-4DC2-82FE-CC9357F19F00/L0/001</string>
<key>mediaType</key><integer>1</integer></dict></plist>
PLIST
run --photos-library "$library" paste "$d/drop.plist" | grep -Eq '^  2020-08-12T154332.jpg  2020-08-12T15:43:32(\.[0-9]+)?-07:00$' || exit 1

# Without --photos-library: the user's own library.
mkdir -p "$d/home/Pictures" && ln -s "$library" "$d/home/Pictures/Photos Library.photoslibrary"
[ "$(HOME=$d/home run tree --source photokit | tail -n +2)" = "$expected" ] || exit 1
# A folder that is no library is refused with one line.
mkdir "$d/none.photoslibrary"
run --photos-library "$d/none.photoslibrary" tree --source photokit 2> "$d/err" && exit 1
[ "$(wc -l < "$d/err")" -eq 1 ] && grep -q 'no database/Photos.sqlite' "$d/err" || { cat "$d/err"; exit 1; }

# On a read-only mount the library is read where it lies, without a private copy (where this
# machine lets a private mount namespace be made).
mkdir "$d/mount" "$d/tmp"
if unshare -m true 2>/dev/null; then
    inplace=$(TMPDIR="$d/tmp" unshare -m sh -c 'mount --bind -o ro "$1" "$2" && shift 2 && "$@"' sh "$library" "$d/mount" \
        "$program" --language en --os macos:13.0 --photos-library "$d/mount" tree --source photokit) || exit 1
    [ "$(echo "$inplace" | tail -n +2)" = "$expected" ] || { echo "$inplace"; exit 1; }
    ls "$d/tmp" | grep -q orv-photoslibrary && { echo "copied although read-only"; exit 1; }
fi

[ "$(print)" = "$before" ] || { echo "the library changed"; exit 1; }
