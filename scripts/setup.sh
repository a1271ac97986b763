#!/usr/bin/env bash
# The set-up both commands share: installs what is needed, builds (BUILD=release or asan) and
# builds the sky data. Prints the build folder on its last line.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh >&2
DIR=$(bash scripts/build.sh | tail -n 1)
bash scripts/data.sh "$DIR" >&2
echo "$DIR"
