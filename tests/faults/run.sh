#!/usr/bin/env bash
# Plants each fault of tests/faults/*.patch into this checkout in turn, builds, runs the test
# program that covers the faulty code and reports which tests caught it. The checkout is put
# back after every fault (also when the script is interrupted).
#
# A patch names its suite in its first line:
#   Suite: native    the portable tests, natively (orvanta_tests)
#   Suite: wine      the DLL's own tests under Wine (orvanta_tests.exe)
#   Suite: editors   the editor tests under Wine (orvanta_editor_tests.exe), stopping at the
#                    first failure
# A fault counts as caught when a test fails, the program crashes or it runs past the time limit.
#
# Usage: tests/faults/run.sh [-o table.md] [patch ...]      (default: every patch)
# Build trees: $FAULTS_NATIVE_BUILD (build/faults-native), $FAULTS_WINDOWS_BUILD
# (build/faults-windows), configured on first use.
set -uo pipefail
cd "$(dirname "$0")/../.."
root=$PWD
out=""
if [ "${1:-}" = "-o" ]; then out=$2; shift 2; fi
patches=("$@")
[ ${#patches[@]} -gt 0 ] || patches=(tests/faults/*.patch)
native=${FAULTS_NATIVE_BUILD:-$root/build/faults-native}
windows=${FAULTS_WINDOWS_BUILD:-$root/build/faults-windows}
jobs=$(nproc 2>/dev/null || echo 2)
log=$(mktemp)
applied=""

restore() { [ -n "$applied" ] && git apply -R "$applied" && applied=""; }
trap 'restore; rm -f "$log"' EXIT
trap 'exit 130' INT TERM

configure() {  # preset dir
    [ -f "$2/build.ninja" ] || cmake --preset "$1" -B "$2" -DORVANTA_WERROR=ON >"$log" 2>&1 ||
        { cat "$log"; exit 1; }
}

# The failed tests of a GoogleTest log, or how the program ended when none failed.
verdict() {  # exit-status
    local failed
    sed -i 's/\r$//' "$log"  # Wine's console lines end in CR LF
    failed=$(grep -oE '^\[  FAILED  \] [A-Za-z][A-Za-z0-9_/.]*' "$log" | awk '{print $4}' | sort -u |
             paste -sd ' ' -)
    if [ -n "$failed" ]; then echo "$failed"
    elif [ "$1" -eq 124 ]; then echo "(time limit: $(grep -oE '^\[ RUN      \] [^ ]+' "$log" | tail -1 | awk '{print $4}'))"
    elif [ "$1" -ne 0 ]; then echo "(crash in $(grep -oE '^\[ RUN      \] [^ ]+' "$log" | tail -1 | awk '{print $4}'))"
    else echo "NOT CAUGHT"
    fi
}

run_suite() {  # suite
    case "$1" in
    native)
        configure native "$native"
        cmake --build "$native" -j "$jobs" --target orvanta_tests >"$log" 2>&1 || return 2
        (cd "$native/tests" && timeout 600 ./orvanta_tests) >"$log" 2>&1
        ;;
    wine|editors)
        configure windows "$windows"
        local program=orvanta_tests extra=()
        [ "$1" = editors ] && program=orvanta_editor_tests extra=(--gtest_fail_fast)
        cmake --build "$windows" -j "$jobs" --target "$program" >"$log" 2>&1 || return 2
        bash tests/wine/session.sh start "$windows" >/dev/null
        (cd "$windows" && ORVANTA_BUILD_DIR=$windows timeout 400 \
            bash "$root/tests/wine/wine-run.sh" "./$program.exe" "${extra[@]}") >"$log" 2>&1
        ;;
    *) echo "unknown suite $1" >"$log"; return 2 ;;
    esac
}

total=0
caught=0
row() { echo "$1"; [ -z "$out" ] || echo "$1" >>"$out"; }
[ -z "$out" ] || printf '| fault | suite | caught by | seconds |\n|---|---|---|---|\n' >"$out"
for patch in "${patches[@]}"; do
    name=$(basename "$patch" .patch)
    suite=$(sed -n 's/^Suite: //p' "$patch" | head -1)
    git apply "$patch" || { row "| $name | $suite | PATCH DOES NOT APPLY | 0 |"; continue; }
    applied=$patch
    start=$(date +%s)
    run_suite "$suite"
    status=$?
    if [ $status -eq 2 ]; then result="BUILD FAILED"; else result=$(verdict $status); fi
    restore
    total=$((total + 1))
    [[ "$result" == "NOT CAUGHT" || "$result" == "BUILD FAILED" ]] || caught=$((caught + 1))
    row "| $name | $suite | $result | $(( $(date +%s) - start )) |"
done
# Leave the build trees as the checkout is.
[ ! -f "$native/build.ninja" ] || cmake --build "$native" -j "$jobs" --target orvanta_tests >/dev/null 2>&1
row ""
row "$caught of $total faults caught"
