#!/bin/sh
# Photos named as no file system takes them (too long in bytes, a NUL) export,
# twice into one folder: the second run numbers them, and both end.
program=$1
library=$2
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
for run in first second; do
    "$program" --os macos:14.0 --photos-library "$library" export --source photokit --album 'All Photos' \
        --size full --format original --out "$d" | grep -q 'wrote 4 of 4' || { echo "$run run failed"; exit 1; }
done
names=$(ls -A "$d")
echo "$names" | LC_ALL=C awk 'length($0) > 255 { exit 1 }' || { echo "a name is too long"; exit 1; }
test "$(echo "$names" | wc -l)" -eq 8 || exit 1
echo "$names" | grep -q '^c*-2\.JPG$' && echo "$names" | grep -q '^IMG_0009-2\.JPG$'
