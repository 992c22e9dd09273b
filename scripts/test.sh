#!/usr/bin/env bash
# Builds everything and runs all tests: a normal build, then one with
# AddressSanitizer and UndefinedBehaviorSanitizer. Installs the Debian
# packages it needs first.
#   scripts/test.sh            both builds
#   scripts/test.sh --quick    the normal build only
#   scripts/test.sh --tsan     additionally the threaded suites under ThreadSanitizer
#   scripts/test.sh --clang    additionally ASan + UBSan built with clang, whose UBSan checks more
#   scripts/test.sh --lean     the normal build as a check only: -O1 without debug information
#                              and without the benchmarks (CI's second system)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
quick=0
tsan=0
clang=0
lean=()
for argument in "$@"; do
  case "$argument" in
    --quick) quick=1 ;;
    --tsan) tsan=1 ;;
    --clang) clang=1 ;;
    --lean) lean=("-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG" "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG"
                  -DORV_BUILD_BENCH=OFF) ;;
    *) echo "usage: $0 [--quick] [--tsan] [--clang] [--lean]" >&2; exit 1 ;;
  esac
done

bash "$root/scripts/install-deps.sh"
jobs=$(nproc)

run_suite() {  # build dir, cmake options...
  local dir=$1
  shift
  mkdir -p "$dir"
  # The configure log stays inside the build folder (ignored by git).
  # Line tables are enough for sanitizer reports and backtraces; full debug information
  # costs about a third of the build's time.
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG" "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG" \
    "$@" > "$dir/configure.log" 2>&1 \
    || { cat "$dir/configure.log"; return 1; }
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && ctest --output-on-failure -j "$jobs" --timeout 900)
}

echo "== normal build"
run_suite "$root/build" "${lean[@]}"
if [ "$quick" -eq 0 ]; then
  echo "== AddressSanitizer + UndefinedBehaviorSanitizer build"
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
  export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/tests/lsan.supp}
  # -O1, as the sanitizers' authors advise: the same reports from a quicker build.
  run_suite "$root/build-asan" -DORV_SANITIZE=address,undefined -DORV_BUILD_BENCH=OFF \
    "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG" "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG"
fi
if [ "$clang" -eq 1 ]; then
  echo "== clang: AddressSanitizer + UndefinedBehaviorSanitizer build"
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
  export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/tests/lsan.supp}
  CC=clang CXX=clang++ run_suite "$root/build-clang" -DORV_SANITIZE=address,undefined -DORV_BUILD_BENCH=OFF
fi
if [ "$tsan" -eq 1 ]; then
  echo "== ThreadSanitizer build"
  export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/tsan.supp}
  run_suite "$root/build-tsan" -DORV_SANITIZE=thread -DORV_BUILD_BENCH=OFF
fi
