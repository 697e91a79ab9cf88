#!/usr/bin/env bash
# Times the arc tool against tar and zip on real and generated trees, side by side in
# one run:
#   small: 10,000 files of 4 KB in 100 directories
#   large: four files of 64 MB
#   gcc:   a copy of /usr/lib/gcc (left out where it is missing)
#   huge:  one file of HUGE_MB megabytes (only when HUGE_MB is set; one round)
# Cases: arc create against tar cf and zip -0 -r; arc extract against tar xf. Each
# command runs RUNS times (default 5), the tools taking turns at going first in each
# round, all with a warm page cache; the script prints the median wall time and the
# median CPU time (user + system) of each, the ratios arc/tar of both (below 1.00 means
# arc is faster) and the peak resident memory. With other work on the machine the CPU
# ratio is the steadier one. Outputs are removed only at the end (see set_aside), so that
# on ext4 a run started within about five minutes of another's end extracts more slowly.
#
# Usage: bench/arc_compare.sh [ARC_BINARY]   (default: build/release/tools/arc/arc)
# Environment: RUNS (rounds), TREES (default "small large gcc"; empty for none but huge),
# HUGE_MB, WORK_DIR
# (where the trees go; default a fresh temporary directory, removed at the end).
set -euo pipefail

ARC=${1:-"$(dirname "$0")/../build/release/tools/arc/arc"}
ARC=$(realpath "$ARC")
RUNS=${RUNS:-5}
TREES=${TREES-small large gcc}
if [ -n "${HUGE_MB:-}" ]; then TREES="$TREES huge"; fi
for tool in tar zip /usr/bin/time; do
    command -v "$tool" >/dev/null || { echo "arc_compare: $tool is needed" >&2; exit 2; }
done
[ -x "$ARC" ] || { echo "arc_compare: no arc at $ARC (build the release preset)" >&2; exit 2; }

if [ -n "${WORK_DIR:-}" ]; then
    mkdir -p "$WORK_DIR"
    WORK=$(realpath "$WORK_DIR")
else
    WORK=$(mktemp -d)
    trap 'rm -rf "$WORK"' EXIT
fi
cd "$WORK"

make_trees() {
    if [ ! -d small ]; then
        mkdir -p small.tmp
        head -c $((10000 * 4096)) /dev/urandom | (cd small.tmp && split -b 4096 -a 4 -d - f)
        for d in $(seq -w 0 99); do
            mkdir -p "small.tmp/d$d"
            mv small.tmp/f$d?? "small.tmp/d$d/"
        done
        mv small.tmp small
    fi
    if [ ! -d large ]; then
        mkdir -p large.tmp
        for i in 1 2 3 4; do
            head -c $((64 << 20)) /dev/urandom >"large.tmp/part$i.bin"
        done
        mv large.tmp large
    fi
    if [ ! -d gcc ] && [ -d /usr/lib/gcc ]; then
        cp -a /usr/lib/gcc gcc.tmp && mv gcc.tmp gcc
    fi
    if [ -n "${HUGE_MB:-}" ] && [ ! -d huge ]; then
        mkdir -p huge.tmp
        head -c $((HUGE_MB << 20)) /dev/urandom >huge.tmp/one.bin
        mv huge.tmp huge
    fi
}

# Runs one command; appends "wall_us peak_kb cpu_ms" to the file $1.
measure() {
    local out=$1
    shift
    local start end
    start=$(date +%s%N)
    /usr/bin/time -f "%M %U %S" -o "$WORK/time.out" "$@" >/dev/null 2>&1
    end=$(date +%s%N)
    echo "$(((end - start) / 1000)) $(awk '{ printf "%d %d", $1, ($2 + $3) * 1000 }' "$WORK/time.out")" >>"$out"
}

