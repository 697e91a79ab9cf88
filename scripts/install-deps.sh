#!/usr/bin/env bash
# Installs, with apt-get, whatever of the build and test dependencies is missing.
# Runs as root, or through sudo when it is there. "fuzz" adds clang and its libFuzzer;
# "windows" the mingw-w64 cross compilers (posix threads), wine and GoogleTest's sources.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
          libfuse3-dev fuse3 file dpkg-dev lintian scdoc doxygen rsyslog)
case "${1:-}" in
fuzz) packages+=(clang libclang-rt-dev) ;;
windows) packages+=(g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix wine wine64 googletest) ;;
esac

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
echo "installing: ${missing[*]}"
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}"
