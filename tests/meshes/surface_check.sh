#!/bin/bash
# The surface of a binary sphere, saved as OBJ and PLY, is read by meshio and VTK
# with our counts; every vertex lies within half a voxel of vtkMarchingCubes'
# surface at the middle level, and the bounds agree within one voxel.
# Skips (77) without the readers or while the program has no mesh writer.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
/usr/bin/python3 -c "import nibabel, numpy, meshio, vtk" 2>/dev/null || reader_missing "python3-nibabel, python3-meshio or python3-vtk9 not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"

/usr/bin/python3 - <<'PY' || exit 1
import numpy as np, nibabel as nib
n, r = 40, 12.3
x, y, z = np.indices((n, n, n))
a = np.where((x - 19.6) ** 2 + (y - 20.2) ** 2 + (z - 18.9) ** 2 <= r * r, 200, 0).astype(np.uint8)
nib.save(nib.Nifti1Image(a, np.eye(4)), "sphere.nii")
PY

cat > surface.macro <<'EOF'
debug.no
scalar.load sphere.nii
scalar.surface <100,65535>
n := mesh.mesh.vertices
f := mesh.mesh.faces
print "counts " n " " f
mesh.save sphere.obj
mesh.save sphere.ply
EOF
"$prog" -strict -macro=surface.macro > run.txt 2>&1
if grep -q "Unknown procedure" run.txt; then echo "skipped: no mesh writer yet"; exit 77; fi
[ -s sphere.obj ] && [ -s sphere.ply ] || { cat run.txt; echo "no mesh files written"; exit 1; }

/usr/bin/python3 - <<'PY'
import re, sys
import numpy as np, nibabel as nib, meshio, vtk
from vtk.util import numpy_support as ns

text = open("run.txt").read()
points, faces = map(int, re.search(r"counts (\d+) (\d+)", text).groups())
ok = True
def check(what, got, want):
    global ok
    if got != want:
        print(f"{what}: {got}, expected {want}")
        ok = False

for name in ("sphere.obj", "sphere.ply"):
    m = meshio.read(name)
    check(name + " meshio points", len(m.points), points)
    check(name + " meshio faces", sum(len(c.data) for c in m.cells), faces)
readers = {"sphere.obj": vtk.vtkOBJReader(), "sphere.ply": vtk.vtkPLYReader()}
for name, rd in readers.items():
    rd.SetFileName(name)
    rd.Update()
    check(name + " vtk faces", rd.GetOutput().GetNumberOfPolys(), faces)
ours = np.asarray(meshio.read("sphere.ply").points, dtype=float)

# vtkMarchingCubes on the same voxels: index i of the file is global i here.
a = np.asarray(nib.load("sphere.nii").dataobj)
img = vtk.vtkImageData()
img.SetDimensions(*a.shape)
img.GetPointData().SetScalars(ns.numpy_to_vtk(a.ravel(order="F").astype(np.float32), deep=1))
mc = vtk.vtkMarchingCubes()
mc.SetInputData(img)
mc.SetValue(0, 100)
mc.Update()
theirs = mc.GetOutput()
distance = vtk.vtkImplicitPolyDataDistance()
distance.SetInput(theirs)
far = max(abs(distance.EvaluateFunction(p)) for p in ours)
if far > 0.5 + 1e-9:
    print(f"a vertex lies {far} from vtkMarchingCubes' surface")
    ok = False
b = np.array(theirs.GetBounds()).reshape(3, 2)
mine = np.stack([ours.min(axis=0), ours.max(axis=0)], axis=1)
if np.abs(b - mine).max() > 1:
    print("bounds differ:", mine.tolist(), b.tolist())
    ok = False
sys.exit(0 if ok else 1)
PY
