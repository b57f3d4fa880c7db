#!/usr/bin/env bash
# run.sh <quorvex> <output folder>: makes the input volume and runs fibres.macro there.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
prog="$(readlink -f "$1")"
mkdir -p "$2" && cd "$2"
/usr/bin/python3 "$here/make_data.py" fibres.nii.gz
cp "$here/fibres.macro" .
"$prog" -strict -macro=fibres.macro > fibres.log 2>&1 || { cat fibres.log; exit 1; }
grep "Streamlines kept" fibres.log
