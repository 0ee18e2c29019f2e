#!/usr/bin/env bash
# Installs the Debian packages that building and testing OrvantaDLL needs and that a fresh
# machine may lack. Safe to run again: it installs only what is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  wine64 xvfb xauth x11-utils imagemagick
  libgl1-mesa-dri libosmesa6-dev libglu1-mesa-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libstb-dev libpng-dev libtinyobjloader-dev libembree-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

echo "setup: all packages present"
