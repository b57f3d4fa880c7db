#!/usr/bin/env python3
"""check.py <output folder>: reads the example's results with nibabel and VTK and checks
the numbers that matter. Prints a summary; exits 1 on a failed check."""
import sys
import warnings

import numpy as np
import nibabel as nib
from nibabel.streamlines import load as load_tracks

warnings.simplefilter("ignore")
out = sys.argv[1]
failed = []


def check(ok, what):
    print(("ok   " if ok else "FAIL ") + what)
    if not ok:
        failed.append(what)


volume = np.asarray(nib.load(f"{out}/fibres.nii.gz").dataobj)
lit = volume > 0
directions = nib.load(f"{out}/directions.nii.gz")
d = np.asarray(directions.dataobj).reshape(volume.shape + (3,))
check(directions.header.get_intent()[0] == "vector", "directions.nii.gz is a NIfTI vector field")
found = np.linalg.norm(d, axis=3) > 0
half = volume.shape[2] // 2


def units(part, mask):
    v = part[mask]
    return v / np.linalg.norm(v, axis=1, keepdims=True)


along_x = np.abs(units(d[:, :, :half], found[:, :, :half])[:, 0]).mean()
diagonal = np.abs(units(d[:, :, half:], found[:, :, half:]) @ np.array([0, 1, 1]) / np.sqrt(2)).mean()
check(along_x > 0.9, f"lower bundles run along x (mean |cos| {along_x:.3f})")
check(diagonal > 0.8, f"upper bundles run along the y-z diagonal (mean |cos| {diagonal:.3f})")

tensor = nib.load(f"{out}/tensor.nii.gz")
check(tensor.shape == volume.shape + (1, 6) and tensor.header.get_intent()[0] == "symmetric matrix",
      f"tensor.nii.gz holds 6 components a voxel, intent {tensor.header.get_intent()[0]}")
fa = np.asarray(nib.load(f"{out}/fa.nii.gz").dataobj) / 128.0
md = np.asarray(nib.load(f"{out}/md.nii.gz").dataobj)
check(fa.max() <= 1.0 and fa[lit].mean() > 0.5 and not fa[~lit].any(),
      f"FA in 0..1, high in the fibres (mean {fa[lit].mean():.2f}), 0 outside")
check(md[lit].mean() > 0 and not md[~lit].any(), "MD positive in the fibres, 0 outside")

tracks = load_tracks(f"{out}/fibres.trk")
lengths = np.array([np.linalg.norm(np.diff(s, axis=0), axis=1).sum() for s in tracks.streamlines])
check(len(lengths) > 300, f"{len(lengths)} streamlines in fibres.trk")
kept = int(open(f"{out}/fibres.log").read().split("Streamlines kept: ")[1].split()[0])
check(len(lengths) == kept, f"as many streamlines as the macro kept ({kept})")
check(lengths.min() >= 9.99 and lengths.mean() > 20, f"mean streamline length {lengths.mean():.1f} voxels")
inside = np.concatenate(list(tracks.streamlines))
check(np.all((inside >= -1) & (inside <= np.array(volume.shape) + 1)), "streamline points lie in the volume")
try:
    import vtk
    r = vtk.vtkXMLPolyDataReader()
    r.SetFileName(f"{out}/fibres.vtp")
    r.Update()
    poly = r.GetOutput()
    check(poly.GetNumberOfLines() == len(lengths) and poly.GetNumberOfPoints() == len(inside),
          f"VTK reads fibres.vtp: {poly.GetNumberOfLines()} lines, {poly.GetNumberOfPoints()} points")
except ImportError:
    print("skip VTK check: python3-vtk9 not installed")
sys.exit(1 if failed else 0)
