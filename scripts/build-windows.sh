#!/usr/bin/env bash
# Installs the mingw-w64 cross compilers when missing, then cross-builds the library and
# the tools for 64-bit and 32-bit Windows (windows-x64, windows-x86). The tests are not
# part of these trees yet: they run under wine once the suite passes there.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(cmake ninja-build libcli11-dev g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix)
missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done
if [ ${#missing[@]} -ne 0 ]; then
    sudo_cmd=()
    [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
    echo "installing: ${missing[*]}"
    "${sudo_cmd[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}"
fi

for preset in windows-x64 windows-x86; do
    cmake --preset "$preset"
    cmake --build --preset "$preset"
done
