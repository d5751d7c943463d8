#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need.
# Idempotent: only packages that are missing are installed.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config
  qtbase5-dev qtbase5-dev-tools libqt5svg5-dev qt5-image-formats-plugins
  qtwebengine5-dev libqt5webchannel5-dev
  libproj-dev proj-data proj-bin libsqlite3-dev
  libexif-dev libjpeg-dev
  libopencv-imgproc-dev libopencv-contrib-dev
  libjs-leaflet libjs-leaflet.markercluster
  libboost-filesystem-dev libboost-thread-dev libtbb-dev
  xvfb xauth imagemagick libimage-exiftool-perl
  clang libclang-rt-14-dev
  fonts-dejavu-core
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-deps: installing ${missing[*]}"
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
