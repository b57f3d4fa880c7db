#!/bin/bash
# libtiff's tiffinfo reads every TIFF this program writes without an error.
set -u
prog=$(readlink -f "$1")
tool_missing() { echo "skipped: $1 not installed"; exit 0; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$(dirname "$0")/writers_macro.inc" "$dir/w.macro"
cd "$dir"
"$prog" -strict -macro=w.macro > run.log 2>&1 || { cat run.log; exit 1; }
command -v tiffinfo >/dev/null || tool_missing tiffinfo
out=$(tiffinfo g.tif f.tif c.tif 2>&1) || { echo "$out"; exit 1; }
echo "$out"
! echo "$out" | grep -qi error
