#!/bin/bash
# Runs one Windows program under Wine: the emulator CTest, the demo and the
# benchmarks go through. Usage: wine-run.sh [--prefix DIR] PROGRAM [ARGS...]
#
# - A private WINEPREFIX (by default in the build tree), created once under a
#   lock with the Mono/Gecko installers switched off.
# - One persistent wineserver per prefix, so that each program starts fast.
# - A headless X server when DISPLAY is unset, shared by every run.
# - No debugger in the prefix: a crashing program ends at once, never waits.
# - ZOR_HEAPCHECK=1 turns on Wine's heap checker: any "err:heap" line in the
#   program's error output fails the run, whatever its exit code.
set -u

prefix=
if [ "${1:-}" = "--prefix" ]; then
  prefix=$2
  shift 2
fi
[ $# -ge 1 ] || { echo "usage: $0 [--prefix DIR] PROGRAM [ARGS...]" >&2; exit 2; }

export WINEPREFIX=${prefix:-${WINEPREFIX:-$HOME/.wine-zorutils}}
export WINEARCH=win64
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
mkdir -p "$(dirname "$WINEPREFIX")"
lock="$WINEPREFIX.lock"

# A headless display shared by all runs that use this prefix.
if [ -z "${DISPLAY:-}" ]; then
  exec 8>"$lock.x"
  flock 8
  dispfile="$WINEPREFIX.display"
  disp=$(cat "$dispfile" 2>/dev/null)
  if [ -z "$disp" ] || ! [ -e "/tmp/.X11-unix/X${disp#:}" ] || ! kill -0 "$(cat "/tmp/.X${disp#:}-lock" 2>/dev/null | tr -d ' ')" 2>/dev/null; then
    for n in $(seq 90 140); do
      if [ ! -e "/tmp/.X$n-lock" ] && [ ! -e "/tmp/.X11-unix/X$n" ]; then
        setsid nohup Xvfb ":$n" -screen 0 1280x1024x24 -nolisten tcp </dev/null >/dev/null 2>&1 8>&- &
        for _ in $(seq 1 50); do [ -e "/tmp/.X11-unix/X$n" ] && break; sleep 0.1; done
        disp=":$n"
        echo "$disp" > "$dispfile"
        break
      fi
    done
  fi
  export DISPLAY=$disp
  exec 8>&-
fi

# The prefix is made once; concurrent first runs wait for it.
if [ ! -f "$WINEPREFIX/.zor-ready" ]; then
  exec 9>"$lock"
  flock 9
  if [ ! -f "$WINEPREFIX/.zor-ready" ]; then
    WINEDEBUG=-all wineboot -i >/dev/null 2>&1
    WINEDEBUG=-all wineserver -w
    touch "$WINEPREFIX/.zor-ready"
  fi
  exec 9>&-
fi
# Keep one server alive for the whole run (it ends when ./zor stops it, or
# after its persistence delay when nobody needs it).
WINEDEBUG=-all wineserver -p60 >/dev/null 2>&1
# The first program of a server starts Wine's own service processes, which
# inherit its output handles and outlive it: start them with ours closed, or a
# pipe reading this program's output would never see its end.
WINEDEBUG=-all wine cmd.exe /c exit 0 </dev/null >/dev/null 2>&1
# No debugger for a crashing program: Wine's own one shows a crash dialog that
# waits on the display until the test's time limit. With a debugger that
# cannot start, a crash ends the program at once with its exception code.
if [ ! -f "$WINEPREFIX/.zor-no-debugger" ]; then
  exec 9>"$lock"
  flock 9
  if [ ! -f "$WINEPREFIX/.zor-no-debugger" ]; then
    aedebug='HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug'
    WINEDEBUG=-all wine reg add "$aedebug" /v Debugger /t REG_SZ /d zor-no-debugger /f </dev/null >/dev/null 2>&1 &&
      WINEDEBUG=-all wine reg add "$aedebug" /v Auto /t REG_SZ /d 1 /f </dev/null >/dev/null 2>&1 &&
      touch "$WINEPREFIX/.zor-no-debugger"
  fi
  exec 9>&-
fi

if [ "${ZOR_HEAPCHECK:-0}" = "1" ]; then
  # +heap validates the heap on every call and traces each one; the traces are
  # dropped here. On a damaged heap Wine asserts and then hangs inside its own
  # exception handling, so the first "err:heap" line ends the program.
  export WINEDEBUG=${ZOR_WINEDEBUG:-+heap}
  work=$(mktemp -d)
  mkfifo "$work/err"
  wine "$@" 2>"$work/err" &
  pid=$!
  grep --line-buffered -v ':trace:heap:' <"$work/err" | while IFS= read -r line; do
    printf '%s\n' "$line" >&2
    case $line in
      *err:heap*)
        touch "$work/failed"
        kill -9 "$pid" 2>/dev/null
        ;;
    esac
  done &
  reader=$!
  wait "$pid"
  rc=$?
  # Wine's own processes may keep the pipe open: give the reader a moment to
  # drain, then stop it rather than wait for an end that may not come.
  sleep 0.3
  pkill -P "$reader" 2>/dev/null
  kill "$reader" 2>/dev/null
  wait "$reader" 2>/dev/null
  if [ -e "$work/failed" ]; then
    echo "wine-run: heap check failed for $1" >&2
    rc=99
  fi
  rm -rf "$work"
  exit $rc
fi

export WINEDEBUG=${ZOR_WINEDEBUG:--all}
exec wine "$@"
