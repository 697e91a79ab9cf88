#!/usr/bin/env bash
# Stored forms are the same on Linux and Windows: one tree packed by the Linux arc and
# by arc.exe under wine gives byte-identical archives, each side lists, verifies and
# extracts the other's archive back to the tree, and a binary stream, a property
# manager and a parameter list written on either side are byte-identical and read back
# on the other (tests/support/storedforms.cpp).
#   scripts/windows-crosscheck.sh [LINUX_BUILD] [WINDOWS_BUILD]
# (default build/debug and build/windows-x64, both built with their tests). A wine
# prefix is made for the run unless WINEPREFIX names one.
set -euo pipefail
cd "$(dirname "$0")/.."
linux="$(realpath "${1:-build/debug}")"
windows="$(realpath "${2:-build/windows-x64}")"

work="$(mktemp -d)"
wine_run="$PWD/scripts/wine-run.sh"
# The tests' prefix when one is given (CI passes the one the Windows suite just used),
# else one of the run's own, which takes about 30 s to make.
prefix="${WINEPREFIX:-$work/wineprefix}"
cleanup() {
    WINEPREFIX="$prefix" wineserver -k 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

failures=0
check() {
    local what="$1"
    shift
    if "$@"; then
        echo "ok: $what"
    else
        echo "FAILED: $what"
        failures=$((failures + 1))
    fi
}
# The library's DLL and the mingw-w64 run-time DLLs it and the programs need.
dll_dirs=()
for dir in "$windows/common" /usr/lib/gcc/x86_64-w64-mingw32/*-posix /usr/x86_64-w64-mingw32/lib; do
    dll_dirs+=(--dll-dir "$dir")
done
wine_run() { "$wine_run" --prefix "$prefix" "${dll_dirs[@]}" "$@" </dev/null; }
"$wine_run" --prefix "$prefix" --keep
# What a program printed, without the carriage returns of Windows' text mode.
unix_text() { tr -d '\r'; }

# A tree with nested, empty and many-file directories, binary data and odd names, and
# names whose order differs between plain bytes and NTFS's upper-cased compare.
tree="$work/tree"
mkdir -p "$tree/town/cellar" "$tree/empty" "$tree/many" "$tree/with space" "$tree/Zone" "$tree/_tmp"
for name in ab a_b Bravo alpha '~tilde' 'Z-9' a.b 10 9; do printf '%s' "$name" >"$tree/$name"; done
printf 'abc' >"$tree/a.txt"
printf 'HALL\r\n\0\377' >"$tree/town/hall.dat"
head -c 70000 /dev/urandom >"$tree/town/cellar/barrel.bin"
: >"$tree/town/zero"
printf 'space' >"$tree/with space/file name.txt"
for i in $(seq 1 40); do printf '%s' "$i" >"$tree/many/f$i"; done

cd "$work"
echo "== arc: Linux and Windows pack the same bytes"
"$linux/tools/arc/arc" -q create linux tree
wine_run "$windows/tools/arc/arc.exe" -q create windows tree
check "arc create and arc.exe create give byte-identical archives" cmp linux.arc windows.arc

echo "== arc.exe on Linux's archive, arc on Windows'"
"$linux/tools/arc/arc" list -l linux >list-linux
wine_run "$windows/tools/arc/arc.exe" list -l linux | unix_text >list-windows
check "arc.exe list prints what arc list prints" cmp list-linux list-windows
verifies() { wine_run "$windows/tools/arc/arc.exe" verify linux | unix_text | grep -q '^linux.arc: OK, '; }
check "arc.exe verify finds the archive whole" verifies
mkdir out-windows out-linux
wine_run "$windows/tools/arc/arc.exe" -q extract linux out-windows
check "arc.exe extract gives back the tree" diff -r tree out-windows/linux
"$linux/tools/arc/arc" -q extract windows out-linux
check "arc extract of arc.exe's archive gives back the tree" diff -r tree out-linux/windows
prints_member() { wine_run "$windows/tools/arc/arc.exe" cat linux 'town\hall.dat' | cmp - tree/town/hall.dat; }
check "arc.exe cat prints a member's bytes" prints_member

echo "== stored forms of a stream, a property manager and a parameter list"
mkdir forms-linux forms-windows
"$linux/tests/storedforms" write forms-linux
wine_run "$windows/tests/storedforms.exe" write forms-windows
for file in stream.bin properties.bin params.bin; do
    check "$file written on Linux and on Windows is byte-identical" \
        cmp "forms-linux/$file" "forms-windows/$file"
done
check "Windows reads what Linux wrote" wine_run "$windows/tests/storedforms.exe" read forms-linux
check "Linux reads what Windows wrote" "$linux/tests/storedforms" read forms-windows

if [ "$failures" -ne 0 ]; then
    echo "windows-crosscheck: $failures check(s) failed"
    exit 1
fi
echo "windows-crosscheck: all checks passed"
