#!/usr/bin/env python3
"""check.py <output folder>: reads the example's results with nibabel, meshio and VTK and
checks the numbers that matter. Prints a summary; exits 1 on a failed check."""
import sys
import warnings

import numpy as np
import nibabel as nib
import meshio

warnings.simplefilter("ignore")
out = sys.argv[1]
failed = []


def check(ok, what):
    print(("ok   " if ok else "FAIL ") + what)
    if not ok:
        failed.append(what)


def area(points, triangles):
    a, b, c = (points[triangles[:, k]] for k in range(3))
    return 0.5 * np.linalg.norm(np.cross(b - a, c - a), axis=1).sum()


clean = np.asarray(nib.load(f"{out}/clean.nii.gz").dataobj)
n = clean.shape[0]
c = (n - 1) / 2
z, y, x = np.meshgrid(*(np.arange(n),) * 3, indexing="ij")
r = np.sqrt((x - c) ** 2 + (y - c) ** 2 + (z - c) ** 2).transpose(2, 1, 0)
outer, wall = 0.35 * n, 6 * n / 64
shell = (r >= outer - wall + 1) & (r <= outer - 1)
air = r > outer + 1.5
check(set(np.unique(clean)) <= {0, 1000}, "the cleaned volume holds 0 and 1000 only")
check((clean[shell] == 1000).mean() > 0.99, f"the wall stands ({(clean[shell] == 1000).mean():.3f} of its core)")
check(not clean[air].any(), f"no bright voxel left in the air ({int((clean[air] > 0).sum())})")

ply = meshio.read(f"{out}/wall.ply")
stl = meshio.read(f"{out}/wall.stl")
tri = np.concatenate([b.data for b in ply.cells if b.type == "triangle"])
faces = int(open(f"{out}/wall.log").read().split("Surface faces: ")[1].split()[0])
check(len(tri) == faces, f"wall.ply holds the {faces} faces the macro made")
ours = area(ply.points, tri)
stl_tri = np.concatenate([b.data for b in stl.cells])
check(len(stl_tri) == faces and abs(area(stl.points, stl_tri) - ours) < 1e-3 * ours,
      f"wall.stl holds the same {len(stl_tri)} triangles and area")
try:
    import vtk
    from vtk.util.numpy_support import numpy_to_vtk
    img = vtk.vtkImageData()
    img.SetDimensions(clean.shape)
    img.GetPointData().SetScalars(numpy_to_vtk((clean.ravel(order="F") >= 500).astype(np.float32)))
    mc = vtk.vtkMarchingCubes()
    mc.SetInputData(img)
    mc.SetValue(0, 0.5)
    mc.Update()
    mass = vtk.vtkMassProperties()
    mass.SetInputData(mc.GetOutput())
    mass.Update()
    theirs = mass.GetSurfaceArea()
    # Both are lattice surfaces of the same voxels; ours cuts the cubes by its own table.
    check(abs(ours - theirs) < 0.2 * theirs, f"surface area {ours:.0f}, VTK's marching cubes {theirs:.0f}")
except ImportError:
    print("skip VTK check: python3-vtk9 not installed")
sphere = 4 * np.pi * (outer ** 2 + (outer - wall) ** 2)
print(f"     (the two ideal spheres: {sphere:.0f})")
sys.exit(1 if failed else 0)
