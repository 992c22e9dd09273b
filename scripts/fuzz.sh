#!/bin/sh
# Runs a libFuzzer target (clang, ASan + UBSan):
#   iphoto  the iPhoto library parser (one reader against two)
#   image   photo files through the host's opener, decoders and Exiv2
#   plist   pasteboard items of dragged Photos assets (property lists, libplist)
#   imagesource  image bytes through the image I/O's sources and a JPEG destination
#
#   scripts/fuzz.sh iphoto|image|plist|imagesource SECONDS [BUILD_DIR]
#
# Configures and builds BUILD_DIR (default build-fuzz in the checkout), runs the fuzzer
# for SECONDS on one core, keeps going after findings, and prints the
# executions and the inputs that crashed, timed out or ran out of memory
# (under BUILD_DIR/fuzz-artifacts-TARGET). New corpus entries go to
# BUILD_DIR/fuzz-corpus-TARGET; the seeds in fuzz/corpus/TARGET are only read.
set -eu

if [ $# -lt 2 ] || [ $# -gt 3 ]; then
    echo "usage: $0 iphoto|image|plist|imagesource SECONDS [BUILD_DIR]" >&2
    exit 2
fi
case "$1" in
    iphoto) TARGET=iphoto_parser_fuzzer; EXTRA="-max_len=16384 -dict=fuzz/iphoto.dict" ;;
    image) TARGET=image_fuzzer; EXTRA="-max_len=65536" ;;
    plist) TARGET=plist_item_fuzzer; EXTRA="-max_len=4096" ;;
    imagesource) TARGET=image_source_fuzzer; EXTRA="-max_len=65536" ;;
    *) echo "usage: $0 iphoto|image|plist|imagesource SECONDS [BUILD_DIR]" >&2; exit 2 ;;
esac
NAME=$1
SECONDS_TO_RUN=$2
SOURCE_DIR=$(cd "$(dirname "$0")/.." && pwd)
BUILD_DIR=${3:-$SOURCE_DIR/build-fuzz}

CC=clang CXX=clang++ cmake -S "$SOURCE_DIR" -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DORV_FUZZ=ON -DORV_BUILD_TESTS=OFF -DORV_BUILD_BENCH=OFF >/dev/null
cmake --build "$BUILD_DIR" -j2 --target "$TARGET"

CORPUS="$BUILD_DIR/fuzz-corpus-$NAME"
ARTIFACTS="$BUILD_DIR/fuzz-artifacts-$NAME"
LOG="$BUILD_DIR/fuzz-$NAME.log"
mkdir -p "$CORPUS" "$ARTIFACTS"

# Fork mode with one job: a crash is recorded and the run goes on.
set +e
ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
cd "$SOURCE_DIR"
# shellcheck disable=SC2086
"$BUILD_DIR/bin/$TARGET" \
    -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 \
    -max_total_time="$SECONDS_TO_RUN" -timeout=10 -rss_limit_mb=2048 $EXTRA \
    -artifact_prefix="$ARTIFACTS/" -print_final_stats=1 \
    "$CORPUS" "$SOURCE_DIR/fuzz/corpus/$NAME" >"$LOG" 2>&1
STATUS=$?
set -e

echo "fuzzer exit status: $STATUS (log: $LOG)"
LAST=$(grep -E '^#[0-9]+' "$LOG" | tail -n 1 || true)
echo "last status line: ${LAST:-none}"
EXECS=$(printf '%s\n' "$LAST" | sed -n 's/^#\([0-9]*\).*/\1/p')
echo "executions: ${EXECS:-unknown}"
echo "corpus entries: $(find "$CORPUS" -type f | wc -l)"
FINDINGS=$(find "$ARTIFACTS" -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' \
    -o -name 'oom-*' -o -name 'slow-unit-*' \) | sort)
if [ -z "$FINDINGS" ]; then
    echo "findings: none"
else
    echo "findings:"
    printf '  %s\n' $FINDINGS
    echo "reproduce: $BUILD_DIR/bin/$TARGET FILE"
fi
