#!/usr/bin/env bash
# Builds the native library and runs the viewer demo: a host's OpenGL scene whose materials,
# lights and environment OrvantaDLL defines. Writes build/viewer_demo.ppm (and .png when
# ImageMagick is there).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset native >/dev/null
cmake --build --preset native --target viewer_demo
./build/native/examples/viewer_demo build/viewer_demo.ppm
if command -v convert >/dev/null 2>&1; then
  convert build/viewer_demo.ppm build/viewer_demo.png && echo "demo: build/viewer_demo.png"
fi
