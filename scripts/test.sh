#!/usr/bin/env bash
# Installs what is needed, builds, builds the sky data, and runs the whole test suite.
#   bash scripts/test.sh               release build
#   BUILD=asan bash scripts/test.sh    Debug build with AddressSanitizer and UBSan
# Extra arguments go to ctest, e.g. -R Phcoord or -L gui.
set -euo pipefail
cd "$(dirname "$0")/.."

DIR=$(bash scripts/setup.sh | tail -n 1)

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
cd "$DIR"
ctest --output-on-failure -j "${JOBS:-$(nproc)}" --timeout 300 "$@"
