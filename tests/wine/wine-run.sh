#!/usr/bin/env bash
# Runs a Windows program under Wine with the build tree's prefix and virtual display.
# CTest calls it as the cross-compiling emulator: wine-run.sh program.exe [arguments].
set -u
program=$1; shift
build_dir=${ORVANTA_BUILD_DIR:-$(cd "$(dirname "$program")" && pwd)}
session="$build_dir/wine-session"

export WINEPREFIX=${WINEPREFIX:-$build_dir/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all}
# No debugger: a program that crashes ends at once instead of waiting for one.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;winedbg.exe=d}
if [ -z "${DISPLAY:-}" ] && [ -f "$session/display" ]; then
  export DISPLAY=":$(cat "$session/display")"
fi

# The loader picks its own kind by the name it is called by: call wine64 itself.
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
exec "$wine" "$program" "$@"
