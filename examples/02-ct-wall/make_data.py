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
import struct
import sys


def header(n):
    h = bytearray(348)
    struct.pack_into("<i", h, 0, 348)
    h[38] = ord("r")
    struct.pack_into("<8h", h, 40, 3, n, n, n, 1, 1, 1, 1)
    struct.pack_into("<hh", h, 70, 512, 16)                # datatype uint16, bitpix 16
    struct.pack_into("<8f", h, 76, 1, 1, 1, 1, 1, 1, 1, 1)
    struct.pack_into("<f", h, 108, 352)                   # vox_offset
    struct.pack_into("<f", h, 112, 1)                     # scl_slope
    h[123] = 10
    h[148:148 + 20] = b"quorvex synthetic CT"
    struct.pack_into("<hh", h, 252, 0, 1)                 # qform_code, sform_code
    struct.pack_into("<4f", h, 280, 1, 0, 0, 0)
    struct.pack_into("<4f", h, 296, 0, 1, 0, 0)
    struct.pack_into("<4f", h, 312, 0, 0, 1, 0)
    h[344:348] = b"n+1\0"
    return bytes(h) + bytes(4)


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
        f.write(header(n) + bytes(values))
    print(f"{name}: {n}^3 16-bit, wall from radius {outer - wall:.1f} to {outer:.1f}")


if __name__ == "__main__":
    main()
