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
/usr/bin/python3 "$root/examples/01-fibres/check.py" "$dir" || exit 1
# The README's pictures: a colour by direction and an FA ramp of one slice, 256 x 192 each.
/usr/bin/python3 "$root/examples/01-fibres/pictures.py" "$dir" "$dir" > /dev/null || exit 1
/usr/bin/python3 - "$dir" <<'PY'
import sys
from PIL import Image
for name in ("fibres-directions.png", "fibres-fa.png"):
    im = Image.open(f"{sys.argv[1]}/{name}")
    assert im.size == (256, 192) and im.mode == "RGB", (name, im.size, im.mode)
    assert len(set(im.getdata())) > 3, name   # more than background
print("ok pictures: 256 x 192, RGB")
PY
