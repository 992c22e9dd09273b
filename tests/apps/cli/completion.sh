#!/bin/bash
# The shell completions and the manual page come from the program's option
# table: bash completes commands, options, their values and arguments; every
# option the help names is in the manual page and in both completions.
program=$1
. "$(dirname "$0")/lib.sh"

"$program" --completion bash > "$tmp/orv-photos.bash" || failed "--completion bash"
bash -n "$tmp/orv-photos.bash" || failed "the bash completion is no bash"
"$program" --completion zsh > "$tmp/_orv-photos" || failed "--completion zsh"
if command -v zsh > /dev/null; then
    zsh -n "$tmp/_orv-photos" || failed "the zsh completion is no zsh"
fi
"$program" --man > "$tmp/orv-photos.1" || failed "--man"
if command -v groff > /dev/null; then
    warnings=$(groff -man -Tutf8 -ww -z "$tmp/orv-photos.1" 2>&1)
    [ -z "$warnings" ] || failed "groff warns about the manual page: $warnings"
fi

# completed WORD...: what bash offers for the last word after "orv-photos WORD...", sorted, on one line.
completed() {
    bash -c '. "$1"; shift
             COMP_WORDS=("$@"); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
             _orv_photos
             [ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\n" "${COMPREPLY[@]}"' _ "$tmp/orv-photos.bash" orv-photos "$@" | LC_ALL=C sort | tr '\n' ' '
}
expect() {
    wanted=$1
    shift
    got=$(completed "$@")
    [ "$got" = "$wanted" ] || failed "completing [$*]: [$got], expected [$wanted]"
}
expect 'export ' ex
expect 'cameras ' --language en ca
expect 'browse ' --plugin=/x/lib.so br
expect 'tree ' --foto-list list tr
expect '--camera ' --ca
expect '--format ' export --fo
expect 'jpeg original png ' export --source photokit --format ''
expect 'jpeg original png ' export --format = ''
expect 'de en ' --language ''
expect 'de en ' tree --language ''
expect 'photokit ' tree --source photok
expect '--help --json --source --wait ' tree --
expect 'off on ' autostart ''
expect 'export ' help exp
mkdir "$tmp/folder" && : > "$tmp/file"
expect "$tmp/folder " export --out "$tmp/fo"
expect "$tmp/file " --iphoto-library "$tmp/fi"
expect "$tmp/file " --foto-list "$tmp/fi"
expect "$tmp/folder " ls "$tmp/fo"
expect '' export --album ''

# One table: every option the help shows is in the manual page and the completions.
for command in '' $("$program" --help | sed -n '/^Commands:$/,/^$/p' | sed -n 's/^  \([a-z]*\) .*/\1/p'); do
    # shellcheck disable=SC2086
    for option in $("$program" $command --help | sed -n 's/^  \(-h, \)\{0,1\}\(--[a-z-]*\).*/\2/p'); do
        grep -q -- "$(printf '%s' "$option" | sed 's/-/\\\\-/g')" "$tmp/orv-photos.1" || failed "the manual page lacks $option"
        grep -q -- "$option" "$tmp/orv-photos.bash" || failed "the bash completion lacks $option"
        grep -q -- "$option" "$tmp/_orv-photos" || failed "the zsh completion lacks $option"
    done
done
finish
