#!/usr/bin/env bash
# Builds and runs the star frame benchmark on a private Xvfb, and prints the time of drawStars
# against its floor (the same points sent plainly) for the hip.8 and hip.12 star sets, as lines
# that can go into the README: the frame of a view that stays at the origin, the frame after a
# change of the stars, which works every star out again, and the frame with the memo off.
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

# The csv has a header line naming the columns (counters quoted or not); pick them by name.
awk -F, '
  /^name,/ { for (i = 1; i <= NF; i++) { c = $i; gsub(/"/, "", c); col[c] = i }; next }
  /^"BM_DrawStars/ {
    split($1, a, "/"); set = a[2] + 0
    cell = sprintf("%.2f ms | %.2f ms | %.2f |", $col["frame_ms"], $col["floor_ms"], $col["ratio"])
    if ($1 ~ /Changed/) changed[set] = cell
    else if ($1 ~ /NoMemo/) nomemo[set] = cell
    else { kept[set] = cell; stars[set] = $col["stars"]; pts[set] = $col["points"] }
  }
  END {
    print "| Star set | Stars | Points drawn | Frame | Floor | Ratio | After a change | Floor | Ratio | Memo off | Floor | Ratio |"
    print "|---|---|---|---|---|---|---|---|---|---|---|---|"
    for (s = 0; s <= 12; s++)
      if (s in kept) printf "| hip.%d | %d | %d | %s %s %s\n", s, stars[s], pts[s], kept[s], changed[s], nomemo[s]
  }' "$OUT"
rm -f "$OUT"
