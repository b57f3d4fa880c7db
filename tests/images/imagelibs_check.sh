#!/bin/bash
# Files written by python3-pil load through FreeImage and through ImageMagick with the right
# size and pixels; with both switched off the same load is refused.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
/usr/bin/python3 -c "import PIL" 2>/dev/null || reader_missing "python3-pil not installed"
"$prog" -strict -h > help.log 2>&1
have_fi=0 have_mw=0
grep -q "^  +/-freeimage : FreeImage (" help.log && have_fi=1
grep -q "^  +/-imagemagick : Imagemagick® (" help.log && have_mw=1
[ $have_fi = 1 ] || [ $have_mw = 1 ] || reader_missing "neither FreeImage nor ImageMagick installed"

/usr/bin/python3 - <<'PY'
from PIL import Image
g = Image.new("I;16", (7, 3))
c = Image.new("RGB", (5, 4))
a = Image.new("RGBA", (3, 2))
for y in range(3):
    for x in range(7):
        g.putpixel((x, y), 9000 * x + 700 * y + 5)
for y in range(4):
    for x in range(5):
        c.putpixel((x, y), (40 * x, 60 * y, 7))
for y in range(2):
    for x in range(3):
        a.putpixel((x, y), (10 * x, 20 * y, 30, 100 + x))
g.save("g16.png")
c.save("c.png")
c.save("c.jpg", quality=100, subsampling=0)
a.save("a.png")
PY
# Each image is saved under a name no library knows, so the program's own PNG writer gives "<name>.foo.png".
cat > l.macro <<'EOF'
image.16bit
image.load g16.png
image.save g16.foo
image.8bit
image.load g16.png
image.save g8.foo
image.rgb
image.load c.png
image.save c.foo
image.load c.jpg
image.save j.foo
image.rgba
image.load a.png
image.save a.foo
image.rgb
image.new 6 2
image.value 10,20,30
image.fill
image.save w.tif
EOF

check() {   # $1: the options that leave one library on
  rm -f ./*.foo.png w.tif
  "$prog" -strict -macro=l.macro $1 > run.log 2>&1 || { cat run.log; exit 1; }
  /usr/bin/python3 - "$1" <<'PY' || { cat run.log; exit 1; }
import sys
from PIL import Image
def pixels(name, mode, size):
    im = Image.open(name)
    assert im.mode == mode and im.size == size, (sys.argv[1], name, im.mode, im.size)
    return [im.getpixel((x, y)) for y in range(size[1]) for x in range(size[0])]
g16 = pixels("g16.foo.png", "I", (7, 3))
assert g16 == [9000 * x + 700 * y + 5 for y in range(3) for x in range(7)], g16
g8 = pixels("g8.foo.png", "L", (7, 3))
assert g8 == [(9000 * x + 700 * y + 5) >> 8 for y in range(3) for x in range(7)], g8
c = pixels("c.foo.png", "RGB", (5, 4))
assert c == [(40 * x, 60 * y, 7) for y in range(4) for x in range(5)], c
j = pixels("j.foo.png", "RGB", (5, 4))
assert all(abs(p - q) <= 8 for u, v in zip(j, c) for p, q in zip(u, v)), j
a = pixels("a.foo.png", "RGBA", (3, 2))
assert a == [(10 * x, 20 * y, 30, 100 + x) for y in range(2) for x in range(3)], a
w = pixels("w.tif", "RGB", (6, 2))
assert w == [(10, 20, 30)] * 12, w
print(sys.argv[1] or "both on", "ok")
PY
}
[ $have_fi = 1 ] && check "-imagemagick"
[ $have_mw = 1 ] && check "-freeimage"

"$prog" -strict -macro=l.macro -freeimage -imagemagick > off.log 2>&1 || { cat off.log; exit 1; }
for f in g16.png c.png c.jpg a.png; do
  grep -qx "  Couldn't read File ($f)! Create empty field." off.log || { echo "no refusal for $f"; cat off.log; exit 1; }
done
echo "both off: refused"
