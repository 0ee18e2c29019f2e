#!/usr/bin/env bash
# Builds and tests everything, warnings as errors:
#   native    the portable core and the Linux library, tests on OSMesa
#   windows   OrvantaDLL.dll and its test programs, run under Wine on a virtual display
#   sanitize  the native tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   tsan      the raytrace tests (Render*, Raytrace*) under ThreadSanitizer; the filter is
#             the test preset's
#   fuzz      the libFuzzer targets, each run for ORVANTA_FUZZ_SECONDS (default 60) seconds
# Usage: scripts/test.sh [preset ...]   (default: all five)
set -uo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh || exit 1

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(native windows sanitize tsan fuzz)
jobs=$(nproc 2>/dev/null || echo 2)
summary=()
passed=0
failed=0

for preset in "${presets[@]}"; do
  [ "$preset" = fuzz ] && continue  # no CTest entries: run below
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

# Fuzz targets: each runs for a bounded time from its seed corpus fuzz/corpus/<name>; what
# it finds goes to build/fuzz/corpus-<name>, so the committed seeds stay as they are.
if [[ " ${presets[*]} " == *" fuzz "* ]]; then
  echo "==== fuzz: configure and build"
  if ! cmake --preset fuzz -DORVANTA_WERROR=ON >build-fuzz.configure.log 2>&1; then
    cat build-fuzz.configure.log
    summary+=("fuzz: configure failed")
    failed=$((failed + 1))
  elif ! cmake --build --preset fuzz -j "$jobs"; then
    summary+=("fuzz: build failed")
    failed=$((failed + 1))
  else
    rm -f build-fuzz.configure.log
    fuzz_passed=0
    fuzz_failed=0
    for fuzzer in build/fuzz/fuzz/*_fuzz; do
      name=$(basename "$fuzzer")
      found=build/fuzz/corpus-$name
      log=build/fuzz/$name.log
      mkdir -p "$found"
      echo "==== fuzz: $name for ${ORVANTA_FUZZ_SECONDS:-60} s"
      if (cd build/fuzz && "./fuzz/$name" "corpus-$name" "../../fuzz/corpus/${name%_fuzz}" \
            -max_total_time="${ORVANTA_FUZZ_SECONDS:-60}" -max_len=65536 -timeout=10 \
            -print_final_stats=1) >"$log" 2>&1; then
        grep -E '^Done [0-9]+ runs' "$log" || true
        fuzz_passed=$((fuzz_passed + 1))
      else
        tail -40 "$log"
        fuzz_failed=$((fuzz_failed + 1))
      fi
    done
    passed=$((passed + fuzz_passed))
    failed=$((failed + fuzz_failed))
    summary+=("fuzz: $fuzz_passed targets passed, $fuzz_failed failed (crash inputs in build/fuzz)")
  fi
fi

echo
echo "==== summary"
printf '%s\n' "${summary[@]}"
echo "ctest: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
