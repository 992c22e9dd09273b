#!/bin/sh
# The program's German catalogue has every text of the program's own sources
# (the browser's have catalogues of their own): lupdate finds none unfinished.
lupdate=$1
root=$2
. "$(dirname "$0")/lib.sh"
cp "$root/translations/orv-photos_de.ts" "$tmp/catalogue.ts"
"$lupdate" -silent -no-obsolete -locations none "$root"/apps/orv-photos/*.h "$root"/apps/orv-photos/*.cpp \
    -ts "$tmp/catalogue.ts" || failed "lupdate"
if grep -q 'type="unfinished"' "$tmp/catalogue.ts"; then
    grep -B1 'type="unfinished"' "$tmp/catalogue.ts" | sed -n 's/.*<source>\(.*\)<\/source>.*/untranslated: \1/p'
    failed "texts without a German translation (translations/orv-photos_de.ts)"
fi
finish
