#!/bin/bash
# scipy.ndimage as a peer of the volume morphology and the 27-voxel mean: random
# blobs written as PGM slices go through both, and the voxels must agree.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
/usr/bin/python3 -c "import scipy.ndimage, numpy" 2>/dev/null || reader_missing "python3-scipy not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"

/usr/bin/python3 - <<'PY' || exit 1
import numpy as np
from scipy import ndimage
rng = np.random.default_rng(11)
shape = (9, 14, 17)   # z, y, x
blobs = ndimage.uniform_filter(rng.random(shape), 3) > 0.52
binary = np.where(blobs, 255, 0).astype(np.uint8)
binary[4, 5:9, 6:10] = 255          # a closed box with a hollow inside
binary[3:6, 6:8, 7:9] = 255
binary[4, 6:8, 7:9] = 0
grey = rng.integers(0, 256, size=shape, dtype=np.uint8)

def save(vol, stem):
    for z, plane in enumerate(vol, 1):
        with open("%s_%04d.pgm" % (stem, z), "wb") as f:
            f.write(b"P5\n%d %d\n255\n" % (plane.shape[1], plane.shape[0]) + plane.tobytes())
save(binary, "bin")
save(grey, "grey")
np.save("binary.npy", binary)
np.save("grey.npy", grey)
cube = np.ones((3, 3, 3), bool)
np.save("erosion.npy", ndimage.binary_erosion(binary > 0, cube, border_value=0))
np.save("dilation.npy", ndimage.binary_dilation(binary > 0, cube))
np.save("holes.npy", ndimage.binary_fill_holes(binary > 0))
np.save("mean.npy", ndimage.correlate(grey.astype(np.int64), np.ones((3, 3, 3), np.int64)) // 27)
with open("run.macro", "w") as m:
    m.write("debug.no\nscalar.8bit\n")
    for name, cmd in [("erosion", "scalar.shrink <1,255> 0 0"), ("dilation", "scalar.grow <1,255> 0 255"),
                      ("holes", "scalar.fill.holes <1,255> 255")]:
        m.write("scalar.use %s\nscalar.load bin_*.pgm\n%s\nscalar.save out_%s.pgm\n" % (name, cmd, name))
    # thread.max 1 runs the serial routine, 2 and 5 the slice ring; all must agree.
    for cmd in ("hardsmooth", "softsmooth", "smooth", "smooth.zero", "unsharpmasking", "smooth.label 12"):
        for threads in (1, 2, 5):
            m.write("thread.max := %d\nscalar.use w\nscalar.load grey_*.pgm\nscalar.%s\nscalar.save out_%s_%d.pgm\n"
                    % (threads, cmd, cmd.split()[0], threads))
PY

"$prog" -strict -macro=run.macro > run.log 2>&1 || { cat run.log; exit 1; }

/usr/bin/python3 - <<'PY' || { cat run.log; exit 1; }
import glob, numpy as np
def load(stem):
    planes = []
    for name in sorted(glob.glob(stem + "_*.pgm")):
        data = open(name, "rb").read()
        fields, pos = [], 0
        while len(fields) < 4:   # magic, width, height, maximum; comments skipped
            while data[pos:pos + 1].isspace(): pos += 1
            if data[pos:pos + 1] == b"#":
                pos = data.index(b"\n", pos) + 1
                continue
            end = pos
            while not data[end:end + 1].isspace(): end += 1
            fields.append(data[pos:end]); pos = end
        w, h = int(fields[1]), int(fields[2])
        planes.append(np.frombuffer(data[pos + 1:pos + 1 + w * h], np.uint8).reshape(h, w))
    return np.array(planes)
failed = 0
for name in ("erosion", "dilation", "holes"):
    want, got = np.load(name + ".npy"), load("out_" + name) > 0
    ok = want.shape == got.shape and np.array_equal(want, got)
    print(name, "ok" if ok else "FAILED (%d voxels differ)" % int(np.sum(want != got)))
    failed += not ok
want = np.load("mean.npy")[1:-1, 1:-1, 1:-1]
for t in (1, 2):
    got = load("out_hardsmooth_%d" % t).astype(np.int64)[1:-1, 1:-1, 1:-1]
    ok = np.array_equal(want, got)
    print("hardsmooth interior, thread.max", t, "ok" if ok else "FAILED")
    failed += not ok
for cmd in ("hardsmooth", "softsmooth", "smooth", "smooth.zero", "unsharpmasking", "smooth.label"):
    serial = load("out_%s_1" % cmd)
    ok = serial.shape == (9, 14, 17) and all(np.array_equal(serial, load("out_%s_%d" % (cmd, t))) for t in (2, 5))
    ok = ok and not np.array_equal(serial, np.load("grey.npy"))
    print(cmd, "serial = 2 threads = 5 threads", "ok" if ok else "FAILED")
    failed += not ok
raise SystemExit(1 if failed else 0)
PY
