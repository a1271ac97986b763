#!/usr/bin/env bash
# Installs what is needed, builds, builds the sky data and starts velmora on the misplaced M51
# sample with its correctly placed twin as the reference, on the real sky. With a DISPLAY it
# opens there; without one it runs under a private Xvfb, writes velmora-screenshot.png and quits.
#   bash scripts/run.sh [model.obj [reference.obj]]
set -euo pipefail
cd "$(dirname "$0")/.."

DIR=$(bash scripts/setup.sh | tail -n 1)
BIN="$DIR/bin/velmora"

MODEL=${1:-samples/m51-misplaced.obj}
REFERENCE=${2:-samples/m51.obj}
ARGS=("$MODEL")
[ -f "$REFERENCE" ] && ARGS+=("$REFERENCE")

# The catalogue, the star parameters and the Milky Way maps are built in the source folder, not
# beside the program: make it the data root velmora falls back to.
export TOPDIR="${TOPDIR:-$(pwd)}"

if [ -n "${DISPLAY:-}" ]; then
  exec "$BIN" "${ARGS[@]}"
fi

# A display number that is free now: no lock file and no socket.
NUM=
for n in $(shuf -i 600-5999 -n 50); do
  if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then NUM=$n; break; fi
done
[ -n "$NUM" ] || { echo "no free display number for Xvfb" >&2; exit 1; }

# -noreset: velmora asks the server for the screen size on a connection of its own that it closes
# just before the window opens; a server that resets when its last client leaves would refuse
# the window's connection.
Xvfb ":$NUM" -screen 0 1400x900x24 -nolisten tcp -noreset >/dev/null 2>&1 &
XPID=$!
VPID=
cleanup() {
  [ -n "$VPID" ] && kill "$VPID" 2>/dev/null || true
  kill "$XPID" 2>/dev/null || true
}
trap cleanup EXIT
export DISPLAY=":$NUM"
for _ in $(seq 50); do
  [ -e "/tmp/.X11-unix/X$NUM" ] && break
  sleep 0.1
done

"$BIN" "${ARGS[@]}" &
VPID=$!

# freeglut sets no _NET_WM_PID: the window is found by its title.
WIN=
for _ in $(seq 300); do
  WIN=$(xdotool search --name '^Velmora tool' 2>/dev/null | head -n 1 || true)
  [ -n "$WIN" ] && break
  kill -0 "$VPID" 2>/dev/null || { echo "velmora ended before its window opened" >&2; wait "$VPID"; exit 1; }
  sleep 0.1
done
[ -n "$WIN" ] || { echo "velmora's window did not appear" >&2; exit 1; }

# Let the first frames draw (the maps and the catalogue load before the first one).
sleep "${VELMORA_SHOT_DELAY:-3}"
import -window root velmora-screenshot.png
# The key ends velmora, so its window may be gone before xdotool is done with it: that error
# is expected and not shown.
xdotool key --window "$WIN" q 2>/dev/null || true
for _ in $(seq 50); do
  kill -0 "$VPID" 2>/dev/null || break
  sleep 0.1
done
if kill -0 "$VPID" 2>/dev/null; then
  echo "velmora did not quit on the key; stopping it" >&2
  kill "$VPID" 2>/dev/null || true
fi
wait "$VPID" 2>/dev/null || true
VPID=
echo "Screenshot written to $(pwd)/velmora-screenshot.png"
