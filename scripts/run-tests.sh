#!/usr/bin/env bash
# Installs what is missing, then configures, builds and runs the whole test suite
# (Debug build, libCommon_Dbg.so). Pass "asan" to run it under the sanitizers instead.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-debug}"
scripts/install-deps.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"
