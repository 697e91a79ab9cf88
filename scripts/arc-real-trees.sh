#!/usr/bin/env bash
# arc on real system trees. A tree within the archive's limits (/usr/lib/gcc, which
# the compiler puts on every build machine) must round-trip: every regular file byte
# for byte, and nothing missing but the entries arc warned about. Trees past them
# (/usr/include: more than 256 directories; /usr/share/man: names equal without case)
# must be refused with the names listed and nothing written. A tree that is missing,
# or that doesn't break the rule it stands for on this machine, is skipped with the
# reason. Usage: scripts/arc-real-trees.sh [path/to/arc]
set -euo pipefail
cd "$(dirname "$0")/.."
arc=$(realpath "${1:-build/debug/tools/arc/arc}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

say() { echo "arc-real-trees: $*"; }
fail() { say "FAIL: $*"; failed=1; }

round_trip() {
    local tree=$1 start=$SECONDS
    if [ ! -d "$tree" ]; then
        say "skip $tree: it isn't there"
        return
    fi
    if ! "$arc" -q create "$work/tree" "$tree" 2>"$work/create.err"; then
        fail "$tree was refused:"
        cat "$work/create.err"
        return
    fi
    mkdir "$work/out"
    if ! "$arc" -q extract "$work/tree" "$work/out" 2>"$work/extract.err"; then
        fail "$tree did not extract:"
        cat "$work/extract.err"
        return
    fi
    # Paths arc warned about, as "Only in" lines of diff name them.
    sed -n 's/^arc: warning: leaving out \(.*\): [a-zA-Z ]*$/\1/p' "$work/create.err" \
        | sort >"$work/warned"
    # diff follows links: a link to a file compares as the file it leads to.
    diff -rq "$tree" "$work/out/tree" >"$work/diff" 2>&1 || true
    local line unexpected=0
    while IFS= read -r line; do
        case "$line" in
        "Only in $tree"*": "*)
            local place=${line#Only in }
            local path="${place%%: *}/${place#*: }"
            grep -qxF "$path" "$work/warned" && continue
            ;;
        "diff: $tree/"*": No such file or directory")
            local path=${line#diff: }
            grep -qxF "${path%: No such file or directory}" "$work/warned" && continue
            ;;
        esac
        fail "$tree: $line"
        unexpected=1
    done <"$work/diff"
    local files size
    files=$(find "$work/out/tree" -type f | wc -l)
    size=$(du -sh "$work/tree.arc" | cut -f1)
    [ "$unexpected" -eq 0 ] && say "$tree round-trips: $files files, archive $size," \
        "$(wc -l <"$work/warned") entries left out with a warning ($((SECONDS - start)) s)"
    rm -rf "$work/out" "$work/tree.arc"
}

# $1 the tree, $2 the text of the rule arc must name, $3 a command that exits 0 when
# the tree breaks that rule on this machine.
refused() {
    local tree=$1 rule=$2 start=$SECONDS
    if [ ! -d "$tree" ]; then
        say "skip $tree: it isn't there"
        return
    fi
    if ! eval "$3"; then
        say "skip $tree: it is within the limits on this machine ($rule)"
        return
    fi
    if "$arc" -q create "$work/refused" "$tree" 2>"$work/refused.err"; then
        fail "$tree was packed"
    elif [ -e "$work/refused.arc" ]; then
        fail "$tree was refused, but $work/refused.arc was written"
    elif ! grep -q "$rule" "$work/refused.err" || ! grep -q "^arc:   $tree/" "$work/refused.err"; then
        fail "$tree was refused without naming '$rule' and the names:"
        cat "$work/refused.err"
    else
        say "$tree is refused ($((SECONDS - start)) s):"
        grep -A3 "$rule" "$work/refused.err"
    fi
    rm -f "$work/refused.arc"
}

round_trip /usr/lib/gcc
refused /usr/include "directories, counting /usr/include itself" \
    '[ "$(find /usr/include -type d | wc -l)" -gt 256 ]'
refused /usr/share/man "names equal without case" \
    '[ -n "$(find /usr/share/man -mindepth 1 -maxdepth 2 | sort -f | uniq -di | head -1)" ]'
exit "$failed"
