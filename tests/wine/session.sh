#!/usr/bin/env bash
# Starts or stops what the Windows tests share: a Wine prefix inside the build tree, a
# persistent wineserver (a Wine start otherwise costs seconds) and a virtual X display.
#   session.sh start BUILD_DIR    session.sh stop BUILD_DIR
set -eu
action=$1
build_dir=$(cd "$2" && pwd)
session="$build_dir/wine-session"
export WINEPREFIX=$build_dir/wineprefix
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
# The loader picks its own kind by the name it is called by: call wine64 itself.
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
wineserver=$(command -v wineserver || echo /usr/lib/wine/wineserver)

case "$action" in
start)
  mkdir -p "$session"
  if [ ! -f "$session/display" ] || ! kill -0 "$(cat "$session/xvfb.pid" 2>/dev/null)" 2>/dev/null; then
    exec 3>"$session/display.tmp"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp </dev/null >"$session/xvfb.log" 2>&1 &
    echo $! >"$session/xvfb.pid"
    exec 3>&-
    for _ in $(seq 100); do [ -s "$session/display.tmp" ] && break; sleep 0.1; done
    [ -s "$session/display.tmp" ] || { echo "Xvfb did not start"; cat "$session/xvfb.log"; exit 1; }
    mv "$session/display.tmp" "$session/display"
  fi
  export DISPLAY=":$(cat "$session/display")"
  [ -f "$WINEPREFIX/system.reg" ] || echo "creating the Wine prefix $WINEPREFIX"
  mkdir -p "$WINEPREFIX"
  # A server of the prefix may run already (a Wine program started it): keep that one.
  "$wineserver" -p </dev/null >/dev/null 2>&1 || true
  # Start the prefix's services now, with their output detached: started by a test program,
  # they would inherit its output and hold CTest's pipe open after the program ends.
  "$wine" wineboot --init </dev/null >/dev/null 2>&1 || true
  # Xvfb has no window manager; unmanaged windows close at once instead of after a timeout.
  "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f </dev/null >/dev/null 2>&1 || true
  echo "Wine session: prefix $WINEPREFIX, display $DISPLAY"
  ;;
stop)
  "$wineserver" -k 2>/dev/null || true
  if [ -f "$session/xvfb.pid" ]; then
    kill "$(cat "$session/xvfb.pid")" 2>/dev/null || true
    rm -f "$session/xvfb.pid" "$session/display"
  fi
  ;;
*) echo "usage: session.sh start|stop BUILD_DIR" >&2; exit 2 ;;
esac
