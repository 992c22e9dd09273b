#!/bin/sh
# Help for the program and every command: on standard output, exit code 0, in
# every form (--help, -h, help COMMAND), winning over mistakes and needing no
# plug-in; --version; the README shows the program's help as it is.
program=$1
readme=$2
. "$(dirname "$0")/lib.sh"

works '^usage: orv-photos ' --help
[ -z "$err" ] || failed "--help wrote to standard error: $err"
help=$out
works '^usage: orv-photos ' -h
[ "$out" = "$help" ] || failed "-h differs from --help"
works '^usage: orv-photos ' help
[ "$out" = "$help" ] || failed "help differs from --help"
# No plug-in is needed for help, and help wins over any mistake.
works '^usage: orv-photos ' --plugin /nonexistent --help
works '^usage: orv-photos ' --bogus --help
works '^usage: orv-photos ' --help unknown-command

commands=$(printf '%s\n' "$help" | sed -n '/^Commands:$/,/^$/p' | sed -n 's/^  \([a-z]*\) .*/\1/p')
[ "$(lines "$commands")" -ge 9 ] || failed "commands in the help: [$commands]"
for command in $commands; do
    works "^usage: orv-photos $command( |\$)" "$command" --help
    [ -z "$err" ] || failed "$command --help wrote to standard error: $err"
    usage=$out
    printf '%s\n' "$usage" | grep -q -- '-h, --help' || failed "$command --help does not name -h, --help"
    works "^usage: orv-photos $command( |\$)" "$command" -h
    [ "$out" = "$usage" ] || failed "$command -h differs from $command --help"
    works "^usage: orv-photos $command( |\$)" help "$command"
    [ "$out" = "$usage" ] || failed "help $command differs from $command --help"
    works "^usage: orv-photos $command( |\$)" --plugin /nonexistent "$command" --no-such-option --help
done
# Every option a command takes is in its help, and every global option in the program's.
works '--format jpeg\|png\|original' export --help
works '--screenshot FILE' browse --help
for option in --photos-library --iphoto-library --aperture-library --devices --camera --language --images-only \
    --os --program-id --plugin --verbose --version; do
    printf '%s\n' "$help" | grep -q -- "^  $option" || failed "--help does not describe $option"
done

works '^orv-photos [0-9]+\.[0-9]+' --version
[ "$(lines "$out")" -eq 1 ] || failed "--version: [$out]"
works '^orv-photos [0-9]+\.[0-9]+' --plugin /nonexistent --version

# The README's usage block is the program's help in English, word for word.
awk '/^<!-- orv-photos --help -->$/ { part = 1; next }
     part == 1 && /^```/ { part = 2; next }
     part == 2 && /^```$/ { exit }
     part == 2 { print }' "$readme" > "$tmp/readme"
"$program" --language en --help > "$tmp/help"
diff -u "$tmp/readme" "$tmp/help" || failed "the README's usage block is not orv-photos --help"
finish
