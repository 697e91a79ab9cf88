#!/usr/bin/env bash
# The library as its users get it. Builds the Release library and tools (build/package),
# installs them with the Debug library into a temporary prefix, and builds and runs the
# program of tests/consumer outside the tree against that prefix: with find_package in
# Release and in Debug (which must link libCommon_Dbg), and with pkg-config. Then makes
# the three .deb files with cpack, has lintian check them (no errors), unpacks them into
# a throwaway root and builds the same program against that. Last, the API reference
# (the docs target, which fails on any Doxygen warning).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
step() { echo "check-install: $*"; }

cmake -S . -B build/package -G Ninja -DCMAKE_BUILD_TYPE=Release -DCOMMON_BUILD_TESTS=OFF \
    -DCOMMON_BUILD_EXAMPLES=OFF -DCOMMON_BUILD_BENCH=OFF > /dev/null
cmake --build build/package -j2
cmake --build build/package --target docs
step "docs: built without warnings into build/package/docs/html"
debug_tree=build/debug
if [ ! -f "$debug_tree/build.ninja" ]; then
    debug_tree=build/package-debug
    cmake -S . -B "$debug_tree" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCOMMON_BUILD_TESTS=OFF \
        -DCOMMON_BUILD_EXAMPLES=OFF -DCOMMON_BUILD_BENCH=OFF -DCOMMON_BUILD_TOOLS=OFF > /dev/null
fi
cmake --build "$debug_tree" -j2 --target Common

prefix=$work/prefix
# The Debug tree first, so that the Release tools are the ones that stay.
cmake --install "$debug_tree" --prefix "$prefix" > /dev/null
cmake --install build/package --prefix "$prefix" > /dev/null
step "installed into a prefix:"
(cd "$prefix" && find . -path ./share/doc -prune -o \( -type f -o -type l \) -print | sort |
    sed 's/^\./  /')
step "  and the API reference: $(find "$prefix/share/doc" -type f | wc -l) files under share/doc"
readelf -d "$prefix/lib/libCommon.so.1.0.0" | grep -q 'soname: \[libCommon.so.1\]'
readelf -d "$prefix/lib/libCommon_Dbg.so.1.0.0" | grep -q 'soname: \[libCommon_Dbg.so.1\]'
step "sonames libCommon.so.1 and libCommon_Dbg.so.1"

# Builds tests/consumer against the package under $1 in configuration $2, runs it and
# checks which library it needs.
consumer_find_package() {
    local root=$1 config=$2 library=$3
    local binary=$work/consumer-$config-$(basename "$1")
    cmake -S tests/consumer -B "$binary" -G Ninja -DCOMMON_FROM_PACKAGE=ON \
        -DCMAKE_BUILD_TYPE="$config" -DCMAKE_PREFIX_PATH="$root" > /dev/null
    cmake --build "$binary" > /dev/null
    readelf -d "$binary/consumer" | grep -q "Shared library: \[$library\]"
    LD_LIBRARY_PATH="$4" "$binary/consumer" 2>&1 | grep -q '^consumer: ok$'
    step "find_package in $config against $root: links $library, runs"
}

# The same program built by hand with the compiler flags pkg-config gives.
consumer_pkg_config() {
    local pcdir=$1 libdir=$2
    local binary=$work/consumer-pc-$(basename "$(dirname "$2")")
    # shellcheck disable=SC2046
    g++ -std=c++17 -Wall -Wextra -Werror -o "$binary" tests/consumer/main.cpp \
        $(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs libcommon)
    LD_LIBRARY_PATH="$libdir" "$binary" 2>&1 | grep -q '^consumer: ok$'
    step "pkg-config libcommon $(PKG_CONFIG_PATH="$pcdir" pkg-config --modversion libcommon) from $pcdir: builds, runs"
}

consumer_find_package "$prefix" Release libCommon.so.1 "$prefix/lib"
consumer_find_package "$prefix" Debug libCommon_Dbg.so.1 "$prefix/lib"
consumer_pkg_config "$prefix/lib/pkgconfig" "$prefix/lib"

(cd build/package && cpack -G DEB > /dev/null)
debs=(build/package/*.deb)
[ ${#debs[@]} -eq 3 ]
step "packages:"
for deb in "${debs[@]}"; do
    printf '  %-40s %8s bytes  %s\n' "$(basename "$deb")" "$(stat -c %s "$deb")" \
        "$(dpkg-deb -f "$deb" Depends)"
done
# lintian's tags of severity error are fatal; warnings and notes are shown.
lintian --no-tag-display-limit "${debs[@]}" | tee "$work/lintian.txt" || true
if grep -q '^E:' "$work/lintian.txt"; then
    step "lintian reports errors"
    exit 1
fi
step "lintian: no errors"

root=$work/root
for deb in "${debs[@]}"; do
    dpkg-deb -x "$deb" "$root"
done
consumer_find_package "$root/usr" Release libCommon.so.1 "$root/usr/lib"
consumer_pkg_config "$root/usr/lib/pkgconfig" "$root/usr/lib"
LD_LIBRARY_PATH="$root/usr/lib" "$root/usr/bin/arc" --help > /dev/null
man -l "$root/usr/share/man/man1/logmon.1.gz" > /dev/null 2>&1 || zcat "$root/usr/share/man/man1/logmon.1.gz" | grep -q '^\.TH'
