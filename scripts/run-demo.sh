#!/usr/bin/env bash
# Installs what is missing, then configures and builds the Release library and runs
# the example host program: it packs its data into an archive, reads settings through
# it, runs frames under the timer and profiler, and logs to a file.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release
cmake --build --preset release
build/release/examples/host
