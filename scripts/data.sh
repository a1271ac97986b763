#!/usr/bin/env bash
# Builds the sky data that velmora reads, from catalogues and maps that Debian's packages ship:
#   data/stardata/HIP/hip.<n>.star, data/stardata/halvane.txt, the constellation file and the
#   colour maps, the planet table, Images/ALL.texture with its all-sky maps, samples/ with placed
#   models, and data/SOURCES.md with every source, its licence and its credit line.
# Usage: bash scripts/data.sh <builddir>
# The packages are fetched with `apt-get download` into .cache/debs (no system-wide install) and
# only the members needed are unpacked into .cache/pkgs/<package>, with the sha256 of their
# contents: an unpacked file damaged since is unpacked again. Nothing is rebuilt while the
# builder's sources and the packages are those of the last build (their checksum is kept in
# data/.built) and every output is there. The build folder gets the links bin/data, bin/Images and bin/samples, so that
# velmora finds the data next to its binary.
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)

BUILD=${1:-build}
case "$BUILD" in /*) ;; *) BUILD="$ROOT/$BUILD" ;; esac
BIN="$BUILD/bin"

DEBS="$ROOT/.cache/debs"
PKGS="$ROOT/.cache/pkgs"
mkdir -p "$DEBS" "$PKGS"

PACKAGES=(stellarium-data healpy-data python3-photutils kstars-data python3-astroquery)

# Members of each package that the builders read.
members() {
  case "$1" in
    stellarium-data)
      local s=./usr/share/stellarium
      echo $s/stars/default
      for f in constellationship.fab constellation_names.eng.fab star_names.fab; do
        echo $s/skycultures/western/$f
      done
      echo $s/data/constellation_boundaries.dat
      echo $s/models
      echo $s/textures/milkyway.png
      for f in textures.json m51-vasey.png m31.png m27dumont.png m1dumont.png; do
        echo $s/nebulae/default/$f
      done
      echo ./usr/share/doc/stellarium-data
      ;;
    healpy-data)
      echo ./usr/share/healpy/test/data/wmap_band_iqumap_r9_7yr_V_v4_udgraded32.fits
      echo ./usr/share/healpy/test/data/wmap_band_iqumap_r9_7yr_W_v4_udgraded32.fits
      echo ./usr/share/doc/healpy-data
      ;;
    python3-photutils)
      echo ./usr/lib/python3/dist-packages/photutils/datasets/data/fermi_counts.fits.gz
      echo ./usr/share/doc/python3-photutils
      ;;
    python3-astroquery)
      # The orbit database's planets, and the archive's names of their stars (a second source
      # that the tests check the planets' stars against).
      local a=./usr/lib/python3/dist-packages/astroquery
      echo $a/exoplanet_orbit_database/tests/data/exoplanet_orbit_database.csv
      echo $a/ipac/nexsci/nasa_exoplanet_archive/tests/data/aliastable_expect_3.txt
      echo ./usr/share/doc/python3-astroquery
      ;;
    kstars-data)
      for f in stars.dat namedstars.dat unnamedstars.dat; do echo ./usr/share/kstars/$f; done
      echo ./usr/share/doc/kstars-data
      ;;
  esac
}

debOf() { ls "$DEBS"/"$1"_*.deb 2>/dev/null | head -n 1; }

fetch() {
  local p=$1
  [ -n "$(debOf "$p")" ] && return 0
  echo "Downloading $p"
  if ! (cd "$DEBS" && apt-get download -q "$p" >/dev/null 2>&1); then
    local SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    $SUDO apt-get update -qq || true
    (cd "$DEBS" && apt-get download -q "$p" >/dev/null) || return 1
  fi
}

# The fingerprint of what is unpacked of a package: the sha256 of every file's content, by path.
contentSum() {
  (cd "$PKGS/$1" && find . -type f ! -name '.unpacked*' -print0 | sort -z | xargs -0 -r sha256sum) |
    sha256sum | cut -d' ' -f1
}

# Unpacks the members into .cache/pkgs/<package>; the stamp records a complete unpack and the
# fingerprint of its files' contents, so that a file damaged or changed since unpacks again.
unpack() {
  local p=$1 deb
  deb=$(debOf "$p")
  local stamp="$PKGS/$p/.unpacked" sums="$PKGS/$p/.unpacked.sha256"
  # The stamp holds the member list, so that a longer list unpacks again.
  if [ -f "$stamp" ] && [ "$stamp" -nt "$deb" ] && [ "$(cat "$stamp")" = "$(members "$p")" ] && [ -f "$sums" ]; then
    if [ "$(cat "$sums")" = "$(contentSum "$p")" ]; then return 0; fi
    echo "data.sh: the unpacked files of $p differ from the package; unpacking it again" >&2
  fi
  echo "Unpacking $(basename "$deb")"
  rm -f "$stamp"
  mkdir -p "$PKGS/$p"
  # shellcheck disable=SC2046
  dpkg --fsys-tarfile "$deb" | tar -x -C "$PKGS/$p" $(members "$p") || return 1
  contentSum "$p" >"$sums"
  members "$p" >"$stamp"
  UNPACKED=1
}

MISSING=0
# Set once a package is unpacked in this run: its files were replaced, so the data is built
# again, whatever the last build read.
UNPACKED=0
for p in "${PACKAGES[@]}"; do
  ok=0
  if fetch "$p"; then
    if unpack "$p"; then ok=1; else
      # A damaged download: fetch it once more.
      echo "data.sh: $p did not unpack; downloading it again" >&2
      rm -f "$(debOf "$p")"
      fetch "$p" && unpack "$p" && ok=1
    fi
  fi
  if [ "$ok" -ne 1 ]; then
    echo "data.sh: could not get $p; the sky data is not built and its checks are skipped" >&2
    MISSING=1
  fi
done
if [ "$MISSING" -ne 0 ]; then
  exit 0
fi

BUILDER="$BIN/velmora-skydata"
if [ ! -x "$BUILDER" ]; then
  echo "data.sh: $BUILDER is not built; run scripts/build.sh first" >&2
  exit 1
fi

# Up to date when the stamp holds the checksum of the builder's sources, this script and the
# packages it read, their member lists and the fingerprints of the unpacked contents (so that
# the release and the sanitizer builds share one data set).
STAMP="$ROOT/data/.built"
SUM=$(cat "$ROOT"/skydata/*.h "$ROOT"/skydata/*.cpp "$ROOT/scripts/data.sh" "$PKGS"/*/.unpacked \
  "$PKGS"/*/.unpacked.sha256 | sha256sum | cut -d' ' -f1)
SUM="$SUM $(cd "$DEBS" && ls ./*.deb | sha256sum | cut -d' ' -f1)"
# A missing output builds everything again too.
OUTPUTS=(data/SOURCES.md data/stardata/halvane.txt data/stardata/constellation.txt
  data/stardata/bv_colormap.txt data/stardata/sp_colormap.txt data/stardata/planets.txt Images/ALL.texture
  samples/pleiades.obj)
for n in $(seq 1 12); do OUTPUTS+=("data/stardata/HIP/hip.$n.star"); done
for m in milkyway starlight_B starlight_V wmap_V wmap_W fermi; do OUTPUTS+=("Images/$m.ppm"); done
for s in m51 m31 m27 m1; do OUTPUTS+=("samples/$s.obj" "samples/$s-misplaced.obj" "samples/$s.mtl" "samples/$s.ppm"); done
complete=1
for o in "${OUTPUTS[@]}"; do [ -f "$ROOT/$o" ] || complete=0; done
if [ "$complete" -ne 1 ] || [ "$UNPACKED" -ne 0 ] || [ ! -f "$STAMP" ] || [ "$(cat "$STAMP")" != "$SUM" ]; then
  echo "Building the sky data"
  rm -f "$STAMP"
  "$BUILDER" --pkgs "$PKGS" --out "$ROOT"
  echo "$SUM" > "$STAMP"
fi

# The program looks for data next to its binary.
for d in data Images samples; do
  ln -sfn "$ROOT/$d" "$BIN/$d"
done
