#!/usr/bin/env bash
# Runs a Windows program of a cross build under wine: the emulator of the Windows presets
# (CMAKE_CROSSCOMPILING_EMULATOR), so that ctest, test discovery and tests that start the
# tools all go through it.
#
#   wine-run.sh --prefix DIR [--dll-dir DIR]... PROGRAM.exe [ARGUMENT]...
#   wine-run.sh --prefix DIR --keep
#
# --keep makes the prefix if need be and keeps its wine server and wine's own services
# running until `wineserver -k`, so that each program after it starts in about a second
# instead of six.
# --dll-dir directories (the compiler's run-time DLLs, Common.dll's) go into WINEPATH.
# --prefix is the wine prefix, made on first use (wineboot takes about 40 s, once) with
# the crash debugger turned off: a program that aborts, as a death test's child does,
# simply ends instead of waiting in winedbg. A WINEPREFIX in the environment wins.
set -euo pipefail

prefix=
keep=
dll_dirs=()
while [ $# -gt 0 ]; do
    case "$1" in
    --prefix) prefix="$2"; shift 2 ;;
    --dll-dir) dll_dirs+=("$2"); shift 2 ;;
    --keep) keep=1; shift ;;
    *) break ;;
    esac
done
if [ $# -eq 0 ] && [ -z "$keep" ]; then
    echo "usage: wine-run.sh --prefix DIR [--dll-dir DIR]... PROGRAM [ARGUMENT]... | --keep" >&2
    exit 2
fi

export WINEPREFIX="${WINEPREFIX:-$prefix}"
export WINEDEBUG=-all
# No Mono or Gecko install offers while the prefix is made; no window system is needed.
export WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY

winepath=
for dir in "${dll_dirs[@]}"; do
    winepath="${winepath:+$winepath;}Z:${dir//\//\\}"
done
export WINEPATH="$winepath"

make_prefix()
{
    local aedebug='HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug'
    local aedebug32='HKLM\Software\Wow6432Node\Microsoft\Windows NT\CurrentVersion\AeDebug'
    wineboot --init >/dev/null 2>&1
    for key in "$aedebug" "$aedebug32"; do
        wine reg delete "$key" /v Debugger /f >/dev/null 2>&1 || true
        wine reg add "$key" /v Auto /t REG_SZ /d 0 /f >/dev/null 2>&1
    done
    wineserver -w
    touch "$WINEPREFIX/.common-ready"
}

# Two tests may start at once: the first makes the prefix, the other waits for it.
if [ ! -e "$WINEPREFIX/.common-ready" ]; then
    mkdir -p "$(dirname "$WINEPREFIX")"
    exec 9>"$WINEPREFIX.lock"
    flock 9
    [ -e "$WINEPREFIX/.common-ready" ] || make_prefix
    flock -u 9
    exec 9>&-
fi

if [ -n "$keep" ]; then
    # The server takes -p only when it starts, so the prefix's last one is waited out
    # first. The services start with no pipe of the caller's: they would hold it open,
    # and whoever reads a program's output (a test discovery) would wait for them.
    wineserver -w
    wineserver -p
    wine cmd /c ver </dev/null >/dev/null 2>&1
    exit 0
fi
exec wine "$@"
