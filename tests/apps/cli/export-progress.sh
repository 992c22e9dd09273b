#!/bin/sh
# export as an import tool: a line per photo when the output is no terminal,
# --skip-existing (a second run writes nothing, no -2), --dry-run (nothing
# written, no folder made), on the Photos sample and, with gphoto2, on a folder
# served as a camera; an interrupted export leaves only whole files.
program=$1
root=$2
gphoto2=$3
. "$(dirname "$0")/lib.sh"
samples=$root/samples/photos/images
photos="--os macos:14.0 --photos-library $root/samples/photos/library.json"

# names DIR: the entries of DIR, hidden ones too, on one line.
names() { ls -A "$1" | tr '\n' ' '; }

# expect WHAT GOT WANTED
expect() {
    [ "$2" = "$3" ] || failed "$1: got [$2], expected [$3]; stdout [$out], stderr [$err]"
}

# export_twice LABEL RENAMED ARGUMENTS...: into a new folder, then again with
# --skip-existing and with --dry-run; both leave the folder as it was. RENAMED
# photos are named by what they hold, which a dry run cannot know.
export_twice() {
    label=$1
    renamed=$2
    shift 2
    o=$tmp/$label
    run "$@" --out "$o"
    expect "$label: status" "$status" 0
    count=$(ls -A "$o" | wc -l | tr -d ' ')
    expect "$label: a line per photo" "$(printf '%s\n' "$out" | grep -c '^wrote .* ([0-9]* of [0-9]*)$')" "$count"
    expect "$label: summary" "$(printf '%s\n' "$out" | tail -n 1 | sed 's/ to .*//')" "wrote $count of $count photos"
    before=$(names "$o")
    run "$@" --out "$o" --skip-existing
    expect "$label: second run" "$status" 0
    expect "$label: second summary" "$(printf '%s\n' "$out" | tail -n 1)" \
        "wrote 0 of $count photos to $o; $count skipped, there already"
    expect "$label: skipped lines" "$(printf '%s\n' "$out" | grep -c '^skipped ')" "$count"
    expect "$label: nothing new" "$(names "$o")" "$before"
    run "$@" --out "$o" --dry-run --skip-existing
    expect "$label: dry run over it" "$(printf '%s\n' "$out" | tail -n 1)" \
        "would write $renamed of $count photos to $o; $((count - renamed)) skipped, there already"
    # Without --skip-existing a run writes each again, beside the first.
    run "$@" --out "$o" --dry-run
    expect "$label: dry run names" "$(printf '%s\n' "$out" | grep -c -- '-2\.')" "$((count - renamed))"
    expect "$label: dry run leaves it" "$(names "$o")" "$before"
    run "$@" --out "$tmp/$label-new/sub" --dry-run
    expect "$label: dry run status" "$status" 0
    expect "$label: dry run lines" "$(printf '%s\n' "$out" | grep -c ' → ')" "$count"
    expect "$label: dry run summary" "$(printf '%s\n' "$out" | tail -n 1 | sed 's/ to .*//')" \
        "would write $count of $count photos"
    [ ! -e "$tmp/$label-new" ] || failed "$label: a dry run made the folder"
}

# shellcheck disable=SC2086
export_twice small 0 $photos export --source photokit --album Bergen --size 16 --format png
# shellcheck disable=SC2086
export_twice originals 1 $photos export --source photokit --album 'All Photos' --size full --format original

# A file of that name but another size is no copy of the photo: written beside it.
o=$tmp/other
mkdir "$o"
printf 'x' > "$o/IMG_0003.JPG"
# shellcheck disable=SC2086
run $photos export --source photokit --album 'All Photos' --size full --format original --out "$o" --skip-existing
printf '%s\n' "$out" | grep -q '^wrote IMG_0003-2.JPG ' || failed "another file of the name: [$out] [$err]"

if [ "$gphoto2" = ON ]; then
    mkdir "$tmp/c"
    cp "$samples/IMG_0001.jpg" "$samples/IMG_0002.jpg" "$samples/IMG_0008.png" "$tmp/c/"
    export_twice camera 0 --camera "Directory Browse=disk:$tmp/c" export --source appleimagecapture \
        --album "Directory Browse" --size full --format original --wait 20

    # Interrupted after its first line: what is there is whole, the summary says it.
    mkdir "$tmp/many"
    for i in $(seq 1 300); do
        cp "$samples/IMG_000$((i % 7 + 1)).jpg" "$tmp/many/P$i.JPG"
    done
    o=$tmp/interrupted
    "$program" --camera "Directory Browse=disk:$tmp/many" export --source appleimagecapture \
        --album "Directory Browse" --size full --format original --wait 20 --out "$o" > "$tmp/int.out" 2> "$tmp/int.err" &
    pid=$!
    tries=0
    while ! grep -q '^wrote ' "$tmp/int.out" 2> /dev/null && [ "$tries" -lt 3000 ]; do
        sleep 0.01
        tries=$((tries + 1))
    done
    kill -INT "$pid"
    wait "$pid"
    status=$?
    out=$(cat "$tmp/int.out")
    err=$(cat "$tmp/int.err")
    count=$(ls -A "$o" | wc -l | tr -d ' ')
    summary=$(tail -n 1 "$tmp/int.out")
    # A machine fast enough to be through first ends as usual.
    if [ "$status" -eq 130 ]; then
        grep -q 'interrupted' "$tmp/int.err" || failed "interrupted: not said [$err]"
        [ "$count" -lt 300 ] || failed "interrupted: all $count written"
    else
        expect "interrupted, done first: status" "$status" 0
    fi
    expect "interrupted: summary" "$summary" "wrote $count of 300 photos to $o"
    for f in $(ls -A "$o"); do
        cmp -s "$o/$f" "$tmp/many/$f" || failed "interrupted: $f is not the camera's file"
    done
fi
finish
