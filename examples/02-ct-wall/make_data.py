#!/usr/bin/env python3
"""make_data.py: writes ct.nii.gz, a CT-like 16-bit volume of a hollow ball with a wall of known
thickness, noise and a few bright specks.

Usage: python3 make_data.py [output.nii.gz] [size]. The ball's outer radius is 0.35 of the
size and its wall 6 voxels thick at size 64 (scaled with the size); the wall reads about
1000, the air about 40, with deterministic noise of +-60, and 40 single bright voxels float
in the air. Standard library only.
"""
import gzip
import math
import os
import struct
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "common"))
from nifti import header  # noqa: E402


def main():
    name = sys.argv[1] if len(sys.argv) > 1 else "ct.nii.gz"
    n = int(sys.argv[2]) if len(sys.argv) > 2 else 64
    outer, wall = 0.35 * n, 6 * n / 64
    c = (n - 1) / 2
    seed = 12345
    values = bytearray(2 * n * n * n)
    specks = set()
    for _ in range(40):
        seed = (seed * 1103515245 + 12345) & 0x7FFFFFFF
        specks.add(seed % (n * n * n))
    k = 0
    for z in range(n):
        for y in range(n):
            for x in range(n):
                seed = (seed * 1103515245 + 12345) & 0x7FFFFFFF
                noise = (seed >> 8) % 121 - 60
                r = math.sqrt((x - c) ** 2 + (y - c) ** 2 + (z - c) ** 2)
                v = 1000 if outer - wall <= r <= outer else 40
                if k in specks and r > outer + 3:
                    v = 1200
                struct.pack_into("<H", values, 2 * k, max(0, v + noise))
                k += 1
    with gzip.open(name, "wb") as f:
        f.write(header(n, n, n, "uint16", "quorvex synthetic CT") + bytes(values))
    print(f"{name}: {n}^3 16-bit, wall from radius {outer - wall:.1f} to {outer:.1f}")


if __name__ == "__main__":
    main()
