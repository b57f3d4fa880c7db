#!/usr/bin/env python3
"""make_data.py: writes fibres.nii.gz, a small 8-bit volume of fibre bundles in two directions.

Usage: python3 make_data.py [output.nii.gz]. Tubes of radius 2.6 run along x in the
lower half and along the diagonal of y and z in the upper half; grey values fall
off from each tube's core, with a little deterministic noise. Standard library only.
"""
import gzip
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "common"))
from nifti import header  # noqa: E402

NX, NY, NZ = 64, 64, 48


def voxel(x, y, z):
    if z < NZ // 2:
        # along x: tube centres on an 8-voxel grid in y and z
        dy, dz = (y % 8) - 4, (z % 8) - 4
        r2 = dy * dy + dz * dz
    else:
        # along (0, 1, 1): x on an 8-voxel grid, y - z on a 12-step grid (8.5 voxels apart)
        w = (y - z) % 12 - 6
        r2 = ((x % 8) - 4) ** 2 + w * w // 2
    if r2 > 7:
        return 0
    noise = (x * 73856093 ^ y * 19349663 ^ z * 83492791) >> 7 & 7
    return 120 + 15 * (7 - r2) + noise


def main():
    name = sys.argv[1] if len(sys.argv) > 1 else "fibres.nii.gz"
    data = bytes(voxel(x, y, z) for z in range(NZ) for y in range(NY) for x in range(NX))
    with gzip.open(name, "wb") as f:
        f.write(header(NX, NY, NZ, "uint8", "quorvex synthetic fibres") + data)
    lit = sum(1 for v in data if v)
    print(f"{name}: {NX}x{NY}x{NZ} bytes, {100 * lit / len(data):.0f} % non-zero")


if __name__ == "__main__":
    main()
