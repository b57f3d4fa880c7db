#!/bin/bash
# Mesh files against readers and writers no one here wrote: meshio and VTK read our OBJ,
# PLY (binary and ascii) and VTP, `assimp info` reads our DXF, with the mesh's counts and
# coordinates; files meshio and VTK wrote come back with the same geometry; the sample
# files of Debian's assimp-testmodels load with assimp's face counts or are refused as the
# format rules say, and never crash.
set -u
prog=$(readlink -f "$1")
skip() { echo "skipped: $1"; exit 77; }
py=/usr/bin/python3
$py -c "import meshio, vtk, numpy" 2>/dev/null || skip "python3-meshio or python3-vtk9 not installed"
command -v assimp > /dev/null || skip "assimp-utils not installed"
models=/usr/share/assimp/models
[ -d "$models" ] || skip "assimp-testmodels not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
fail=0
run() {   # macro file; the run must end normally
  "$prog" -strict -macro="$1" > "$1.log" 2>&1 < /dev/null
  if [ $? -ne 0 ] || ! grep -q "^Done (" "$1.log"; then
    echo "FAIL $1 did not end normally"; tail -n 20 "$1.log"; fail=1
  fi
}

# ---- our files read by meshio, VTK and assimp -----------------------------------------
# A grid of 6 x 5 cells, every other cell two triangles, the rest quads; coordinates in
# eighths so that float32 keeps them exactly; a normal per point.
$py - <<'PY'
pts, faces = [], []
for j in range(6):
    for i in range(7):
        pts.append((i * 0.125 + 1, j * 0.25 - 3, (i * j % 5) * 0.5))
for j in range(5):
    for i in range(6):
        a, b, c, d = j * 7 + i, j * 7 + i + 1, (j + 1) * 7 + i + 1, (j + 1) * 7 + i
        faces += [(a, b, c), (a, c, d)] if (i + j) % 2 else [(a, b, c, d)]
with open("grid.obj", "w") as f:
    for p in pts:
        f.write("v %r %r %r\n" % p)
    for k, p in enumerate(pts):
        f.write("vn %r %r %r\n" % (0.0, (k % 3) * 0.5, 1.0))
    for q in faces:
        f.write("f " + " ".join("%d//%d" % (v + 1, v + 1) for v in q) + "\n")
PY
cat > write.macro <<'EOF'
mesh.load grid.obj
mesh.save.obj out
mesh.save.ply out
mesh.save.ply.ascii aout
mesh.save.vtp out
mesh.save.dxf out
mesh.save out.stl
EOF
run write.macro
$py - <<'PY' || fail=1
import sys, meshio, vtk
src = [l.split() for l in open("grid.obj")]
pts = [tuple(float(x) for x in l[1:4]) for l in src if l[0] == "v"]
nrm = [tuple(float(x) for x in l[1:4]) for l in src if l[0] == "vn"]
faces = [tuple(int(c.split("/")[0]) - 1 for c in l[1:]) for l in src if l[0] == "f"]
ok = True

def check(what, cond, detail=""):
    global ok
    if not cond:
        print("FAIL", what, detail)
        ok = False

def distinct(cell):   # a triangle written as a quad repeats its last corner
    out = []
    for v in cell:
        if not out or out[-1] != v:
            out.append(v)
    return tuple(out)

def same_mesh(what, points, cells, normals=None, quads_repeat=False):
    check(what + " points", [tuple(map(float, p)) for p in points] == pts, len(points))
    got = [distinct(tuple(int(v) for v in c)) if quads_repeat else tuple(int(v) for v in c) for c in cells]
    check(what + " faces", got == faces, got[:4])
    if normals is not None:
        check(what + " normals", [tuple(map(float, n)) for n in normals] == nrm)

m = meshio.read("out.obj")
check("meshio obj cell types", [c.type for c in m.cells] == ["quad"], [c.type for c in m.cells])
same_mesh("meshio obj", m.points.tolist(), m.cells[0].data.tolist(), quads_repeat=True)
# meshio reads the face list of ascii PLY only under the name "vertex_indices"; the
# ascii form names it "vertex_index", so meshio gets a copy with the name changed.
with open("aout.ply", "rb") as f, open("aout_meshio.ply", "wb") as g:
    g.write(f.read().replace(b"int vertex_index\n", b"int vertex_indices\n", 1))
for name in ("out.ply", "aout_meshio.ply"):
    m = meshio.read(name)
    check(name + " cell types", {c.type for c in m.cells} == {"quad", "triangle"})
    ordered = [cell for block in m.cells for cell in block.data.tolist()]   # blocks keep the file order
    nr = list(zip(m.point_data["nx"], m.point_data["ny"], m.point_data["nz"]))
    same_mesh("meshio " + name, m.points.tolist(), ordered, nr)

