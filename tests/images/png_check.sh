#!/bin/bash
# Debian's pngcheck accepts every PNG this program writes.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$(dirname "$0")/writers_macro.inc" "$dir/w.macro"
cd "$dir"
"$prog" -strict -macro=w.macro > run.log 2>&1 || { cat run.log; exit 1; }
command -v pngcheck >/dev/null || reader_missing "pngcheck not installed"
pngcheck g.png f.png c.png a.png big.png
