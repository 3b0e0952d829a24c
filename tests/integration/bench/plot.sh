#!/usr/bin/env bash
# plot.sh SOURCE: checks the picture that scripts/plot-benchmarks.awk draws of comparisons.md.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
draw() {
    awk -v title=Example -v command='scripts/bench Example' -v machine='A&B, 2 cores' \
        -v date=2026-01-31 -f "$1/scripts/plot-benchmarks.awk" "$2" >"$work/plot.svg"
}

# expect COUNT TEXT: checks that COUNT lines of the picture contain the text.
expect() {
    local count
    count=$(grep -cF "$2" "$work/plot.svg" || true)
    [ "$count" = "$1" ] || { echo "'$2' is in $count lines, not $1:"; cat "$work/plot.svg"; exit 1; }
}

draw "$1" "$(dirname "$0")/comparisons.md"
! command -v python3 >/dev/null ||
    python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' "$work/plot.svg"
expect 3 '<circle '
expect 1 'stroke="#c00"'  # the one bound
expect 1 'scripts/bench Example on A&amp;B, 2 cores, 2026-01-31'
expect 1 'copy/ours / copy/&lt;peer&gt;'
# 0.25 is left of 0.5, which is left of 1.1.
grep -o 'cx="[0-9.]*"' "$work/plot.svg" | tr -dc '0-9.\n' | tr '\n' ' ' |
    awk '{ exit !($3 < $1 && $1 < $2) }' || { echo "the dots are in the wrong order"; exit 1; }

if draw "$1" /dev/null 2>/dev/null; then
    echo "draws a picture of nothing"
    exit 1
fi
