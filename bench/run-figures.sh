#!/usr/bin/env bash
# The reading figures of the README: each reader of the system in a whole process beside its
# floor or peer, the two run in turn RUNS times (5 by default), and the medians of wall time and
# peak memory (/usr/bin/time -f %e %M) printed as a table. A ratio is the median of the ratios
# of the pairs, which keeps a busy machine's drift out of it.
#
#   bash bench/run-figures.sh            # builds in build/ (release), works in a temporary folder
#   RUNS=9 BUILD=/path/to/build bash bench/run-figures.sh
#
# Needs: a release build of the project (configured here if BUILD has none), tinyobjloader from
# Debian (libtinyobjloader-dev), gzip, /usr/bin/time, the star data built under data/.
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${BUILD:-$ROOT/build}
RUNS=${RUNS:-5}
STARS=${STARS:-$ROOT/data/stardata/HIP/hip.12.star}
# The EZ figures use a container of this many bytes of star text.
EZ_BYTES=20000000

for tool in /usr/bin/time gzip cmake; do
  command -v "$tool" >/dev/null || { echo "run-figures: $tool is needed" >&2; exit 1; }
done
[ -f "$STARS" ] || { echo "run-figures: no star file $STARS (build the sky data first)" >&2; exit 1; }

export CCACHE_BASEDIR=$ROOT
if [ ! -f "$BUILD/CMakeCache.txt" ]; then
  cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=Release >/dev/null
fi
cmake --build "$BUILD" -j1 --target star_read_run star_floor obj_read_run obj_generate ez_read_run ezpack \
  obj_tinyobj_run >/dev/null
BIN=$BUILD/bin
[ -x "$BIN/obj_tinyobj_run" ] || { echo "run-figures: tinyobjloader missing (libtinyobjloader-dev)" >&2; exit 1; }

WORK=$(mktemp -d /tmp/velmora-figures-XXXXXX)
trap 'rm -rf "$WORK"' EXIT

# Inputs: three forms of the 1,000,000-triangle model, and one text packed both ways.
for form in v/vt/vn v//vn v/vt; do
  "$BIN/obj_generate" "$form" "$WORK/grid-${form//\//}.obj"
done
# (head closes the pipe early: cat's broken pipe is expected.)
(cat "$STARS" "$ROOT"/data/stardata/HIP/hip.11.star || true) | head -c $EZ_BYTES > "$WORK/text.txt"
"$BIN/ezpack" pack "$WORK/text.txt" "$WORK/text.ez"
gzip -6 -c "$WORK/text.txt" > "$WORK/text.gz"

# measure NAME COMMAND...: one run, appending "seconds kilobytes" to $WORK/NAME.
measure() {
  local name=$1
  shift
  /usr/bin/time -f "%e %M" -o "$WORK/time.out" "$@" >/dev/null 2>"$WORK/err.out" || {
    echo "run-figures: $name failed:" >&2
    cat "$WORK/err.out" >&2
    exit 1
  }
  cat "$WORK/time.out" >> "$WORK/$name"
}

# pair A B COMMAND-A -- COMMAND-B: RUNS runs of each, in turn.
pair() {
  local a=$1 b=$2
  shift 2
  local ca=() cb=() seen=0
  for w in "$@"; do
    if [ "$w" = "--" ]; then seen=1; continue; fi
    if [ $seen = 0 ]; then ca+=("$w"); else cb+=("$w"); fi
  done
  rm -f "$WORK/$a" "$WORK/$b"
  for ((i = 0; i < RUNS; i++)); do
    measure "$a" "${ca[@]}"
    measure "$b" "${cb[@]}"
  done
}

# The median of a column (1 time, 2 memory) of a run file, or of the pairwise ratios of two.
median() { sort -n | awk '{v[NR]=$1} END {m=(NR%2)?v[(NR+1)/2]:(v[NR/2]+v[NR/2+1])/2; printf "%.3f", m}'; }
col() { awk -v c="$2" '{print $c}' "$WORK/$1"; }
ratio() { paste -d' ' <(col "$1" "$3") <(col "$2" "$3") | awk '{print ($2 > 0) ? $1 / $2 : 0}' | median; }
secs() { col "$1" 1 | median; }
mib() { col "$1" 2 | median | awk '{printf "%.1f", $1 / 1024}'; }

pair star floor_sort "$BIN/star_read_run" "$STARS" -- "$BIN/star_floor" -s "$STARS"
pair star2 floor_plain "$BIN/star_read_run" "$STARS" -- "$BIN/star_floor" "$STARS"
for form in vvtvn vvn vvt; do
  pair "glm_$form" "tiny_$form" "$BIN/obj_read_run" "$WORK/grid-$form.obj" -- \
    "$BIN/obj_tinyobj_run" "$WORK/grid-$form.obj"
done
pair fopenez gzip1 "$BIN/ez_read_run" "$WORK/text.ez" -- sh -c "gzip -dc '$WORK/text.gz' > '$WORK/gz.out'"
pair unpack gzip2 "$BIN/ezpack" unpack "$WORK/text.ez" "$WORK/ez.out" -- \
  sh -c "gzip -dc '$WORK/text.gz' > '$WORK/gz.out'"
pair pack gzip3 "$BIN/ezpack" pack "$WORK/text.txt" "$WORK/re.ez" -- sh -c "gzip -6 -c '$WORK/text.txt' > '$WORK/re.gz'"
cmp -s "$WORK/ez.out" "$WORK/text.txt" || { echo "run-figures: ezpack unpack gave other bytes" >&2; exit 1; }

stars=$(awk 'NR == 1 {print $2}' "$STARS")
mb() { awk -v b="$(stat -c %s "$1")" 'BEGIN {printf "%.0f", b / 1e6}'; }

echo "Medians of $RUNS runs each, pairs run in turn; ratio = median of the pairs' ratios."
echo
echo "| what | time | floor or peer | its time | time ratio | memory | its memory | memory ratio |"
echo "|---|---|---|---|---|---|---|---|"
row() {  # row WHAT A PEER-NAME B
  printf '| %s | %s s | %s | %s s | %sx | %s MiB | %s MiB | %sx |\n' "$1" "$(secs "$2")" "$3" "$(secs "$4")" \
    "$(ratio "$2" "$4" 1)" "$(mib "$2")" "$(mib "$4")" "$(ratio "$2" "$4" 2)"
}
row "readStarFiles of $(basename "$STARS") ($stars stars, $(mb "$STARS") MB), whole process" star \
  "plain C reader (strtod) that also sorts" floor_sort
row "the same" star2 "plain C reader (strtod), no sort" floor_plain
row "glmReadOBJ, 1M triangles v/vt/vn ($(mb "$WORK/grid-vvtvn.obj") MB)" glm_vvtvn "tinyobjloader" tiny_vvtvn
row "glmReadOBJ, 1M triangles v//vn ($(mb "$WORK/grid-vvn.obj") MB)" glm_vvn "tinyobjloader" tiny_vvn
row "glmReadOBJ, 1M triangles v/vt ($(mb "$WORK/grid-vvt.obj") MB)" glm_vvt "tinyobjloader" tiny_vvt
row "fopenEZ of a $(mb "$WORK/text.txt") MB container, read to the end" fopenez "gzip -dc to a file" gzip1
row "ezpack unpack of it" unpack "gzip -dc to a file" gzip2
row "ezpack pack of the $(mb "$WORK/text.txt") MB text" pack "gzip -6 to a file" gzip3
