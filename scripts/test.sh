#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the whole test suite.
# With --sanitize the build (in build-sanitize/) uses AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh

build=build
options=()
if [ "${1:-}" = --sanitize ]; then
  build=build-sanitize
  options=(-DKESTREL_SANITIZE=ON -DKESTREL_BENCH=OFF)
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0
fi

cmake -S . -B "$build" -G Ninja "${options[@]}"
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j2
