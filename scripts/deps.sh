#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing need.
# Quick when everything is there already: apt is only asked for what is missing.
set -euo pipefail

PACKAGES=(
  build-essential cmake pkg-config git python3 ca-certificates
  libgtest-dev libgmock-dev libbenchmark-dev
  zlib1g-dev freeglut3-dev libglu1-mesa-dev libx11-dev libimgui-dev libstb-dev
  xvfb xdotool x11-utils imagemagick
  libcfitsio-dev libchealpix-dev wcslib-dev libexempi-dev
  astrometry.net astrometry-data-tycho2-10-19-littleendian
  assimp-utils libtinyobjloader-dev
  clang libclang-rt-14-dev
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
