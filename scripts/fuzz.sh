#!/usr/bin/env bash
# Builds the fuzz targets of the readers (clang, libFuzzer, AddressSanitizer and UBSan, in
# build-fuzz) and runs each for FUZZ_SECONDS seconds (default 30), starting from its seed corpus
# in tests/fuzz/corpus/<reader>. New inputs go to a working corpus under build-fuzz, never into
# the seeds. Prints, per reader, the runs made and the findings (crash, leak, timeout and
# out-of-memory files libFuzzer wrote to build-fuzz/findings/<reader>/), and exits with 1 if any
# reader had a finding.
#   FUZZ_SECONDS=30 bash scripts/fuzz.sh               all readers
#   FUZZ_SECONDS=180 bash scripts/fuzz.sh obj ez       only the readers named
# A finding is run again on its own with: build-fuzz/fuzz/fuzz_<reader> <file>
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${FUZZ_BUILD:-$ROOT/build-fuzz}
SECONDS_PER_READER=${FUZZ_SECONDS:-30}
JOBS=${JOBS:-1}
# A single input taking longer than this is a hang.
TIMEOUT_SECONDS=10
# Longest input tried; the seeds are a few KB at most.
MAX_LEN=8192

ALL_READERS=(star_catalogue star_param constellations colormap planets mst obj ez pnm texture texlist)
READERS=("$@")
[ ${#READERS[@]} -eq 0 ] && READERS=("${ALL_READERS[@]}")

export CCACHE_BASEDIR=$ROOT
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_C_COMPILER=clang -DVELMORA_FUZZ=ON -DVELMORA_BENCH=OFF "${launcher[@]}" >/dev/null
targets=()
for r in "${READERS[@]}"; do targets+=("fuzz_$r"); done
cmake --build "$BUILD" -j"$JOBS" --target "${targets[@]}" >/dev/null

# The constellation and planet targets read the real star set.
if [ ! -f "$ROOT/data/stardata/HIP/hip.1.star" ]; then
  echo "fuzz.sh: data/stardata/HIP/hip.1.star is missing; build the sky data first (scripts/data.sh)" >&2
  exit 1
fi

status=0
printf '%-16s %10s %9s %s\n' reader runs findings files
for r in "${READERS[@]}"; do
  work="$BUILD/corpus/$r"
  findings="$BUILD/findings/$r"
  log="$BUILD/logs/$r.log"
  mkdir -p "$work" "$findings" "$(dirname "$log")"
  # Stdout and stderr of the readers go to /dev/null (close_fd_mask); libFuzzer's own report
  # and the sanitizers' still reach the log.
  set +e
  "$BUILD/fuzz/fuzz_$r" "$work" "$ROOT/tests/fuzz/corpus/$r" \
      -max_total_time="$SECONDS_PER_READER" -timeout="$TIMEOUT_SECONDS" -max_len="$MAX_LEN" \
      -close_fd_mask=3 -print_final_stats=1 -artifact_prefix="$findings/" >"$log" 2>&1
  rc=$?
  set -e
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  [ -z "$runs" ] && runs=$(grep -o '^#[0-9]*' "$log" | tail -1 | tr -d '#')
  found=$(find "$findings" -type f | wc -l)
  files=$(find "$findings" -type f -printf '%f ' | head -c 200)
  printf '%-16s %10s %9s %s\n' "$r" "${runs:-0}" "$found" "$files"
  if [ "$rc" -ne 0 ] || [ "$found" -ne 0 ]; then
    status=1
    grep -m3 -E 'ERROR|SUMMARY|fuzz guard' "$log" | sed 's/^/    /' || true
  fi
done
exit $status
