#!/bin/bash
# Example 1 runs on its data, and nibabel and VTK read its results with the right numbers.
set -u
prog=$(readlink -f "$1")
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
source "$root/tests/skip.sh"
/usr/bin/python3 -c "import nibabel, numpy" 2>/dev/null || reader_missing "python3-nibabel not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
bash "$root/examples/01-fibres/run.sh" "$prog" "$dir" || exit 1
/usr/bin/python3 "$root/examples/01-fibres/check.py" "$dir"
