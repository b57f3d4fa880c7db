#!/bin/bash
# netpbm's pamfile reads every PNM and PAM file this program writes.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$(dirname "$0")/writers_macro.inc" "$dir/w.macro"
cd "$dir"
"$prog" -strict -macro=w.macro > run.log 2>&1 || { cat run.log; exit 1; }
command -v pamfile >/dev/null || reader_missing "pamfile not installed"
pamfile g.pgm f.pgm c.ppm c.pam a.pam m.pbm
