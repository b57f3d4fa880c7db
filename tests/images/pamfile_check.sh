#!/bin/bash
# netpbm's pamfile reads every PNM and PAM file this program writes.
set -u
prog=$(readlink -f "$1")
tool_missing() { echo "skipped: $1 not installed"; exit 0; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$(dirname "$0")/writers_macro.inc" "$dir/w.macro"
cd "$dir"
"$prog" -strict -macro=w.macro > run.log 2>&1 || { cat run.log; exit 1; }
command -v pamfile >/dev/null || tool_missing pamfile
pamfile g.pgm f.pgm c.ppm c.pam a.pam m.pbm
