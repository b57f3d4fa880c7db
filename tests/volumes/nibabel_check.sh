#!/bin/bash
# python3-nibabel and this program read each other's NIfTI and Analyze files:
# shape, data type, sform and qform, and voxel values by the conversion rules.
set -u
prog=$(readlink -f "$1")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
/usr/bin/python3 -c "import nibabel, numpy" 2>/dev/null || reader_missing "python3-nibabel not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"

# Fixtures written by nibabel, the macro that loads and saves them, and the expected voxels.
/usr/bin/python3 - <<'PY' || exit 1
import numpy as np, nibabel as nib
rng = np.random.default_rng(7)
c, s = np.cos(0.3), np.sin(0.3)
aff = np.array([[0.5 * c, -0.7 * s, 0, 10], [0.5 * s, 0.7 * c, 0, -20], [0, 0, 1.25, 30], [0, 0, 0, 1]])
shape = (5, 4, 3)

def save(img, name, sform=1, qform=1):
    img.set_sform(aff, code=sform)
    img.set_qform(aff, code=qform)
    nib.save(img, name)

def ints(dtype):
    info = np.iinfo(dtype)
    v = rng.integers(info.min, info.max, size=shape, dtype=dtype, endpoint=True)
    v.flat[0], v.flat[1] = info.min, info.max
    return v

cases = {}   # name: (file, stack, switch, expected array, expected dtype)
def top(v, bits, signed, target):
    u = v.astype(object)
    if signed: u = u + (1 << (bits - 1))
    shift = bits - target
    return np.array((u >> shift) if shift > 0 else u, dtype=np.int64)

for dt, bits, signed in [(np.uint8, 8, 0), (np.int8, 8, 1), (np.int16, 16, 1), (np.uint16, 16, 0),
                         (np.int32, 32, 1), (np.uint32, 32, 0), (np.int64, 64, 1), (np.uint64, 64, 0)]:
    v = ints(dt)
    name = "in_%s.nii" % np.dtype(dt).name
    save(nib.Nifti1Image(v, aff, dtype=dt), name)
    cases[np.dtype(dt).name] = (name, "", "scalar.16bit", top(v, bits, signed, 16), np.uint16)

# int16 into gray: the high byte of value + 32768; uint8 into mono: above 127.
v16 = ints(np.int16)
save(nib.Nifti1Image(v16, aff), "in_gray.nii")
cases["gray"] = ("in_gray.nii", "", "scalar.8bit", top(v16, 16, 1, 8), np.uint8)
v8 = ints(np.uint8)
save(nib.Nifti1Image(v8, aff), "in_mono.nii")
cases["mono"] = ("in_mono.nii", "", "scalar.1bit", (v8 > 127).astype(np.int64), np.uint8)

# Floats: no header range gives the automatic range, a range from cal_min/cal_max clamps.
f32 = rng.normal(0, 100, size=shape).astype(np.float32)
save(nib.Nifti1Image(f32, aff), "in_float32.nii")
lo, hi = float(f32.min()), float(f32.max())
cases["float32"] = ("in_float32.nii", "", "scalar.16bit",
                    np.clip(np.rint((f32.astype(np.float64) - lo) * 65535 / (hi - lo)), 0, 65535).astype(np.int64), np.uint16)
f64 = rng.normal(0, 100, size=shape)
img = nib.Nifti1Image(f64, aff)
img.header["cal_min"], img.header["cal_max"] = -50, 50
save(img, "in_float64.nii")
cases["float64"] = ("in_float64.nii", "", "scalar.8bit",
                    np.clip(np.rint((f64 + 50) * 255 / 100), 0, 255).astype(np.int64), np.uint8)

# Big-endian, gzip, pair, Analyze, and a stack of a 4D file counted from the end.
big = ints(np.int16)
save(nib.Nifti1Image(big.astype(">i2"), aff), "in_big.nii")
cases["big"] = ("in_big.nii", "", "scalar.16bit", top(big, 16, 1, 16), np.uint16)
gz = ints(np.uint16)
save(nib.Nifti1Image(gz, aff), "in_gz.nii.gz")
cases["gz"] = ("in_gz.nii.gz", "", "scalar.16bit", gz.astype(np.int64), np.uint16)
pair = ints(np.uint8)
save(nib.Nifti1Pair(pair, aff), "in_pair.hdr")
cases["pair"] = ("in_pair.img", "", "scalar.16bit", pair.astype(np.int64), np.uint16)
four = rng.integers(0, 60000, size=shape + (6,), dtype=np.uint16)
save(nib.Nifti1Image(four, aff), "in_4d.nii")
cases["4d"] = ("in_4d.nii", "-2", "scalar.16bit", four[..., 4].astype(np.int64), np.uint16)
ana = ints(np.int16)
nib.save(nib.AnalyzeImage(ana, np.diag([2.0, 3.0, 4.0, 1.0])), "in_analyze.hdr")
cases["analyze"] = ("in_analyze.hdr", "", "scalar.16bit", top(ana, 16, 1, 16), np.uint16)

# Only the quaternion: sform code 0, qform code 1.
q = ints(np.uint16)
save(nib.Nifti1Image(q, aff), "in_qform.nii", sform=0, qform=1)
cases["qform"] = ("in_qform.nii", "", "scalar.16bit", q.astype(np.int64), np.uint16)

with open("run.macro", "w") as m:
    m.write("debug.no\n")
    for key, (name, stack, switch, _, _) in cases.items():
        m.write("%s\nscalar.use %s\nscalar.load %s %s\nscalar.save out_%s.nii\n" % (switch, key, name, stack, key))
    # the other written forms, from the 16-bit copy of int16 data
    m.write("scalar.use int16\nscalar.save out_int16.nii.gz\nscalar.save out_int16.hdr\n")
np.savez("expected.npz", **{k: v[3] for k, v in cases.items()},
         **{"dtype_" + k: np.array(np.dtype(v[4]).str) for k, v in cases.items()})
np.save("affine.npy", aff)
PY

"$prog" -strict -macro=run.macro > run.log 2>&1 || { cat run.log; exit 1; }

/usr/bin/python3 - <<'PY' || { cat run.log; exit 1; }
import numpy as np, nibabel as nib
exp = np.load("expected.npz")
aff = np.load("affine.npy")
keys = [k for k in exp.files if not k.startswith("dtype_")]
failed = 0
for k in keys + ["int16.nii.gz", "int16.hdr"]:
    name = "out_" + (k if "." in k else k + ".nii")
    want = exp[k.split(".")[0]]
    dt = np.dtype(str(exp["dtype_" + k.split(".")[0]]))
    img = nib.load(name)
    data = np.asanyarray(img.dataobj)
    ok = data.shape == want.shape and data.dtype == dt and np.array_equal(data.astype(np.int64), want)
    want_aff = np.diag([2.0, 3.0, 4.0, 1.0]) if k == "analyze" else aff
    for code_aff in (img.get_sform(), img.get_qform()):
        ok = ok and np.allclose(code_aff, want_aff, atol=1e-5)
    ok = ok and int(img.header["sform_code"]) == 1 and int(img.header["qform_code"]) == 1
    print(name, data.shape, data.dtype, "ok" if ok else "FAILED")
    if not ok:
        failed += 1
        print("  want", want.ravel()[:8], "got", data.ravel()[:8])
        print("  sform", img.get_sform().round(4).tolist(), "qform", img.get_qform().round(4).tolist())
raise SystemExit(1 if failed else 0)
PY
