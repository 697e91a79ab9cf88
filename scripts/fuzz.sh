#!/usr/bin/env bash
# Builds the libFuzzer targets (preset "fuzz", clang) and runs every target in turn for
# SECONDS seconds each, at low priority, starting from its seed corpus in
# fuzz/corpus/<target>/. New inputs go to build/fuzz/corpus/<target>/; a crash, leak or
# timeout is written to build/fuzz/findings/<target>/ and ends the script with 1, so
# that it can be kept as a regression input in fuzz/corpus/<target>/ once fixed.
#   bash scripts/fuzz.sh 1800            every target for 30 minutes
#   bash scripts/fuzz.sh 60 archive      only the targets named
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

seconds=${1:?usage: fuzz.sh SECONDS [TARGET...]}
shift
command -v clang++ >/dev/null || bash scripts/install-deps.sh fuzz

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j2

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in fuzz/*_fuzz.cpp; do
        name=$(basename "$source" .cpp)
        targets+=("${name%_fuzz}")
    done
fi

failed=()
for target in "${targets[@]}"; do
    # Absolute paths: some targets work in a directory of their own.
    work=$root/build/fuzz/corpus/$target
    findings=$root/build/fuzz/findings/$target
    mkdir -p "$work" "$findings" "fuzz/corpus/$target"
    echo "== $target: ${seconds}s"
    start=$(date +%s)
    # The timeout is wall time: on a busy machine a unit of 0.2 s of CPU took 14 s, so a
    # short one reports hangs that are not there.
    if ! nice -n 10 "$root/build/fuzz/fuzz/${target}_fuzz" "$work" "$root/fuzz/corpus/$target" \
        -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2048 -max_len=65536 \
        -artifact_prefix="$findings/" -print_final_stats=1 2>"build/fuzz/$target.log"; then
        failed+=("$target")
        tail -n 30 "build/fuzz/$target.log"
    fi
    grep -E "^stat::number_of_executed_units|^stat::new_units_added" "build/fuzz/$target.log" || true
    echo "   $(( $(date +%s) - start ))s, findings: $(ls "$findings" | wc -l)"
done

if [ ${#failed[@]} -ne 0 ]; then
    echo "findings in: ${failed[*]} (see build/fuzz/findings/)"
    exit 1
fi
