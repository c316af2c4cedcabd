#!/usr/bin/env bash
# Installs what is missing, builds the library and runs the demo host.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -G Ninja
cmake --build build
echo "The library has nothing to show yet: the demo host comes with the container and charts."
