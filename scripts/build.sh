#!/usr/bin/env bash
# Configures and builds. BUILD=release (default) or BUILD=asan (Debug with AddressSanitizer
# and UBSan). The build folder is build/ or build-asan/.
set -euo pipefail
cd "$(dirname "$0")/.."

BUILD=${BUILD:-release}
case "$BUILD" in
  release) DIR=build;      ARGS=(-DCMAKE_BUILD_TYPE=Release) ;;
  asan)    DIR=build-asan; ARGS=(-DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=ON -DVELMORA_BENCH=OFF) ;;
  *) echo "BUILD must be release or asan, not '$BUILD'" >&2; exit 2 ;;
esac

JOBS=${JOBS:-$(nproc)}
cmake -S . -B "$DIR" "${ARGS[@]}" >/dev/null
cmake --build "$DIR" -j "$JOBS"
echo "$DIR"
