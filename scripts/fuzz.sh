#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (in build-fuzz/) and runs one of them.
# Usage: scripts/fuzz.sh TARGET [SECONDS]   e.g. scripts/fuzz.sh search_path 600
# New inputs go to build-fuzz/corpus/TARGET; copy crashes into fuzz/corpus/TARGET to keep them.
set -euo pipefail
cd "$(dirname "$0")/.."
target=${1:?usage: scripts/fuzz.sh TARGET [SECONDS]}
seconds=${2:-60}
scripts/deps.sh clang libclang-rt-14-dev
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DKESTREL_FUZZ=ON -DKESTREL_BENCH=OFF
cmake --build build-fuzz --target "${target}_fuzzer"
mkdir -p "build-fuzz/corpus/$target"
# Undefined behaviour stops the run like a crash, so that it leaves an input to keep.
UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1} \
  "build-fuzz/fuzz/${target}_fuzzer" -max_total_time="$seconds" -max_len=102400 \
  -artifact_prefix="build-fuzz/" "build-fuzz/corpus/$target" "fuzz/corpus/$target"
