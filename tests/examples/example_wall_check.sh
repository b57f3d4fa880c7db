#!/bin/bash
# Example 2 runs on its data, and nibabel, meshio and VTK read its results with the right numbers.
set -u
prog=$(readlink -f "$1")
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
source "$root/tests/skip.sh"
/usr/bin/python3 -c "import nibabel, numpy, meshio" 2>/dev/null || reader_missing "python3-nibabel or python3-meshio not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
bash "$root/examples/02-ct-wall/run.sh" "$prog" "$dir" || exit 1
/usr/bin/python3 "$root/examples/02-ct-wall/check.py" "$dir"
