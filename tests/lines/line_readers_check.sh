#!/usr/bin/env bash
# Third-party readers open our line files: nibabel the .trk (header fields, count
# and points), VTK the .vtp and the OBJ lines; and nibabel's own binary .trk test
# files given to `line.load` end as the text reader ends, never in a crash.
set -u
exe="$(realpath "$1")"
py=/usr/bin/python3
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
$py -c "import nibabel, numpy, vtk" 2>/dev/null || reader_missing "python3-nibabel or python3-vtk9 not installed"
data=$($py -c "import nibabel, os; print(os.path.join(os.path.dirname(nibabel.__file__), 'tests', 'data'))")
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
fail=0
check() {   # name, condition result
  if [ "$2" -eq 0 ]; then echo "ok $1"; else echo "FAIL $1"; fail=1; fi
}

# Lines of one, two and many points, with fractions that float32 cannot hold exactly.
$py - <<'PY'
import random
random.seed(3)
with open("in.txt", "w") as f:
    for l in range(40):
        for i in range(1 + (l * 7) % 13):
            f.write(" ".join("%.6f" % random.uniform(-50, 150) for _ in range(3)) + " %d\n" % i)
        f.write("material: %d\n" % (l % 3) if l % 5 == 0 else "\n")
    f.write("object: all\n")
PY
printf 'debug.no\nline.load in.txt\nline.save out.trk\nline.save out.vtp\nline.save out.obj\n' > save.macro
"$exe" -strict -macro=save.macro </dev/null >save.log 2>&1
check "the writing macro runs" $?

$py -W ignore - <<'PY'
import sys, numpy as np, nibabel as nib
from nibabel.affines import apply_affine
from nibabel.streamlines.trk import get_affine_trackvis_to_rasmm
lines, cur = [], []
for row in open("in.txt"):
    row = row.strip()
    if row and row[0] in "-0123456789":
        cur.append([float(v) for v in row.split()[:3]])
    elif cur:
        lines.append(np.array(cur)); cur = []
trk = nib.streamlines.load("out.trk")
h = trk.header
ok = h["nb_streamlines"] == len(lines) == len(trk.streamlines)
ok &= h["hdr_size"] == 1000 and h["version"] == 2 and h["voxel_order"] == b"LPS"
ok &= np.allclose(h["voxel_sizes"], 1) and np.allclose(h["voxel_to_rasmm"], np.eye(4))
back = apply_affine(np.linalg.inv(get_affine_trackvis_to_rasmm(h)), trk.streamlines.get_data())
ok &= np.allclose(back, np.concatenate(lines), atol=1e-4)
ok &= all(len(a) == len(b) for a, b in zip(trk.streamlines, lines))
sys.exit(0 if ok else 1)
PY
check "nibabel reads the .trk: count, header, points" $?

$py - <<'PY'
import sys, vtk
r = vtk.vtkXMLPolyDataReader(); r.SetFileName("out.vtp"); r.Update()
p = r.GetOutput()
sizes = []
cells = p.GetLines(); cells.InitTraversal(); ids = vtk.vtkIdList()
while cells.GetNextCell(ids): sizes.append(ids.GetNumberOfIds())
want = [1 + (l * 7) % 13 for l in range(40)]
sys.exit(0 if p.GetNumberOfPoints() == sum(want) and sizes == want else 1)
PY
check "VTK reads the .vtp lines" $?

$py - <<'PY'
import sys, vtk
r = vtk.vtkOBJReader(); r.SetFileName("out.obj"); r.Update()
p = r.GetOutput()
want = [1 + (l * 7) % 13 for l in range(40)]
n = p.GetNumberOfLines() + p.GetNumberOfVerts()
sys.exit(0 if p.GetNumberOfPoints() == sum(want) and n == len(want) else 1)
PY
check "VTK reads the OBJ points and lines" $?

# nibabel's binary test tracks are no line text: the reader skips what is not
# numeric, and the macro goes on to its last line.
for f in standard.trk standard.LPS.trk complex.trk complex_big_endian.trk empty.trk simple.trk; do
  [ -f "$data/$f" ] || continue
  cp "$data/$f" .
  printf 'debug.no\nline.load %s\nline.dump\nline.load %s 50\nprint "survived"\n' "$f" "$f" > load.macro
  out=$("$exe" -strict -macro=load.macro </dev/null 2>&1)
  rc=$?
  [ $rc -eq 0 ] && grep -qx "survived" <<<"$out"
  check "line.load of nibabel's $f" $?
done
exit $fail
