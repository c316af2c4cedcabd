#!/usr/bin/env bash
# Installs what is missing, builds the library and runs the scene demo: on your display when
# DISPLAY is set (extra arguments go to the demo), otherwise on a private Xvfb, where it leaves a
# screenshot under build/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -G Ninja
cmake --build build
demo=build/examples/kestrel_scene_demo

if [ -n "${DISPLAY:-}" ]; then
  # Without arguments the scene is kept in build/: File > Save writes it, the next run reads it.
  [ $# -gt 0 ] || set -- build/scene.qel
  exec "$demo" "$@"
fi

# No display: a private server on a free display number, stopped again on the way out.
numberFile=$(mktemp)
xvfb=
cleanup() {
  if [ -n "$xvfb" ]; then
    kill "$xvfb" 2>/dev/null || true
    wait "$xvfb" 2>/dev/null || true
  fi
  rm -f "$numberFile"
}
trap cleanup EXIT
Xvfb -displayfd 3 -nolisten tcp -screen 0 1600x1000x24 3>"$numberFile" >/dev/null 2>&1 &
xvfb=$!
# Xvfb writes its display number once it accepts connections.
for _ in $(seq 200); do
  grep -q . "$numberFile" && break
  kill -0 "$xvfb" 2>/dev/null || { echo "Xvfb did not start" >&2; exit 1; }
  sleep 0.1
done
grep -q . "$numberFile" || { echo "Xvfb did not start in time" >&2; exit 1; }

screenshot=$PWD/build/scene_demo.png
DISPLAY=":$(head -n 1 "$numberFile")" "$demo" -geometry 480x380 --charts --screenshot "$screenshot"
echo "No DISPLAY set: the demo ran on a private Xvfb. Its windows: $screenshot and" \
  "${screenshot%.png}-charts.png"
