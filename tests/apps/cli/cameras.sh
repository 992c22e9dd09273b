#!/bin/sh
# orv-photos cameras lists what is connected, as gphoto2 --auto-detect does:
# simulated devices (cameras only, and those plugged in later after --wait)
# and, with libgphoto2, a folder named as a camera. A camera named by hand that
# cannot be used is a mistake: exit code 1 and one line, never "0 photos".
program=$1
root=$2
gphoto2=$3
. "$(dirname "$0")/lib.sh"
devices=$root/samples/devices/devices.json
images=$root/samples/photos/images

works '^Model +Port$' --language en --devices "$devices" cameras
printf '%s\n' "$out" | grep -q '^iPhone  *simulated$' || failed "the iPhone is not listed: $out"
! printf '%s\n' "$out" | grep -q 'Flachbettscanner' || failed "a scanner is listed as a camera: $out"
works '^EOS 5D  *simulated$' --language en --devices "$devices" cameras --wait 2
works '^Modell +Anschluss$' --language de --devices "$devices" cameras
if [ "$gphoto2" != ON ]; then
    echo "built without libgphoto2: cameras named with --camera are not tried"
    finish
fi

works "^Directory Browse +disk:$images\$" --language en --camera "Directory Browse=disk:$images" cameras
# Model and port as gphoto2 takes them: mistakes are said before anything runs, for every command.
for command in cameras tree sources; do
    mistake '^orv-photos: --camera: unknown camera model Directroy Browse; did you mean Directory Browse\?$' \
        --language en --camera "Directroy Browse=disk:$images" "$command"
    mistake "^orv-photos: --camera: Unknown port $images " --language en --camera "Directory Browse=$images" "$command"
done
mistake '^orv-photos: --camera: no camera Directory Browse at disk:/ ' --language en --camera "Directory Browse=disk:/" tree
mistake "^orv-photos: --camera: no camera Directory Browse at disk:$tmp/none " \
    --language en --camera "Directory Browse=disk:$tmp/none" tree
mistake '^orv-photos: --camera: unknown camera model Canon EOS 50X; did you mean Canon EOS 50D' \
    --language en --camera "Canon EOS 50X=usb:" tree
mistake '^orv-photos: --camera: ' --language en --camera "Canon EOS 5D=usb:999,999" export --source appleimagecapture \
    --album x --size 9 --format png --out "$tmp/out"
[ ! -e "$tmp/out" ] || failed "a camera that cannot be used made the output folder"
mistake '^orv-photos: --camera takes MODEL=PORT' --language en --camera "=disk:$images" cameras
# A camera that works still lists its photos.
works 'Directory Browse  \[9 photos\]' --language en --camera "Directory Browse=disk:$images" tree \
    --source appleimagecapture --wait 20
finish
