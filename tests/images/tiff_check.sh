#!/bin/bash
# libtiff's tiffinfo reads every TIFF this program writes without an error.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$(dirname "$0")/writers_macro.inc" "$dir/w.macro"
cd "$dir"
"$prog" -strict -macro=w.macro > run.log 2>&1 || { cat run.log; exit 1; }
command -v tiffinfo >/dev/null || reader_missing "tiffinfo not installed"
out=$(tiffinfo g.tif f.tif c.tif 2>&1) || { echo "$out"; exit 1; }
echo "$out"
! echo "$out" | grep -qi error
