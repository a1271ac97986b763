#!/usr/bin/env bash
# Installs what is needed, builds, builds the sky data and starts velmora on a sample model
# with the real sky. Without a DISPLAY it runs under a private Xvfb and writes a screenshot
# to velmora-screenshot.png.
set -euo pipefail
cd "$(dirname "$0")/.."

DIR=$(bash scripts/setup.sh | tail -n 1)

BIN="$DIR/bin/velmora"
if [ ! -x "$BIN" ]; then
  echo "velmora itself is not built yet: the framework, the star engine and the model library come first."
  echo "What exists is built in $DIR/bin and tested by scripts/test.sh."
  exit 0
fi

MODEL=${1:-samples/m51-misplaced.obj}
REFERENCE=${2:-samples/m51.obj}
ARGS=("$MODEL")
[ -f "$REFERENCE" ] && ARGS+=("$REFERENCE")

if [ -n "${DISPLAY:-}" ]; then
  exec "$BIN" "${ARGS[@]}"
fi

# No display: run under Xvfb for a few seconds and take a screenshot of the window.
Xvfb :77 -screen 0 1400x900x24 -nolisten tcp >/dev/null 2>&1 &
XPID=$!
trap 'kill $XPID 2>/dev/null || true' EXIT
export DISPLAY=:77
sleep 1
"$BIN" "${ARGS[@]}" &
VPID=$!
sleep "${VELMORA_SHOT_DELAY:-8}"
import -window root velmora-screenshot.png
kill $VPID 2>/dev/null || true
echo "Screenshot written to $(pwd)/velmora-screenshot.png"
