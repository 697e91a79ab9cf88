#!/usr/bin/env bash
# The whole Debug suite with every test program under valgrind's memcheck: any invalid
# read or write, use of an uninitialised value, bad free or definite leak fails its test.
# Slow (each test runs some ten to fifty times slower), so CI does not run it.
#   bash scripts/valgrind.sh [CTEST_ARGS...]      e.g. -R MailSlot
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
if ! command -v valgrind >/dev/null; then
    sudo_cmd=()
    [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
    "${sudo_cmd[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq valgrind
fi
build=build/valgrind
# The emulator runs each discovered test (and the discovery) under valgrind; forked
# children are checked too, programs they exec are not.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCOMMON_BUILD_BENCH=OFF \
    -DCOMMON_BUILD_EXAMPLES=OFF \
    "-DCMAKE_CROSSCOMPILING_EMULATOR=valgrind;--error-exitcode=1;--leak-check=full;--errors-for-leak-kinds=definite;--quiet"
cmake --build "$build" -j2
ctest --test-dir "$build" -j2 --timeout 1200 --output-on-failure "$@"
