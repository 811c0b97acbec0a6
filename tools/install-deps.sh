#!/usr/bin/env bash
# Installs the Debian packages Zelmap needs to build, test and run; does nothing when
# they are all present.
set -euo pipefail
packages=(cmake ninja-build g++ clang libclang-rt-14-dev qt6-base-dev qt6-tools-dev
          qt6-tools-dev-tools qt6-l10n-tools libtiff-dev libfftw3-dev libopencv-imgproc-dev libgtest-dev libbenchmark-dev
          xvfb xauth fonts-dejavu-core fonts-ipafont-gothic)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo=sudo
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
