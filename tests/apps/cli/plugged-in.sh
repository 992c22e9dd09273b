#!/bin/sh
# Plugging in a camera: the desktop runs the installed desktop file's Exec line
# with the mounted card's URL, and the browser opens on that card's album.
# Then simulated devices: the first camera, or the one --album names.
program=$1 source=$2 gphoto2=$3
desktop=$source/apps/orv-photos/orv-photos.desktop
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
# What autostart points the desktop at is this very file.
cmp "$desktop" "$source/tests/data/xdg/applications/orv-photos.desktop" || exit 1
grep -qx 'Terminal=false' "$desktop" && grep -qx 'MimeType=x-content/image-dcf;' "$desktop" || exit 1
line=$(sed -n 's/^Exec=orv-photos //p' "$desktop")
case $line in *%u*) ;; *) echo "no %u in: $line"; exit 1 ;; esac
if [ "$gphoto2" = ON ]; then
    mkdir -p "$d/card/DCIM/100TEST"
    cp "$source"/samples/photos/images/IMG_000[1-4].jpg "$d/card/DCIM/100TEST/"
    # shellcheck disable=SC2086
    set -- $(printf '%s\n' "$line" | sed "s|%u|file://$d/card|")
    "$program" --language en "$@" --size 600x400 --screenshot "$d/card.png" > "$d/out" 2> "$d/err" || { cat "$d/out" "$d/err"; exit 1; }
    grep -qx 'showing Directory Browse' "$d/out" && grep -q saved "$d/out" && head -c 4 "$d/card.png" | grep -q PNG \
        || { cat "$d/out" "$d/err"; exit 1; }
    # The card is only read.
    test "$(ls "$d/card/DCIM/100TEST" | wc -l)" = 4 || exit 1
fi
devices=$source/samples/devices/devices.json
"$program" --language en --devices "$devices" browse --plugged-in --size 600x400 --screenshot "$d/first.png" > "$d/out" \
    && grep -qx 'showing iPhone' "$d/out" || { cat "$d/out"; exit 1; }
"$program" --language en --devices "$devices" browse --plugged-in --album "EOS 5D" --size 600x400 --screenshot "$d/named.png" > "$d/out" \
    && grep -qx 'showing EOS 5D' "$d/out" || { cat "$d/out"; exit 1; }
# A place without the option, or the option beside another source, is a mistake.
"$program" browse "$d" 2> /dev/null && exit 1
"$program" browse --plugged-in --source iphoto 2> /dev/null && exit 1
exit 0
