#!/bin/bash
# python3-pil decodes what this program writes to the same pixels.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$(dirname "$0")/writers_macro.inc" "$dir/w.macro"
cd "$dir"
"$prog" -strict -macro=w.macro > run.log 2>&1 || { cat run.log; exit 1; }
/usr/bin/python3 -c "import PIL" 2>/dev/null || reader_missing "python3-pil not installed"
/usr/bin/python3 - <<'PY'
from PIL import Image
want = {"g.png": 200, "g.tif": 200, "g.pgm": 200, "f.png": 40000, "c.png": (10, 20, 30), "c.tif": (10, 20, 30),
        "c.bmp": (10, 20, 30), "c.tga": (10, 20, 30), "c.ppm": (10, 20, 30), "a.png": (10, 20, 30, 128)}
for name, value in want.items():
    im = Image.open(name)
    im.load()
    got = im.getpixel((im.size[0] - 1, im.size[1] - 1))
    print(name, im.mode, im.size, got)
    assert got == value, (name, got, value)
big = Image.open("big.png"); big.load(); assert big.size == (2000, 600)
PY
