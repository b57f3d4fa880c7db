#!/usr/bin/env python3
"""Surface extraction peers on one volume at level 100: vtkMarchingCubes,
vtkFlyingEdges3D and skimage's marching_cubes. Prints the best of five for the
extraction alone (wall and processor seconds) and for load plus extraction.
With --once vtkmc|vtkfe|skimage FILE: one load and extraction, for timing whole processes."""
import sys
import time

import nibabel as nib
import numpy as np


def best(fn, n=5):
    wall = cpu = 1e30
    out = None
    for _ in range(n):
        t0, c0 = time.perf_counter(), time.process_time()
        out = fn()
        wall, cpu = min(wall, time.perf_counter() - t0), min(cpu, time.process_time() - c0)
    return wall, cpu, out


def load(name):
    return np.asarray(nib.load(name).dataobj)


def vtk_run(cls, a):
    import vtk
    from vtk.util import numpy_support as ns
    img = vtk.vtkImageData()
    img.SetDimensions(*a.shape)
    img.GetPointData().SetScalars(ns.numpy_to_vtk(a.ravel(order="F"), deep=1))
    f = cls()
    f.SetInputData(img)
    f.SetValue(0, 100)
    if hasattr(f, "ComputeNormalsOn"):
        f.ComputeNormalsOn()
    f.Update()
    o = f.GetOutput()
    return o.GetNumberOfPoints(), o.GetNumberOfPolys()


def skimage_run(a):
    from skimage.measure import marching_cubes
    v, f, _, _ = marching_cubes(a, level=100)
    return len(v), len(f)


def once(which, name):   # one whole process: imports, load, extract
    a = load(name)
    if which == "skimage":
        skimage_run(a)
    else:
        import vtk
        vtk_run(vtk.vtkMarchingCubes if which == "vtkmc" else vtk.vtkFlyingEdges3D, a)


def main():
    if sys.argv[1] == "--once":
        return once(sys.argv[2], sys.argv[3])
    name = sys.argv[1]
    a = load(name)
    voxels = a.size
    peers = []
    try:
        import vtk
        peers += [("vtkMarchingCubes", lambda x: vtk_run(vtk.vtkMarchingCubes, x)),
                  ("vtkFlyingEdges3D", lambda x: vtk_run(vtk.vtkFlyingEdges3D, x))]
    except ImportError:
        print("vtk missing (python3-vtk9)")
    try:
        import skimage.measure  # noqa: F401
        peers.append(("skimage marching_cubes", skimage_run))
    except ImportError:
        print("skimage missing (python3-skimage)")
    for label, run in peers:
        wall, cpu, (points, faces) = best(lambda: run(a))
        whole, _, _ = best(lambda: run(load(name)))
        print(f"{label}: extract {wall:.4f} s wall ({voxels / wall / 1e6:.1f} Mvoxel/s), {cpu:.4f} s processor; "
              f"load and extract {whole:.4f} s; points {points}, faces {faces}")


main()
