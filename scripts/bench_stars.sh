#!/usr/bin/env bash
# Builds and runs the star frame benchmark on a private Xvfb, and prints the time of drawStars
# against its floor (the same points sent plainly) for the hip.8 and hip.12 star sets, as lines
# that can go into the README.
set -euo pipefail
cd "$(dirname "$0")/.."

DIR=${BENCH_DIR:-build-bench-stars}
cmake -S . -B "$DIR" -DCMAKE_BUILD_TYPE=Release -DVELMORA_BENCH=ON >/dev/null
cmake --build "$DIR" -j1 --target star_draw_bench >/dev/null

# A display number that is free now: no lock file and no socket.
NUM=
for n in $(shuf -i 600-5999 -n 50); do
  if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then NUM=$n; break; fi
done
[ -n "$NUM" ] || { echo "no free display number" >&2; exit 1; }

# -noreset: the benchmark is not the server's first client to leave.
Xvfb ":$NUM" -screen 0 1024x768x24 -nolisten tcp -noreset +extension GLX >/dev/null 2>&1 &
XPID=$!
trap 'kill $XPID 2>/dev/null || true' EXIT
for _ in $(seq 50); do
  [ -e "/tmp/.X11-unix/X$NUM" ] && break
  sleep 0.1
done

OUT=$(mktemp)
DISPLAY=":$NUM" "$DIR/bin/star_draw_bench" --benchmark_format=csv --benchmark_counters_tabular=true >"$OUT" 2>/dev/null

# The csv has a header line naming the columns; pick time and counters by name.
awk -F, '
  /^name,/ { for (i = 1; i <= NF; i++) col[$i] = i; next }
  /^"BM_Floor/ { split($1, a, "/"); set = a[2] + 0; floorMs[set] = $col["real_time"]; pts[set] = $col["\"points\""]; if (pts[set] == "") pts[set] = $col["points"]; next }
  /^"BM_DrawStars/ {
    split($1, a, "/"); set = a[2] + 0
    r = $col["\"ratio\""]; if (r == "") r = $col["ratio"]
    n = $col["\"stars\""]; if (n == "") n = $col["stars"]
    line[set] = sprintf("| hip.%d | %d | %d | %.2f ms | %.2f ms | %.2f |", set, n, pts[set], $col["real_time"], floorMs[set], r)
  }
  END {
    print "| Star set | Stars | Points drawn | drawStars per frame | Floor per frame | Ratio |"
    print "|---|---|---|---|---|---|"
    for (s = 0; s <= 12; s++) if (s in line) print line[s]
  }' "$OUT"
rm -f "$OUT"
