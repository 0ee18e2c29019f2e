#!/usr/bin/env bash
# Builds the native library and runs the two demos:
#   build/showcase.png     the raytraced showcase: a scene of boxes, spheres, a mirror and a
#                          glass ball on a checkered floor, rendered by the library's raytracer
#   build/viewer_demo.png  a host's OpenGL scene whose materials, lights and environment
#                          OrvantaDLL defines (and .ppm; the .png when ImageMagick is there)
# Arguments go to the showcase: --size WxH, --threads N, --obj FILE.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset native >/dev/null
cmake --build --preset native --target showcase viewer_demo
./build/native/examples/showcase --out build/showcase.png "$@"
echo "demo: build/showcase.png"
./build/native/examples/viewer_demo build/viewer_demo.ppm
if command -v convert >/dev/null 2>&1; then
  convert build/viewer_demo.ppm build/viewer_demo.png && echo "demo: build/viewer_demo.png"
fi
