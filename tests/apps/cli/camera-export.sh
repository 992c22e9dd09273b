#!/bin/sh
# A folder served as a camera, with files that are no whole image of the kind their name
# says: exports write the photos (recoded where another kind was asked for) and nothing else.
program=$1
samples=$2
broken=$3
d=$(mktemp -d) || exit 1
trap 'rm -rf "$d"' EXIT
mkdir "$d/c"
cp "$samples/IMG_0001.jpg" "$d/c/GOOD.JPG"
cp "$samples/IMG_0008.png" "$d/c/REAL.PNG"
cp "$samples/IMG_0008.png" "$d/c/LIAR.JPG"
cp "$broken/empty.jpg" "$d/c/ZERO.JPG"
cp "$broken/text.heic" "$d/c/TEXT.JPG"
cp "$broken/cut.jpg" "$d/c/CUT.JPG"
cp "$broken/bomb.png" "$d/c/BOMB.PNG"
before=$(ls -l "$d/c" | md5sum)
run() {
    "$program" --camera "Directory Browse=disk:$d/c" export --source appleimagecapture --album "Directory Browse" \
        --out "$d/$1" --wait 20 --size "$2" --format "$3" 2> "$d/$1.err" | tail -n 1
}
# The kind a file's first bytes show.
kind() {
    case $(od -An -tx1 -N4 "$1" | tr -d ' \n') in
    ffd8ff*) echo jpeg ;;
    89504e47) echo png ;;
    *) echo other ;;
    esac
}
check() {
    if [ "$1" != "$2" ]; then
        echo "$3: got '$1', expected '$2'"
        cat "$d"/*.err
        exit 1
    fi
}
# Originals as they are, named by what they hold, and nothing else left in the folder.
check "$(run original full original)" "wrote 3 of 7 photos to $d/original" original
check "$(ls -A "$d/original" | tr '\n' ' ')" "GOOD.JPG LIAR.png REAL.PNG " "original files"
cmp "$d/original/GOOD.JPG" "$d/c/GOOD.JPG" && cmp "$d/original/REAL.PNG" "$d/c/REAL.PNG" \
    && cmp "$d/original/LIAR.png" "$d/c/LIAR.JPG" || exit 1
check "$(run jpeg full jpeg)" "wrote 3 of 7 photos to $d/jpeg" jpeg
check "$(ls "$d/jpeg" | tr '\n' ' ')" "GOOD.jpg LIAR.jpg REAL.jpg " "jpeg files"
for name in GOOD LIAR REAL; do
    check "$(kind "$d/jpeg/$name.jpg")" jpeg "$name.jpg"
done
check "$(run sized 256 png)" "wrote 3 of 7 photos to $d/sized" sized
check "$(ls "$d/sized" | tr '\n' ' ')" "GOOD.png LIAR.png REAL.png " "sized files"
for name in GOOD LIAR REAL; do
    check "$(kind "$d/sized/$name.png")" png "$name.png"
done
# Each refused photo named once; the camera's folder as it was.
check "$(grep -c 'nothing for' "$d/original.err")" 4 "refusals"
check "$(ls -l "$d/c" | md5sum)" "$before" "camera folder"
# A camera named by hand is the one an export works on: no other is looked for. Without one, cameras are.
"$program" --verbose --camera "Directory Browse=disk:$d/c" export --source appleimagecapture --album "Directory Browse" \
    --out "$d/named" --wait 20 --size full --format original > /dev/null 2> "$d/named.log"
check "$(grep -c 'looking for cameras' "$d/named.log")" 0 "cameras looked for with one named"
check "$(ls -A "$d/named" | tr '\n' ' ')" "GOOD.JPG LIAR.png REAL.PNG " "named camera's files"
"$program" --verbose tree --source appleimagecapture > /dev/null 2> "$d/detected.log"
check "$(grep -c 'looking for cameras' "$d/detected.log")" 1 "cameras looked for without one named"
