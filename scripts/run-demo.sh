#!/usr/bin/env bash
# Installs what is missing, then configures and builds the Release library and runs
# the example host program. Arguments are passed to the program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release
cmake --build --preset release
build/release/examples/strings_example "$@"
