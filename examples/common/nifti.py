"""nifti.py: the single-file NIfTI-1 header the examples' data scripts write. Standard library only."""
import struct

# datatype code and bits per voxel by the numpy-like names the scripts use
TYPES = {"uint8": (2, 8), "uint16": (512, 16)}


def header(nx, ny, nz, kind, description):
    """348 header bytes and the 4-byte extension flag: unit voxels, identity sform."""
    datatype, bitpix = TYPES[kind]
    h = bytearray(348)
    struct.pack_into("<i", h, 0, 348)
    h[38] = ord("r")
    struct.pack_into("<8h", h, 40, 3, nx, ny, nz, 1, 1, 1, 1)
    struct.pack_into("<hh", h, 70, datatype, bitpix)
    struct.pack_into("<8f", h, 76, 1, 1, 1, 1, 1, 1, 1, 1)
    struct.pack_into("<f", h, 108, 352)                   # vox_offset
    struct.pack_into("<f", h, 112, 1)                     # scl_slope
    h[123] = 10
    text = description.encode()[:80]
    h[148:148 + len(text)] = text
    struct.pack_into("<hh", h, 252, 0, 1)                 # qform_code, sform_code
    struct.pack_into("<4f", h, 280, 1, 0, 0, 0)
    struct.pack_into("<4f", h, 296, 0, 1, 0, 0)
    struct.pack_into("<4f", h, 312, 0, 0, 1, 0)
    h[344:348] = b"n+1\0"
    return bytes(h) + bytes(4)