class Errors:
    def __init__(self):
        self.seen = []
    def __call__(self, obj, event):
        self.seen.append(event)

def vtk_read(reader, name):
    errors = Errors()
    reader.AddObserver("ErrorEvent", errors)
    reader.AddObserver("WarningEvent", errors)
    reader.SetFileName(name)
    reader.Update()
    check("vtk " + name + " without errors", not errors.seen, errors.seen)
    data = reader.GetOutput()
    points = [data.GetPoint(i) for i in range(data.GetNumberOfPoints())]
    cells = []
    ids = vtk.vtkIdList()
    polys = data.GetPolys()
    polys.InitTraversal()
    while polys.GetNextCell(ids):
        cells.append([ids.GetId(k) for k in range(ids.GetNumberOfIds())])
    return data, points, cells

for reader, name, repeat in ((vtk.vtkOBJReader(), "out.obj", True), (vtk.vtkPLYReader(), "out.ply", False),
                             (vtk.vtkPLYReader(), "aout.ply", False), (vtk.vtkXMLPolyDataReader(), "out.vtp", False)):
    data, points, cells = vtk_read(reader, name)
    normals = data.GetPointData().GetNormals()
    nr = [normals.GetTuple3(i) for i in range(normals.GetNumberOfTuples())] if normals else None
    check("vtk " + name + " has normals", nr is not None)
    same_mesh("vtk " + name, points, cells, nr, quads_repeat=repeat)
# Binary STL: triangles as they are, quads as (p1 p2 p3) and (p1 p3 p4), each with the
# unit normal of its corners.
want = []
for f in faces:
    want += [f] if len(f) == 3 else [(f[0], f[1], f[2]), (f[0], f[2], f[3])]
for name, got in (("meshio", meshio.read("out.stl")), ("vtk", None)):
    if got is None:
        data, points, cells = vtk_read(vtk.vtkSTLReader(), "out.stl")
    else:
        points, cells = got.points.tolist(), [c for block in got.cells for c in block.data.tolist()]
    tris = [tuple(tuple(map(float, points[v])) for v in c) for c in cells]
    check(name + " stl triangles", tris == [tuple(pts[v] for v in f) for f in want], tris[:2])
import numpy, struct
raw = open("out.stl", "rb").read()
check("stl size", len(raw) == 84 + 50 * len(want) and struct.unpack_from("<I", raw, 80)[0] == len(want))
for k, f in enumerate(want):
    n = numpy.frombuffer(raw, "<f4", 3, 84 + 50 * k)
    a, b, c = (numpy.array(pts[v]) for v in f)
    e = numpy.cross(b - a, c - a)
    check("stl normal %d" % k, numpy.allclose(n, e / numpy.linalg.norm(e), atol=1e-6), (n, e))
print("meshio and vtk read our files" if ok else "meshio/vtk checks failed")
sys.exit(0 if ok else 1)
PY
faces=$(grep -c '^f ' grid.obj)
got=$(assimp info out.dxf -r 2>&1 | awk '/^Faces:/ {print $2}')
[ "$got" = "$faces" ] && echo "assimp reads our DXF: $got faces" || { echo "FAIL assimp DXF faces: '$got', want $faces"; fail=1; }

# ---- files meshio and VTK wrote: same geometry back ----------------------------------------
$py - <<'PY'
import numpy, meshio, vtk
pts = numpy.array([[1, 1, 1], [2, 1, 1], [2, 2, 1], [1, 2, 1], [1.5, 1.5, 2], [3, 1, 1.25]], dtype=float)
tris = numpy.array([[0, 1, 4], [1, 2, 4], [2, 3, 4], [3, 0, 4], [1, 5, 2]])
quads = numpy.array([[0, 3, 2, 1]])
meshio.write_points_cells("mio.obj", pts, [("triangle", tris), ("quad", quads)])
meshio.write_points_cells("mio.ply", pts, [("triangle", tris), ("quad", quads)], binary=True)
meshio.write_points_cells("mioa.ply", pts, [("triangle", tris), ("quad", quads)], binary=False)
meshio.write_points_cells("mio.stl", pts, [("triangle", tris)], binary=False)
poly = vtk.vtkPolyData()
p = vtk.vtkPoints()
for q in pts:
    p.InsertNextPoint(*q)
poly.SetPoints(p)
cells = vtk.vtkCellArray()
for c in list(tris) + list(quads):
    cells.InsertNextCell(len(c), [int(v) for v in c])
poly.SetPolys(cells)
triangles = vtk.vtkPolyData()   # STL holds triangles only
triangles.SetPoints(p)
tcells = vtk.vtkCellArray()
for c in tris:
    tcells.InsertNextCell(3, [int(v) for v in c])
