#!/bin/sh
# tree --json in the form the README describes, for every source with photos
# (an iPhoto library with a movie, Aperture, Photos, cameras), with and without
# --images-only: every field there with its type, album type codes from the
# documented list, parents that exist, and albums that list only photos the
# source lists.
program=$1
root=$2
. "$(dirname "$0")/lib.sh"
python3 "$root/scripts/make-samples.py" install "$tmp/samples" > /dev/null || failed "make-samples.py"
for only in '' --images-only; do
    # shellcheck disable=SC2086
    "$program" $only --language en --iphoto-library "$tmp/samples/iphoto" --aperture-library "$tmp/samples/aperture" \
        --os macos:14.0 --photos-library "$root/samples/photos/library.json" \
        --devices "$root/samples/devices/devices.json" tree --json --wait 20 > "$tmp/tree.json" \
        || failed "tree --json $only"
    python3 - "$tmp/tree.json" "$only" << 'PY' || failed "tree --json $only is not as documented"
import json, sys
document = json.load(open(sys.argv[1]))
images_only = sys.argv[2] == "--images-only"
problems = []
codes = {0, 1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096}
fields = {"type": int, "service": str, "name": str, "shown": bool, "albums": list, "fotos": list}
album_fields = {"id": str, "name": str, "type": int, "parent": str, "fotos": list}
foto_fields = {"id": str, "name": str, "taken": str, "rating": int, "faces": list, "file": str}
def check(what, value, wanted):
    if set(value) != set(wanted):
        problems.append("%s has fields %s" % (what, sorted(value)))
    for key, kind in wanted.items():
        if key in value and not isinstance(value[key], kind):
            problems.append("%s: %s is no %s" % (what, key, kind.__name__))
counted = {}
for source in document["sources"]:
    check("source", source, fields)
    service = source["service"]
    ids = [foto["id"] for foto in source["fotos"]]
    if len(ids) != len(set(ids)):
        problems.append("%s lists a photo twice" % service)
    for foto in source["fotos"]:
        check(foto["id"], foto, foto_fields)
        if not foto["id"].startswith(service + ":"):
            problems.append("%s names %s" % (service, foto["id"]))
    albums = {album["id"] for album in source["albums"]}
    for album in source["albums"]:
        check(album["id"], album, album_fields)
        if album["type"] not in codes:
            problems.append("%s: type %d" % (album["id"], album["type"]))
        if album["parent"] and album["parent"] not in albums:
            problems.append("%s: parent %s is no album" % (album["id"], album["parent"]))
        for foto in album["fotos"]:
            if foto not in ids:
                problems.append("%s lists %s, which %s does not" % (album["id"], foto, service))
    counted[service] = len(ids)
# The sample libraries as they are: the movie of iPhoto's library is never a photo.
# --images-only leaves movies out, and nothing else.
for service, count in (("iphoto", 6), ("aperture", 3), ("photokit", 8), ("appleimagecapture", 13)):
    if counted.get(service) is None or counted[service] > count or (not images_only and counted[service] != count):
        problems.append("%s: %s photos, expected %d" % (service, counted.get(service), count))
mentioned = json.dumps(document)
if "iphoto:foto#105" in mentioned:
    problems.append("the movie iphoto:foto#105 is named")
for problem in problems:
    print(problem)
sys.exit(1 if problems else 0)
PY
done
finish
