#!/usr/bin/env bash
# Installs what is missing, then configures, builds and runs the whole test suite
# (Debug build, libCommon_Dbg.so). Pass "asan" to run it under the sanitizers instead.
#
# "windows" cross-builds with mingw-w64 instead: the windows-x64 tree is built and its
# suite run under wine in a fresh wine prefix of its own; the windows-x86 tree, tests
# included, is only built, since this machine cannot start 32-bit programs.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-debug}"

if [ "$preset" = windows ]; then
    scripts/install-deps.sh windows
    cmake --preset windows-x64
    cmake --build --preset windows-x64 -j2
    # A throwaway prefix per run, made once before the tests (wineboot takes a while),
    # its wine server kept across them.
    export WINEPREFIX="$PWD/build/windows-x64/wineprefix"
    rm -rf "$WINEPREFIX" "$WINEPREFIX.lock"
    scripts/wine-run.sh --prefix "$WINEPREFIX" --keep
    trap 'wineserver -k || true' EXIT
    ctest --preset windows-x64
    cmake --preset windows-x86
    cmake --build --preset windows-x86 -j2
    exit 0
fi

scripts/install-deps.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"
