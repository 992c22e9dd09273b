# Shared by the scripts that run the host program: each runs it, looks at what
# it printed and how it ended, counts what failed and ends with that count.
#   . "$(dirname "$0")/lib.sh"     with the program as $program
tmp=$(mktemp -d) || exit 1
trap 'rm -rf "$tmp"' EXIT
failures=0

failed() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# run ARGUMENTS...: the program's standard output in $out, its errors in $err, its exit code in $status.
run() {
    out=$("$program" "$@" 2> "$tmp/err")
    status=$?
    err=$(cat "$tmp/err")
}

# lines TEXT: how many lines TEXT has.
lines() {
    if [ -z "$1" ]; then echo 0; else printf '%s\n' "$1" | wc -l | tr -d ' '; fi
}

# mistake PATTERN ARGUMENTS...: exit code 1, nothing on standard output and one
# line on standard error that matches PATTERN (grep -E).
mistake() {
    pattern=$1
    shift
    run "$@"
    if [ "$status" -ne 1 ] || [ -n "$out" ] || [ "$(lines "$err")" -ne 1 ] \
        || ! printf '%s\n' "$err" | grep -Eq -- "$pattern"; then
        failed "$* -> exit $status, stdout [$out], stderr [$err]; expected exit 1 and one line like /$pattern/"
    fi
}

# works PATTERN ARGUMENTS...: exit code 0 and standard output that matches PATTERN.
works() {
    pattern=$1
    shift
    run "$@"
    if [ "$status" -ne 0 ] || ! printf '%s\n' "$out" | grep -Eq -- "$pattern"; then
        failed "$* -> exit $status, stdout [$out], stderr [$err]; expected exit 0 and output like /$pattern/"
    fi
}

finish() {
    if [ "$failures" -ne 0 ]; then
        echo "$failures failed"
        exit 1
    fi
    exit 0
}