triangles.SetPolys(tcells)
for w, name in ((vtk.vtkOBJWriter(), "vtk.obj"), (vtk.vtkPLYWriter(), "vtk.ply"), (vtk.vtkSTLWriter(), "vtk.stl")):
    w.SetFileName(name)
    w.SetInputData(triangles if name.endswith(".stl") else poly)
    if name.endswith(".ply"):
        w.SetFileTypeToBinary()
    if name.endswith(".stl"):
        w.SetFileTypeToASCII()
    w.Write()
PY
: > back.macro
for f in mio.obj mio.ply mioa.ply mio.stl vtk.obj vtk.ply vtk.stl; do
  printf 'mesh.use %s\nmesh.load %s\nmesh.save.ply.ascii back_%s.ply\n' "$f" "$f" "$f" >> back.macro
done
run back.macro
$py - <<'PY' || fail=1
import sys
P = [(1, 1, 1), (2, 1, 1), (2, 2, 1), (1, 2, 1), (1.5, 1.5, 2), (3, 1, 1.25)]
tris = [(0, 1, 4), (1, 2, 4), (2, 3, 4), (3, 0, 4), (1, 5, 2)]
quad = [(0, 3, 2, 1)]
def canon(corners):   # a face as coordinates from its smallest corner on, keeping the turn
    k = corners.index(min(corners))
    return tuple(corners[k:] + corners[:k])
ok = True
for f in ("mio.obj", "mio.ply", "mioa.ply", "mio.stl", "vtk.obj", "vtk.ply", "vtk.stl"):
    lines = open("back_%s.ply" % f).read().split("\n")
    nv = int([l for l in lines if l.startswith("element vertex")][0].split()[2])
    body = lines[lines.index("end_header") + 1:]
    pts = [tuple(float(x) for x in l.split()[:3]) for l in body[:nv]]
    got = sorted(canon([pts[int(i)] for i in l.split()[1:]]) for l in body[nv:] if l)
    want = sorted(canon([P[i] for i in w]) for w in (tris if f.endswith("stl") else tris + quad))
    if set(pts) != set(P) or got != want:
        print("FAIL geometry of", f, pts, got)
        ok = False
print("meshio- and vtk-written files read back" if ok else "read-back failed")
sys.exit(0 if ok else 1)
PY

# ---- Debian's sample files -------------------------------------------------------------------
counted="OBJ/WusonOBJ.obj OBJ/box.obj OBJ/cube_usemtl.obj OBJ/spider.obj OBJ/empty_mat.obj
PLY/Wuson.ply PLY/cube.ply PLY/cube_binary.ply PLY/cube_uv.ply PLY/float-color.ply
STL/Spider_ascii.stl STL/sphereWithHole.stl STL/triangle_with_two_solids.stl DXF/PinkEggFromLW.dxf"
for f in $counted; do
  [ -f "$models/$f" ] || continue
  want=$(assimp info "$models/$f" -r 2>&1 | awk '/^Faces:/ {print $2}')
  printf 'mesh.load "%s"\n' "$models/$f" > one.macro
  run one.macro
  got=$(grep -E "^  Faces +:" one.macro.log | tail -1 | awk -F: '{print $2}' | tr -d ' ')
  [ "$got" = "$want" ] || { echo "FAIL $f: $got faces, assimp $want"; fail=1; }
done
echo "sample files: face counts compared"
for f in STL/Spider_binary.stl STL/Wuson.stl; do
  printf 'mesh.load "%s"\n' "$models/$f" > one.macro
  run one.macro
  grep -qx "This is not a STL-ascii-file!" one.macro.log || { echo "FAIL no refusal for $f"; fail=1; }
done
# Everything else, the broken files included: a normal end and a mesh whose faces name existing points.
: > all.macro
n=0
for f in "$models"/{OBJ,PLY,STL,DXF,WRL}/* "$models"/invalid/*; do
  [ -f "$f" ] || continue
  n=$((n + 1))
  printf 'mesh.use s%d\nmesh.load "%s"\nmesh.save.ply.ascii s%d.ply\n' $n "$f" $n >> all.macro
done
run all.macro
$py - <<'PY' || fail=1
import glob, sys
ok = True
for name in glob.glob("s[0-9]*.ply"):
    lines = open(name).read().split("\n")
    nv = int([l for l in lines if l.startswith("element vertex")][0].split()[2])
    body = lines[lines.index("end_header") + 1:]
    for l in body[nv:]:
        if l and not all(0 <= int(v) < nv for v in l.split()[1:]):
            print("FAIL", name, "face", l, "outside", nv, "points")
            ok = False
            break
print("all sample files loaded into valid meshes" if ok else "invalid meshes")
sys.exit(0 if ok else 1)
PY
exit $fail