# Empties the files below the directories given and moves the directories into spent/,
# which goes at the end. Removing them at once would cost the next round's extraction:
# ext4 passes over inodes freed in the last minutes when it allocates new ones, so that
# after the removal of 10,000 files every file created nearby pays for a scan of them
# (the small tree's extraction then takes seconds instead of a quarter of one, for arc
# and tar alike, and their ratio says nothing about either).
set_aside() {
    mkdir -p "$WORK/spent"
    find "$@" -type f -exec truncate -s 0 {} +
    local dir
    for dir in "$@"; do
        mv "$dir" "$(mktemp -d "$WORK/spent/$dir.XXXXXX")/"
    done
}

# Median of column $2 of the file $1.
median() {
    awk -v c="$2" '{ print $c }' "$1" | sort -n | awk '{ v[NR] = $1 }
        END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# Median wall time in ms, the largest peak in MB, and the median CPU time in ms.
summary() {
    local peak
    peak=$(awk '{ if ($2 > m) m = $2 } END { print m }' "$1")
    echo "$(median "$1" 1) $peak $(median "$1" 3)" | awk '{ printf "%.1f %.1f %.0f\n", $1 / 1000, $2 / 1024, $3 }'
}

run_tree() {
    local tree=$1 rounds=$RUNS
    [ "$tree" = huge ] && rounds=1
    rm -f "$WORK"/res.*
    for round in $(seq "$rounds"); do
        rm -f "$tree.arc" "$tree.tar" "$tree.zip"
        mkdir out.arc out.tar
        # The tools take turns at going first, so that none always pays for the
        # clean-up work that the system still does after the last removal.
        if [ $((round % 2)) = 1 ]; then
            measure res.create.arc "$ARC" --quiet create "$tree.arc" "$tree"
            measure res.create.tar tar cf "$tree.tar" "$tree"
            measure res.create.zip zip -0 -r -q "$tree.zip" "$tree"
            measure res.extract.arc "$ARC" --quiet extract "$tree.arc" out.arc
            measure res.extract.tar tar xf "$tree.tar" -C out.tar
        else
            measure res.create.zip zip -0 -r -q "$tree.zip" "$tree"
            measure res.create.tar tar cf "$tree.tar" "$tree"
            measure res.create.arc "$ARC" --quiet create "$tree.arc" "$tree"
            measure res.extract.tar tar xf "$tree.tar" -C out.tar
            measure res.extract.arc "$ARC" --quiet extract "$tree.arc" out.arc
        fi
        # The copy of /usr/lib/gcc holds links that arc leaves out by design.
        if [ "$round" = 1 ] && [ "$tree" != gcc ]; then
            diff -r "$tree" "out.arc/$tree" >/dev/null || { echo "arc_compare: arc round trip differs" >&2; exit 1; }
        fi
        set_aside out.arc out.tar
    done
    local ca ct cz ea et
    ca=$(summary res.create.arc); ct=$(summary res.create.tar); cz=$(summary res.create.zip)
    ea=$(summary res.extract.arc); et=$(summary res.extract.tar)
    echo "$tree $ca $ct $cz $ea $et" | awk '{
        printf "%-6s create  : arc %8.1f ms  tar %8.1f ms  zip -0 %8.1f ms  arc/tar %5.2f  arc/zip %5.2f  cpu arc/tar %5.2f  peak MB: arc %.1f, tar %.1f, zip %.1f\n",
            $1, $2, $5, $8, $2 / $5, $2 / $8, $4 / ($7 > 0 ? $7 : 1), $3, $6, $9
        printf "%-6s extract : arc %8.1f ms  tar %8.1f ms                     arc/tar %5.2f                 cpu arc/tar %5.2f  peak MB: arc %.1f, tar %.1f\n",
            $1, $11, $14, $11 / $14, $13 / ($16 > 0 ? $16 : 1), $12, $15 }'
}

make_trees
for dir in out.arc out.tar; do
    if [ -e "$dir" ]; then set_aside "$dir"; fi
done
echo "arc_compare: $RUNS rounds each, medians of wall and CPU time; $(nproc) cores; $ARC"
for tree in $TREES; do
    [ -d "$tree" ] && run_tree "$tree"
done
rm -rf "$WORK/spent"
