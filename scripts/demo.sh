#!/usr/bin/env bash
# Installs what is missing, builds the library and runs the job monitor, which replays a grid's
# jobs on the chart: on your display when DISPLAY is set (extra arguments go to the monitor),
# otherwise on a private Xvfb, where it writes a screenshot under build/ and says where.
# The scene demo stays available: build/examples/kestrel_scene_demo.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -G Ninja
cmake --build build
monitor=build/examples/kestrel_job_monitor

if [ -n "${DISPLAY:-}" ]; then
  exec "$monitor" "$@"
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

# The third morning of the trace: jobs running, failed at their limit and succeeded all show.
screenshot=$PWD/build/job_monitor.png
DISPLAY=":$(head -n 1 "$numberFile")" "$monitor" -geometry 1000x700 --screenshot "$screenshot" \
  --at 186180 "$@"
echo "No DISPLAY set: the job monitor ran on a private Xvfb up to the trace time 186180 s." \
  "Its window: $screenshot"
