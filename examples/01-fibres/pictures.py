#!/usr/bin/env python3
"""pictures.py <output folder> <picture folder>: two pictures of example 1's results.

fibres-directions.png: the slice x = 36 (the y-z plane, through both bundles) of
directions.nii.gz, each voxel coloured by its direction, red |x|, green |y|, blue |z|.
fibres-fa.png: the same slice of fa.nii.gz through a viridis-like colour ramp.
Both are enlarged four times, nearest neighbour. Needs numpy, nibabel and PIL.
"""
import sys

import numpy as np
import nibabel as nib
from PIL import Image

out, pictures = sys.argv[1], sys.argv[2]
d = np.asarray(nib.load(f"{out}/directions.nii.gz").dataobj)
d = d.reshape(d.shape[:3] + (3,))
x = 36   # a plane through the axes of the upper tubes (x mod 8 = 4)
v = d[x]                                        # (y, z, 3)
n = np.linalg.norm(v, axis=2, keepdims=True)
rgb = np.where(n > 0, np.abs(v) / np.where(n > 0, n, 1) * 255, 0).astype(np.uint8)


def picture(a):   # (y, z, ...) with z up, four times larger
    a = np.flipud(np.swapaxes(a, 0, 1))
    return np.repeat(np.repeat(a, 4, axis=0), 4, axis=1)


Image.fromarray(picture(rgb)).save(f"{pictures}/fibres-directions.png", optimize=True)

fa = np.asarray(nib.load(f"{out}/fa.nii.gz").dataobj)[x].astype(float) / 128.0
ramp = np.array([[68, 1, 84], [59, 82, 139], [33, 145, 140], [94, 201, 98], [253, 231, 37]], float)
t = np.clip(fa, 0, 1) * (len(ramp) - 1)
i = np.minimum(t.astype(int), len(ramp) - 2)
f = (t - i)[..., None]
col = (ramp[i] * (1 - f) + ramp[i + 1] * f).astype(np.uint8)
col[fa <= 0] = 0
Image.fromarray(picture(col)).save(f"{pictures}/fibres-fa.png", optimize=True)
print(f"pictures: {pictures}/fibres-directions.png, {pictures}/fibres-fa.png")
