#!/bin/sh
# The iPhoto and Aperture libraries named on the command line or by the
# applications' preferences; a source that found none says where it looked;
# the user's preferences are read, never written.
program=$1
root=$2
. "$(dirname "$0")/lib.sh"
python3 "$root/scripts/make-samples.py" install "$tmp/samples" > /dev/null || failed "make-samples.py"
iphoto=$tmp/samples/iphoto
aperture=$tmp/samples/aperture
mkdir "$tmp/empty" "$tmp/config" "$tmp/config/apple"
export XDG_CONFIG_HOME="$tmp/config"
cd "$tmp/empty" || exit 1

# Named on the command line: the folder or the file.
works '^iphoto \(iPhoto, type 128, shown\): 6 photos$' --language en --iphoto-library "$iphoto" tree --source iphoto
works '^iphoto \(iPhoto, type 128, shown\): 6 photos$' --language en --iphoto-library "$iphoto/AlbumData.xml" tree --source iphoto
works '^aperture \(Aperture, type 256, shown\): 3 photos$' --language en --aperture-library "$aperture" tree --source aperture
# Albums inside the folders the library file names, and a folder exports what they hold.
works '^    At the Lake  \[3 photos\]$' --language en --iphoto-library "$iphoto" tree --source iphoto
works '^would write 3 of 3 photos' --language en --iphoto-library "$iphoto" export --source iphoto --album Holidays \
    --size full --format original --dry-run --out "$tmp/dry"
works '^wrote 3 of 3 photos' --language en --iphoto-library "$iphoto" export --source iphoto --album 'At the Lake' \
    --size 32 --format png --out "$tmp/out"
# A folder with "~" in its path is not read as the home folder.
cp -R "$iphoto" "$tmp/lib~rary"
works '^iphoto \(iPhoto, type 128, shown\): 6 photos$' --language en --iphoto-library "$tmp/lib~rary" tree --source iphoto
# A library that is not there is a mistake.
mistake "^orv-photos: --iphoto-library: not found: $tmp/none\$" --language en --iphoto-library "$tmp/none" tree
mistake "^orv-photos: --aperture-library: not found: $iphoto/ApertureData.xml\$" --language en --aperture-library "$iphoto" tree
mistake '^orv-photos: --iphoto-library: not found: ' --language en --iphoto-library '' tree

# Nothing named anywhere: the current folder, and a hint where to name it.
works "^  \| not found: $tmp/empty/AlbumData.xml \(the current folder: name the library with --iphoto-library, or with XMLDataFilePath in $tmp/config/apple/iphoto.conf\)\$" \
    --language en tree --source iphoto
works "^  \| not found: $tmp/empty/ApertureData.xml \(the current folder: " --language en tree --source aperture
mistake "^orv-photos export: no album Trips in aperture \(not found: $tmp/empty/ApertureData.xml " \
    --language en export --source aperture --album Trips --size 9 --format png --out "$tmp/out2"
[ ! -e "$tmp/out2" ] || failed "export into a folder without a library"

# Named by the preferences: found, or said where it was looked for.
printf '[General]\nXMLDataFilePath=%s\n' "$tmp/gone/AlbumData.xml" > "$tmp/config/apple/iphoto.conf"
printf '[General]\nRootDirectory=~/aperture\n' > "$tmp/config/apple/aperture.conf"
mkdir "$tmp/home"
HOME=$tmp/home
works "^  \| not found: $tmp/gone/AlbumData.xml \(named by XMLDataFilePath in $tmp/config/apple/iphoto.conf\)\$" \
    --language en tree --source iphoto
works "^  \| not found: $tmp/home/aperture/ApertureData.xml \(named by RootDirectory in " \
    --language en tree --source aperture
cp -R "$aperture" "$tmp/home/aperture"
works '^aperture \(Aperture, type 256, shown\): 3 photos$' --language en tree --source aperture
# The option takes the place of one preference for this run; the other stays, and neither file changes.
cp -R "$tmp/config" "$tmp/config-before"
run --language en --iphoto-library "$iphoto" tree
printf '%s\n' "$out" | grep -q '^iphoto (iPhoto, type 128, shown): 6 photos$' || failed "--iphoto-library beside preferences: $out"
printf '%s\n' "$out" | grep -q '^aperture (Aperture, type 256, shown): 3 photos$' || failed "Aperture's preference with --iphoto-library: $out"
diff -r "$tmp/config-before" "$tmp/config" || failed "the preferences changed"
[ -z "$(ls -A "$tmp/empty")" ] || failed "something was written into the current folder"
# A library that is there but holds no photos says so.
mkdir "$tmp/broken" && printf 'not a library' > "$tmp/broken/AlbumData.xml"
works "^  \| no photos in $tmp/broken/AlbumData.xml\$" --language en --iphoto-library "$tmp/broken" tree --source iphoto
finish
