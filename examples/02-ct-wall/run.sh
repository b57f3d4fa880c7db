#!/usr/bin/env bash
# run.sh <quorvex> <output folder> [size]: makes the input volume and runs wall.macro there.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
prog="$(readlink -f "$1")"
mkdir -p "$2" && cd "$2"
/usr/bin/python3 "$here/make_data.py" ct.nii.gz "${3:-64}"
cp "$here/wall.macro" .
"$prog" -strict -macro=wall.macro > wall.log 2>&1 || { cat wall.log; exit 1; }
grep "Surface faces" wall.log
