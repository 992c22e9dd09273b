#!/bin/sh
# cmake --install puts the program, the plug-in, the manual page, the shell
# completions and the desktop file into the prefix, and the installed program
# finds its plug-in there.
build=$1
. "$(dirname "$0")/lib.sh"
prefix=$tmp/prefix
cmake --install "$build" --prefix "$prefix" > "$tmp/log" 2>&1 || { cat "$tmp/log"; failed "cmake --install"; finish; }
for file in bin/orv-photos lib/libOrvApplePhotos.so share/man/man1/orv-photos.1 \
    share/bash-completion/completions/orv-photos share/zsh/site-functions/_orv-photos \
    share/applications/orv-photos.desktop; do
    [ -s "$prefix/$file" ] || failed "not installed: $file"
done
program=$prefix/bin/orv-photos
works '"service": "iphoto"' sources --json
works '^\.TH ORV\\-PHOTOS 1' --man
finish
