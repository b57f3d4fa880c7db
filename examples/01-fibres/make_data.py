#!/usr/bin/env python3
"""make_data.py: writes fibres.nii.gz, a small 8-bit volume of fibre bundles in two directions.

Usage: python3 make_data.py [output.nii.gz]. Tubes of radius 2.6 run along x in the
lower half and along the diagonal of y and z in the upper half; grey values fall
off from each tube's core, with a little deterministic noise. Standard library only.
"""
import gzip
import struct
import sys

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


def header():
    h = bytearray(348)
    struct.pack_into("<i", h, 0, 348)
    h[38] = ord("r")
    struct.pack_into("<8h", h, 40, 3, NX, NY, NZ, 1, 1, 1, 1)
    struct.pack_into("<hh", h, 70, 2, 8)                  # datatype uint8, bitpix 8
    struct.pack_into("<8f", h, 76, 1, 1, 1, 1, 1, 1, 1, 1)
    struct.pack_into("<f", h, 108, 352)                   # vox_offset
    struct.pack_into("<f", h, 112, 1)                     # scl_slope
    h[123] = 10
    h[148:148 + 24] = b"quorvex synthetic fibres"
    struct.pack_into("<hh", h, 252, 0, 1)                 # qform_code, sform_code
    struct.pack_into("<4f", h, 280, 1, 0, 0, 0)
    struct.pack_into("<4f", h, 296, 0, 1, 0, 0)
    struct.pack_into("<4f", h, 312, 0, 0, 1, 0)
    h[344:348] = b"n+1\0"
    return bytes(h) + bytes(4)


def main():
    name = sys.argv[1] if len(sys.argv) > 1 else "fibres.nii.gz"
    data = bytes(voxel(x, y, z) for z in range(NZ) for y in range(NY) for x in range(NX))
    with gzip.open(name, "wb") as f:
        f.write(header() + data)
    lit = sum(1 for v in data if v)
    print(f"{name}: {NX}x{NY}x{NZ} bytes, {100 * lit / len(data):.0f} % non-zero")


if __name__ == "__main__":
    main()
