#!/usr/bin/env bash
# Writes the three benchmark scenes once (bench/gen_scenes.py, about 2 s and 88 MB) and runs
# the raytracer benchmark on them.
#   bench/run_raytrace_bench.sh [BUILD_DIR] [raytrace_bench options]
# BUILD_DIR defaults to build/native; the scenes go to BUILD_DIR/bench-scenes.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build/native}"
shift || true
scenes="$build/bench-scenes"
if [ ! -f "$scenes/soup.cam" ]; then
  python3 "$root/bench/gen_scenes.py" "$scenes" >/dev/null
fi
exec "$build/bench/raytrace_bench" "$scenes" "$@"
