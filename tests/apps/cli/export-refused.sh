#!/bin/sh
# Exporting into a folder the user may not write into says why, once, and writes nothing.
# As root the program runs as another user, whom the permission bits hold.
program=$1
library=$2
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
mkdir "$d/readonly"
chmod 755 "$d"
chmod 555 "$d/readonly"
run=
if [ "$(id -u)" -eq 0 ]; then
    run="setpriv --reuid=65534 --regid=65534 --clear-groups"
fi
$run "$program" --os macos:14.0 --photos-library "$library" export --source photokit --album 'All Photos' \
    --size full --format original --out "$d/readonly" 2> "$d/err"
status=$?
cat "$d/err"
test "$status" -eq 2 && test "$(grep -c 'Permission denied' "$d/err")" -eq 1 && ! grep -q 'nothing for' "$d/err" \
    && test -z "$(ls -A "$d/readonly")"
