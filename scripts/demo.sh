#!/usr/bin/env bash
# Builds the native library and runs the demos:
#   build/showcase.png     the raytraced showcase: a scene of boxes, spheres, a mirror and a
#                          glass ball on a checkered floor, rendered by the library's raytracer
#   build/viewer_demo.png  a host's OpenGL scene whose materials, lights and environment
#                          OrvantaDLL defines (and .ppm; the .png when ImageMagick is there)
# Then, where the mingw-w64 cross compiler and Wine are there, Orvanta Studio's scripted
# session under Wine on a virtual display:
#   build/studio.png           the studio with the material tool open over the block
#   build/studio-raytrace.png  the studio's view raytraced by the library
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

# ---- Orvanta Studio under Wine ----
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
missing=()
command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1 || missing+=("the mingw-w64 cross compiler")
[ -x "$wine" ] || missing+=("Wine")
command -v Xvfb >/dev/null 2>&1 || missing+=("Xvfb")
if [ ${#missing[@]} -gt 0 ]; then
  echo "demo: no Orvanta Studio pictures: ${missing[*]} missing (scripts/setup.sh installs them)"
  exit 0
fi
cmake --preset windows >/dev/null
cmake --build --preset windows --target studio mechanism
session=build/windows/wine-session
# A session the tests left running stays running; one started here is stopped again.
started=0
if [ ! -f "$session/display" ] || ! kill -0 "$(cat "$session/xvfb.pid" 2>/dev/null)" 2>/dev/null; then
  started=1
fi
bash tests/wine/session.sh start build/windows
stop_session() { [ "$started" -eq 0 ] || bash tests/wine/session.sh stop build/windows; }
trap stop_session EXIT
out=build/windows/studio_demo
rm -rf "$out"
mkdir -p "$out"
export ORVANTA_BUILD_DIR=$PWD/build/windows
if bash tests/wine/wine-run.sh build/windows/mechanism.exe "$out/mechanism.txt" &&
   bash tests/wine/wine-run.sh build/windows/studio.exe --script "$out" \
     --mechanism "$out/mechanism.txt"; then
  echo "demo: Orvanta Studio's scripted session passed every check"
  failed=0
else
  echo "demo: Orvanta Studio's scripted session failed:"
  cat "$out/report.txt" 2>/dev/null || echo "(no report)"
  failed=1
fi
for picture in studio.png studio-raytrace.png; do
  if [ -f "$out/$picture" ]; then
    cp "$out/$picture" "build/$picture"
    echo "demo: build/$picture"
  fi
done
exit "$failed"
