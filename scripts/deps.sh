#!/usr/bin/env bash
# Installs through apt-get every Debian package that building, testing and running the demo need
# and that is not installed yet. Extra package names given as arguments are installed too.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config                 # the build
  libx11-dev libxt-dev libmotif-dev libxtst-dev    # Xlib, Xt, Motif, XTest
  libxres-dev                                      # counting X resources in leak tests
  libgtest-dev libgmock-dev libbenchmark-dev       # tests and benchmarks
  libpng-dev                                       # screenshots and failure images
  zlib1g-dev                                       # the job monitor reads gzipped traces
  xvfb xauth x11-utils xdotool                     # private X servers and real input
  xfonts-base xfonts-75dpi xfonts-100dpi           # the fonts the toolkit asks X for
  locales gettext                                  # translated texts, other numeric locales
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
    missing+=("$package")
done
((${#missing[@]})) || exit 0

sudo=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Run as root to install: ${missing[*]}" >&2; exit 1; }
  sudo=(sudo)
fi
echo "Installing: ${missing[*]}"
"${sudo[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
