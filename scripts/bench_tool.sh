#!/usr/bin/env bash
# Builds and runs the alignment tool's speed benchmarks on a private Xvfb and prints their
# figures as lines that can go into the README: the start to the first frame, in-process against
# the bare reading of the star set and the maps, and of the real program from exec to its first
# drawn window against a bare GLUT program doing the same (several runs, median); and the
# full-sky frame against plain star points.
#   bash scripts/bench_tool.sh          (RUNS=n sets the number of program starts, default 7)
set -euo pipefail
cd "$(dirname "$0")/.."
SRC=$(pwd)

DIR=${BENCH_DIR:-build-bench-tool}
RUNS=${RUNS:-7}
# The targets: seconds to the first frame, and the full-sky frame over its floor.
START_TARGET_S=2
SKY_TARGET_RATIO=1.5
# Bytes of the grabbed window that must be other than zero for it to count as drawn; the
# window is black until the first frame (the server's root is black too).
DRAWN_BYTES=1000
# Seconds to wait for a window before giving up on a run.
WAIT_S=30
# Between polls, so that the polling leaves the two cores to the program.
POLL_S=0.02

cmake -S . -B "$DIR" -DCMAKE_BUILD_TYPE=Release -DVELMORA_BENCH=ON >/dev/null
cmake --build "$DIR" -j1 --target tool_bench velmora >/dev/null

# A display number that is free now: no lock file and no socket.
NUM=
for n in $(shuf -i 600-5999 -n 50); do
  if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then NUM=$n; break; fi
done
[ -n "$NUM" ] || { echo "no free display number" >&2; exit 1; }

# -noreset: velmora asks for the screen size on a connection that it closes before opening its
# window, and the benchmark is not the server's first client to leave. -br: a black root, so that
# a window not drawn yet grabs black.
Xvfb ":$NUM" -screen 0 1400x900x24 -nolisten tcp -noreset -br +extension GLX >/dev/null 2>&1 &
XPID=$!
VPID=
OUT=$(mktemp)
cleanup() {
  [ -n "$VPID" ] && kill "$VPID" 2>/dev/null || true
  kill "$XPID" 2>/dev/null || true
  rm -f "$OUT" "$OUT.err"
}
trap cleanup EXIT
for _ in $(seq 50); do
  [ -e "/tmp/.X11-unix/X$NUM" ] && break
  sleep 0.1
done
kill -0 "$XPID" 2>/dev/null || { echo "Xvfb did not start on :$NUM" >&2; exit 1; }
export DISPLAY=":$NUM"

# ---- In-process: the benchmarks -------------------------------------------------------------
if ! "$DIR/bin/tool_bench" --benchmark_format=csv --benchmark_counters_tabular=true >"$OUT" 2>"$OUT.err"; then
  echo "tool_bench failed:" >&2
  cat "$OUT.err" >&2
  exit 1
fi

# ---- Programs from exec to their first drawn window -----------------------------------------
# Not zero: the nul bytes of the grab taken out, what is left counted.
litBytes() {
  import -window "$1" -depth 8 rgb:- 2>/dev/null | tr -d '\000' | wc -c
}
elapsed() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f\n", a - b }'; }
tooLong() { awk -v now="$EPOCHREALTIME" -v t0="$1" -v wait="$WAIT_S" 'BEGIN { exit !(now - t0 > wait) }'; }

# One start of the command after the title pattern; prints the seconds until the window had its
# title, until it was seen drawn, and the time of the grab that saw it. The drawn time is taken
# when that grab returns: an upper bound, later than the frame by at most a grab and a pause.
timeStart() {
  local title=$1 t0 t1 t2 g0 win= lit
  shift
  t0=$EPOCHREALTIME
  "$@" >/dev/null 2>&1 &
  VPID=$!
  # freeglut sets no _NET_WM_PID: the window is found by its title.
  while [ -z "$win" ]; do
    win=$(xdotool search --name "$title" 2>/dev/null | head -n 1 || true)
    if ! kill -0 "$VPID" 2>/dev/null; then
      echo "$1 ended before its window opened" >&2
      exit 1
    fi
    if tooLong "$t0"; then
      echo "no window of $1 after $WAIT_S s" >&2
      exit 1
    fi
    if [ -z "$win" ]; then sleep "$POLL_S"; fi
  done
  t1=$EPOCHREALTIME
  while :; do
    g0=$EPOCHREALTIME
    lit=$(litBytes "$win")
    t2=$EPOCHREALTIME
    if [ "$lit" -ge "$DRAWN_BYTES" ]; then break; fi
    if tooLong "$t0"; then
      echo "window of $1 still black after $WAIT_S s" >&2
      exit 1
    fi
    sleep "$POLL_S"
  done
  kill "$VPID" 2>/dev/null || true
  wait "$VPID" 2>/dev/null || true
  VPID=
  echo "$(elapsed "$t1" "$t0") $(elapsed "$t2" "$t0") $(elapsed "$t2" "$g0")"
}

median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
lowest() { printf '%s\n' "$@" | sort -g | head -n 1; }
highest() { printf '%s\n' "$@" | sort -g | tail -n 1; }

