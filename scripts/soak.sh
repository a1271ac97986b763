#!/usr/bin/env bash
# Soak of the velmora program: builds it and the soak test (in build, Release), then sends it
# COUNT random events (default 10000) from a fixed seed under its own Xvfb, and checks that it is
# alive, still answers a key, and quits on q with status 0. Needs the sky data (scripts/data.sh).
#   bash scripts/soak.sh               10000 events, the default seed
#   bash scripts/soak.sh 500 7         500 events of seed 7
# The events sent are kept in the test's temporary folder only when the test fails (they are
# printed then); VELMORA_TEST_SHOTS=1 keeps the last two pictures in /tmp.
set -euo pipefail

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=${SOAK_BUILD:-$ROOT/build}
COUNT=${1:-10000}
SEED=${2:-20021}

export CCACHE_BASEDIR=$ROOT
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S "$ROOT" -B "$BUILD" -DCMAKE_BUILD_TYPE=Release "${launcher[@]}" >/dev/null
cmake --build "$BUILD" -j"${JOBS:-1}" --target velmora velmora_soak_e2e_test >/dev/null

# The program looks for its data beside its binary (scripts/data.sh links it there), then below
# TOPDIR: the source tree holds it too.
export TOPDIR=${TOPDIR:-$ROOT}
echo "soak: $COUNT events, seed $SEED"
start=$(date +%s)
VELMORA_SOAK_EVENTS=$COUNT VELMORA_SOAK_SEED=$SEED "$BUILD/bin/velmora_soak_e2e_test"
echo "soak: done in $(( $(date +%s) - start )) s"
