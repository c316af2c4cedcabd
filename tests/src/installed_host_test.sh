#!/usr/bin/env bash
# Installs the built tree into a fresh prefix, builds the C host against it through pkg-config
# alone, and runs it on a private X server.
set -euo pipefail
build=$1 source=$2 flags=${3:-}
prefix=$(mktemp -d)
xvfb=
cleanup() {
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null
  rm -rf "$prefix"
}
trap cleanup EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null
test -f "$prefix/include/kestrel.h"
test -f "$prefix/share/man/man3/kestrel.3"
test -L "$prefix/lib/libKestrel.so.1"
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cc -std=c99 -Wall -Werror $flags -o "$prefix/host" "$source/tests/src/c_host.c" \
  $(pkg-config --cflags --libs kestrel) -Wl,-rpath,"$prefix/lib" -lXm -lXt -lX11

numberFile=$prefix/display
Xvfb -displayfd 3 -nolisten tcp -screen 0 800x600x24 3>"$numberFile" >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 100); do grep -q . "$numberFile" && break; sleep 0.1; done
output=$(DISPLAY=":$(head -n 1 "$numberFile")" "$prefix/host" --exit)
[ "$output" = "jobs 0 1 2" ] || { echo "the host said: $output" >&2; exit 1; }
