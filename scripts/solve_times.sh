#!/usr/bin/env bash
# Runs the blind-solve closed loop (the velmora program's frame solved back to its view) for a few
# views and prints each solve time and their median. Needs a release build (BUILD, default build)
# with place_solve_gui_test, the sky data, and astrometry.net with its index files.
set -euo pipefail

ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD="${BUILD:-$ROOT/build}"
TEST="$BUILD/bin/place_solve_gui_test"
[ -x "$TEST" ] || { echo "no $TEST: build the target place_solve_gui_test first" >&2; exit 1; }

# Galactic longitude, latitude and half width of the view's rectangle, in degrees: Orion, Cygnus
# in the Milky Way, a field far from it, and one near the south galactic pole.
VIEWS=("200 -10 8" "80 2 8" "300 45 9" "120 -70 10")

times=()
for v in "${VIEWS[@]}"; do
  out="$(VELMORA_SOLVE_VIEW="$v" "$TEST" 2>&1 || true)"
  t="$(sed -n 's/^blind solve took \([0-9.]*\) s$/\1/p' <<<"$out")"
  verdict="$(grep -q '^\[  PASSED  \] 1 test' <<<"$out" && echo passed || echo FAILED)"
  detail="$(grep '^centre off' <<<"$out" || true)"
  echo "view $v: ${t:-no solve} s, $verdict${detail:+; $detail}"
  [ -n "$t" ] && times+=("$t")
done
[ ${#times[@]} -gt 0 ] || { echo "no view solved" >&2; exit 1; }
printf '%s\n' "${times[@]}" | sort -g | awk '{a[NR]=$1} END {m = NR % 2 ? a[(NR+1)/2] : (a[NR/2] + a[NR/2+1]) / 2; printf "median solve time: %.1f s over %d views\n", m, NR}'
