#!/bin/sh
# A screenshot is a new file: never written through a link, over a file or into a pipe.
program=$1
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
mkdir "$d/out"
printf keep > "$d/target"
ln -s ../target "$d/out/link.png"
printf old > "$d/out/old.png"
mkfifo "$d/out/pipe.png"
for name in link.png old.png pipe.png; do
    "$program" browse --size 300x300 --screenshot "$d/out/$name" 2> "$d/err" && { echo "$name written"; exit 1; }
    grep -q "exists" "$d/err" || { cat "$d/err"; exit 1; }
done
test "$(cat "$d/target")" = keep && test "$(cat "$d/out/old.png")" = old || exit 1
"$program" browse --size 300x300 --screenshot "$d/out/new.png" | grep -q saved \
    && head -c 4 "$d/out/new.png" | grep -q PNG || exit 1
# A dialog over the window: one of the three there are, and only for a screenshot.
"$program" browse --size 300x300 --dialog nosuch --screenshot "$d/out/odd.png" 2> /dev/null && exit 1
"$program" browse --size 300x300 --dialog about 2> /dev/null && exit 1
test ! -e "$d/out/odd.png" || exit 1
"$program" browse --size 500x400 --dialog about --screenshot "$d/out/about.png" | grep -q saved \
    && head -c 4 "$d/out/about.png" | grep -q PNG
