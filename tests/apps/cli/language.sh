#!/bin/sh
# One language for a run: --language, else the system's, decides the
# program's texts, the plug-in's, month albums and singular and plural alike.
program=$1
root=$2
. "$(dirname "$0")/lib.sh"
python3 "$root/scripts/make-samples.py" install "$tmp/samples" > /dev/null || failed "make-samples.py"
libraries="--iphoto-library $tmp/samples/iphoto --os macos:14.0 --photos-library $root/samples/photos/library.json"
unset LANGUAGE

# has TEXT PATTERN... / lacks TEXT PATTERN...: each pattern is (not) in TEXT.
has() {
    text=$1
    shift
    for pattern in "$@"; do
        printf '%s\n' "$text" | grep -Eq -- "$pattern" || failed "[$pattern] missing in: $text"
    done
}
lacks() {
    text=$1
    shift
    for pattern in "$@"; do
        ! printf '%s\n' "$text" | grep -Eq -- "$pattern" || failed "[$pattern] found in: $text"
    done
}

# english TEXT / german TEXT: the tree of the sample libraries in that language, and nothing of the other.
english() {
    has "$1" 'January 2013  \[1 photo\]' 'July 2012  \[3 photos\]' 'photokit \(Photos, type 4096, shown\): 8 photos' \
        '  Years  \[6 photos\]' '  All Photos  \['
    lacks "$1" 'Januar |Juli |Fotos\]|Foto\]|Jahre|fotos'
}
german() {
    has "$1" 'Januar 2013  \[1 Foto\]' 'Juli 2012  \[3 Fotos\]' 'photokit \(Fotos, Typ 4096, sichtbar\): 8 Fotos' \
        '  Jahre  \[6 Fotos\]' '  Alle Fotos  \['
    lacks "$1" 'January|July|photos\]|photo\]|Years'
}
for system in C.UTF-8 de_DE.UTF-8; do
    # shellcheck disable=SC2086
    english "$(LC_ALL=$system LANG=$system "$program" --language en $libraries tree)"
    # shellcheck disable=SC2086
    german "$(LC_ALL=$system LANG=$system "$program" --language de $libraries tree)"
done
# Without --language, the system's.
# shellcheck disable=SC2086
german "$(LC_ALL=de_DE.UTF-8 LANG=de_DE.UTF-8 "$program" $libraries tree)"
# shellcheck disable=SC2086
english "$(LC_ALL=C.UTF-8 LANG=C.UTF-8 "$program" $libraries tree)"

# Messages, help and the plug-in's own texts follow too.
mistake '^orv-photos: unbekannter Befehl exprt; war export gemeint\?$' --language de exprt
mistake '^orv-photos tree: keine Quelle nothing \(Quellen: ' --language de tree --source nothing
mistake '^orv-photos: --iphoto-library: nicht gefunden: ' --language de --iphoto-library "$tmp/none" sources
works '^Aufruf: orv-photos ' --language de --help
has "$out" '^Befehle:$' '^  --language de\|en +die Sprache'
lacks "$out" '^Commands:|^usage:'
works '^usage: orv-photos export ' --language en export --help
out=$(LC_ALL=de_DE.UTF-8 LANG=de_DE.UTF-8 "$program" --language en --os macos:14.0 \
    --photos-library "$root/tests/data/photos-denied.json" tree --source photokit)
has "$out" 'Access to the Photos library was denied'
out=$(LC_ALL=C.UTF-8 LANG=C.UTF-8 "$program" --language de --os macos:14.0 \
    --photos-library "$root/tests/data/photos-denied.json" tree --source photokit)
has "$out" 'Zugriff auf Fotos Datenbank verweigert'
finish
