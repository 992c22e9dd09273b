#!/bin/sh
# Every kind of mistake on the command line: one line on standard error that
# names it (with what was probably meant), nothing on standard output, exit
# code 1. What worked before still works: global options before or after the
# command, --name=value, "--" before arguments that look like options, old names.
program=$1
library=$2
. "$(dirname "$0")/lib.sh"
photos="--os macos:14.0 --photos-library $library"

# The command line itself.
mistake '^orv-photos: no command given \(one of sources, tree, export, cameras, ' --language en
mistake '^orv-photos: unknown command exprt; did you mean export\?$' exprt
mistake '^orv-photos: unknown command frobnicate$' frobnicate
mistake '^orv-photos tree: unknown option --sorce; did you mean --source\?$' tree --sorce photokit
mistake '^orv-photos: unknown option --verbos; did you mean --verbose\?$' --verbos tree
mistake '^orv-photos tree: unknown option --langauge; did you mean --language\?$' tree --langauge de
mistake '^orv-photos tree: unknown option -json; did you mean --json\?$' tree -json
mistake '^orv-photos export: --source needs a value \(--source SERVICE\)$' export --source
mistake '^orv-photos: --language needs a value' --language
mistake '^orv-photos tree: --json takes no value$' tree --json=yes
mistake '^orv-photos export: --format takes jpeg, png or original, not jpg; did you mean jpeg\?$' \
    export --source photokit --album x --size 9 --format jpg --out "$tmp/o"
mistake '^orv-photos: --language takes de or en, not fr$' --language fr sources
mistake '^orv-photos autostart: autostart takes on or off, not of; did you mean off\?$' autostart of
mistake '^orv-photos export: --out DIR is missing$' export --source photokit --album x --size 9 --format png
mistake '^orv-photos ls: PATH is missing$' ls
mistake '^orv-photos ls: unexpected argument b \(arguments: PATH\)$' ls a b
mistake '^orv-photos tree: unexpected argument extra$' tree extra
mistake '^orv-photos help: unknown command expotr; did you mean export\?$' help expotr

# Words of any length or bytes are mistakes like any other.
long=$(head -c 100000 /dev/zero | tr '\0' x)
mistake '^orv-photos: unknown command x+$' "$long"
mistake '^orv-photos tree: unknown option --x+$' tree "--$long"
mistake '^orv-photos: unknown command .*name$' "$(printf 'bad\377name')"

# Values the commands check.
mistake '^orv-photos tree: --wait takes a number of seconds' tree --wait soon
mistake '^orv-photos tree: --wait takes a number of seconds' tree --wait 0
mistake '^orv-photos: --program-id takes a number, not eight$' --program-id eight sources
mistake '^orv-photos: unknown system beos:5 ' --os beos:5 sources
mistake '^orv-photos export: --size takes a positive number or full, not -3$' \
    export --source photokit --album x --size -3 --format png --out "$tmp/o"
mistake '^orv-photos browse: --size takes WIDTHxHEIGHT' browse --size 100x100
mistake '^orv-photos browse: --select takes the number of a photo' browse --select -1
mistake '^orv-photos browse: --album needs --source$' browse --album x
mistake '^orv-photos: --photos-library: cannot read .*/none.json' --photos-library "$tmp/none.json" sources
mistake '^orv-photos: --camera takes MODEL=PORT' --camera "Directory Browse" sources
mistake '^orv-photos: --camera names a camera for libgphoto2, and --devices' \
    --devices "$(dirname "$library")/../devices/devices.json" --camera "Directory Browse=disk:$tmp" sources

# Sources and albums, with what was probably meant.
# shellcheck disable=SC2086
mistake '^orv-photos tree: no source photkit; did you mean photokit\?$' $photos tree --source photkit
# shellcheck disable=SC2086
mistake '^orv-photos tree: no source nothing \(sources: .*photokit' $photos tree --source nothing
# shellcheck disable=SC2086
mistake '^orv-photos export: no album Bregen in photokit; did you mean Bergen\?$' \
    $photos export --source photokit --album Bregen --size 9 --format png --out "$tmp/o"
# shellcheck disable=SC2086
mistake '^orv-photos export: no source iphot; did you mean iphoto\?$' \
    $photos export --source iphot --album Bergen --size 9 --format png --out "$tmp/o"
# shellcheck disable=SC2086
mistake '^orv-photos browse: no source photokti; did you mean photokit\?$' $photos browse --source photokti
[ ! -e "$tmp/o" ] || failed "a mistake made the output folder"

# Global options after the command, --name=value, "--" and the old name of --photo-list.
works 'Bergen  \[2 photos\]' tree --source=photokit --language=en --os macos:14.0 --photos-library "$library"
# shellcheck disable=SC2086
works '^wrote 2 of 2 photos to ' export --source photokit --album Bergen $photos --size=16 --format png --out="$tmp/o"
mkdir "$tmp/-dir" && : > "$tmp/-dir/file"
(cd "$tmp" && "$program" ls -- -dir) | grep -q '^1 entry$' || failed "ls -- -dir"
works '"service": "photokit"' --foto-list "$tmp/list" $photos sources --json
works '"service": "photokit"' --photo-list "$tmp/list" $photos sources --json
finish
