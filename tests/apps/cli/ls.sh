#!/bin/sh
# Every entry of a folder listed with its kind, names that are no UTF-8 too.
program=$1
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
mkdir "$d/folder"
: > "$d/plain"
chmod 644 "$d/plain"
ln -s plain "$d/link"
mkfifo -m 644 "$d/pipe"
: > "$d/$(printf 'bad\377name')"
listing=$("$program" ls "$d") || exit 1
echo "$listing"
for line in '^drwx  .*  folder$' '^-rw-  .*  plain$' '^lrw-  .*  link$' '^prw-  .*  pipe$' '^-rw-  .*  bad\\xffname$' \
    '^5 entries$'; do
    echo "$listing" | grep -q "$line" || { echo "missing: $line"; exit 1; }
done
"$program" ls /dev | grep -q '^crw-  .*  null$'
