#!/usr/bin/env bash
# Builds and tests everything, warnings as errors:
#   native    the portable core and the Linux library, tests on OSMesa
#   windows   OrvantaDLL.dll and its test programs, run under Wine on a virtual display
#   sanitize  the native tests under AddressSanitizer and UndefinedBehaviorSanitizer
# Usage: scripts/test.sh [preset ...]   (default: all three)
set -uo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh || exit 1

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(native windows sanitize)
jobs=$(nproc 2>/dev/null || echo 2)
summary=()
passed=0
failed=0

for preset in "${presets[@]}"; do
  echo "==== $preset: configure and build"
  if ! cmake --preset "$preset" -DORVANTA_WERROR=ON >"build-$preset.configure.log" 2>&1; then
    cat "build-$preset.configure.log"
    summary+=("$preset: configure failed")
    failed=$((failed + 1))
    continue
  fi
  rm -f "build-$preset.configure.log"
  if ! cmake --build --preset "$preset" -j "$jobs"; then
    summary+=("$preset: build failed")
    failed=$((failed + 1))
    continue
  fi
  echo "==== $preset: test"
  log="build/$preset/ctest.log"
  ctest --preset "$preset" -j "$jobs" --timeout 900 -V >"$log" 2>&1
  grep -E '^[0-9]+/[0-9]+ Test +#|tests passed|tests failed' "$log" || true
  grep -E '^[0-9]+: .*\[  FAILED  \]|^[0-9]+: .*Failure' "$log" | head -40 || true
  line=$(grep -E '[0-9]+% tests passed' "$log" | tail -1)
  total=$(sed -nE 's/.* out of ([0-9]+).*/\1/p' <<<"$line")
  bad=$(sed -nE 's/.*, ([0-9]+) tests? failed.*/\1/p' <<<"$line")
  if [ -z "$total" ]; then
    summary+=("$preset: ctest did not finish (see $log)")
    failed=$((failed + 1))
    continue
  fi
  passed=$((passed + total - bad))
  failed=$((failed + bad))
  inside=""
  if [ "$preset" = windows ]; then  # one CTest entry runs a whole test program under Wine
    inside=$(grep -E '^[0-9]+: \[  (PASSED|FAILED|SKIPPED) +\] [0-9]+ tests?' "$log" \
             | sed -E 's/^[0-9]+: //' | paste -sd ' ' -)
  fi
  summary+=("$preset: $line${inside:+ (inside Wine: $inside)}")
done

echo
echo "==== summary"
printf '%s\n' "${summary[@]}"
echo "ctest: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