# velmora as scripts/run.sh starts it: the M51 sample and its twin, every map, the default star
# set, the data in the source folder. Its floor, taken in turn with it: a bare GLUT window.
export TOPDIR="$SRC"
TITLED=() DRAWN=() GRABS=() BARE=()
for _ in $(seq "$RUNS"); do
  read -r titled drawn grab < <(timeStart '^Velmora tool' "$DIR/bin/velmora" "$SRC/samples/m51-misplaced.obj" "$SRC/samples/m51.obj")
  TITLED+=("$titled") DRAWN+=("$drawn") GRABS+=("$grab")
  read -r _ drawn grab < <(timeStart '^tool_bench bare window$' "$DIR/bin/tool_bench" --bare-window)
  BARE+=("$drawn") GRABS+=("$grab")
done

# ---- The lines ------------------------------------------------------------------------------
# The csv has a header line naming the columns; time and counters are picked by name (quoted or
# not, as the library's version writes them). The floors and frames are medians of repeated runs.
awk -F, -v runs="$RUNS" -v drawn="$(median "${DRAWN[@]}")" -v dlo="$(lowest "${DRAWN[@]}")" \
  -v dhi="$(highest "${DRAWN[@]}")" -v titled="$(median "${TITLED[@]}")" -v grab="$(median "${GRABS[@]}")" \
  -v bare="$(median "${BARE[@]}")" -v blo="$(lowest "${BARE[@]}")" -v bhi="$(highest "${BARE[@]}")" \
  -v startTarget="$START_TARGET_S" -v skyTarget="$SKY_TARGET_RATIO" '
  function get(name,   v) { v = $col["\"" name "\""]; if (v == "") v = $col[name]; return v }
  function verdict(ok) { return ok ? "met" : "missed" }
  # Wall and processor time of a row, in milliseconds.
  function keep(key) { wall[key] = $col["real_time"]; cpu[key] = $col["cpu_time"] }
  function both(key) { return sprintf("%.1f ms / %.1f ms", wall[key], cpu[key]) }
  function ratios(key, floorKey) { return sprintf("%.1fx / %.1fx", wall[key] / wall[floorKey], cpu[key] / cpu[floorKey]) }
  /^name,/ { for (i = 1; i <= NF; i++) col[$i] = i; next }
  # Of the repeated runs only the median counts.
  /_(mean|stddev|cv)"/ { next }
  /^"BM_ReadStarSet/ { keep("stars"); nStars = get("stars"); next }
  /^"BM_ReadMaps/ { keep("maps"); nMaps = get("maps"); next }
  /^"BM_StartToFirstFrame\/1/ { keep("first"); next }
  /^"BM_StartToFirstFrame\/0/ { keep("later"); next }
  /^"BM_SkyFloor/ { keep("floor"); points = get("points"); skyStars = get("stars"); next }
  /^"BM_FullSkyFrame/ { keep("sky"); w1 = get("weight1"); w2 = get("weight2"); fovy = get("fovy"); next }
  /^"BM_FullSkyWithout/ { split($1, a, "/"); keep("without" a[2]); next }
  /^"BM_FullSkyOnly/ { split($1, a, "/"); keep("only" a[2]); next }
  END {
    wall["read"] = wall["stars"] + wall["maps"]
    cpu["read"] = cpu["stars"] + cpu["maps"]
    print "| what | time / processor time | floor: time / processor time | ratio | target |"
    print "|---|---|---|---|---|"
    printf "| `velmora` from exec to its first frame seen in its window: M51 sample and its twin, %d maps, hip.6; median of %d runs (%.2f to %.2f s), title set at %.2f s, one grab %.2f s | %.2f s | a bare GLUT window drawing one frame: %.2f s (%.2f to %.2f) | %.1fx | at most %d s: %s |\n", \
      nMaps, runs, dlo, dhi, titled, grab, drawn, bare, blo, bhi, drawn / bare, startTarget, verdict(drawn <= startTarget)
    printf "| the same in-process, the process'"'"'s first start: framework set-up, scene start, first frame, `glFinish` | %s | reading hip.6 (%d stars) and the maps: %s | %s | |\n", \
      both("first"), nStars, both("read"), ratios("first", "read")
    printf "| the same, later starts in the process (the renderer'"'"'s drawing code already built) | %s | %s | %s | |\n", \
      both("later"), both("read"), ratios("later", "read")
    printf "| full-sky frame at 1024x768: hip.8 (%d stars, %d in view), two maps cross-faded (weights %.2f and %.2f), constellation lines and names, galactic and equatorial grids, %d-degree field | %s | the same stars as plain `GL_POINTS`: %s | %s | at most %.1fx: %s |\n", \
      skyStars, points, w1, w2, fovy, both("sky"), both("floor"), ratios("sky", "floor"), skyTarget, verdict(wall["sky"] / wall["floor"] <= skyTarget)
    split("maps,stars,constellations,grids", layer, ",")
    for (k = 0; k < 4; k++) if (("without" k) in wall)
      printf "| the same frame without the %s | %s | %s | %s | |\n", layer[k + 1], both("without" k), both("floor"), ratios("without" k, "floor")
    for (k = 0; k < 2; k++) if (("only" k) in wall)
      printf "| the same frame with the %s alone | %s | %s | %s | |\n", layer[k + 1], both("only" k), both("floor"), ratios("only" k, "floor")
  }' "$OUT"
