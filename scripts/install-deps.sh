#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing need (the same names on
# Debian 12 and 13).
set -euo pipefail

packages=(
  # build
  build-essential cmake ninja-build pkg-config
  # Qt 6 (Core, Gui, Widgets, Xml, Test, private headers for the file engine) and its translation tools
  qt6-base-dev qt6-base-private-dev qt6-l10n-tools qt6-tools-dev-tools libgl-dev
  # metadata, JPEG decoding, property lists, XML, cameras
  libexiv2-dev libjpeg62-turbo-dev libplist-dev libxml2-dev libgphoto2-dev
  # Photos libraries (.photoslibrary): their database
  libsqlite3-dev
  # HEIC/HEIF (libheif; heif-enc and heif-convert for the samples and benchmarks), TIFF and WebP readers for Qt
  libheif-dev libheif-examples qt6-image-formats-plugins
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev libvips-tools libjpeg-turbo-progs python3
  # benchmarks of Photos libraries: sqlite3 reading the same rows, GNU time
  sqlite3 time
  # sanitizers and fuzzing with clang
  clang libclang-rt-dev
  # cameras: device detection through udev; gphoto2 as the benchmarks' peer
  libudev-dev gphoto2
)

# libheif 1.16 and later ship their codecs as plugins (Debian 13, Ubuntu 24.04); Debian 12's has them built in.
. /etc/os-release
if ! { [ "${ID:-}" = debian ] && [ "${VERSION_ID:-}" = 12 ]; }; then
  packages+=(libheif-plugin-libde265 libheif-plugin-x265)
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
