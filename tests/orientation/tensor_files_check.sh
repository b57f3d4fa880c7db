#!/usr/bin/env bash
# Tensor field files and measures checked by real readers and a real peer: nibabel reads our NIfTI
# tensors and measures, MRtrix3's tensor2metric computes the FA of the same file, teem's unu reads our NRRD.
set -u
exe="$(realpath "$1")"
/usr/bin/python3 -c "import nibabel, numpy" 2>/dev/null || { echo "nibabel missing"; exit 77; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
# A 4x3x2 field of positive definite tensors in the 4D form (volumes xx, yy, zz, xy, xz, yz),
# voxel (4,3,2) null, with a frame.
/usr/bin/python3 - <<'PY'
import numpy as np, nibabel as nib
rng = np.random.default_rng(14)
t = np.zeros((4, 3, 2, 6), np.float32)
for i in np.ndindex(4, 3, 2):
    a = rng.normal(size=(3, 3))
    d = a @ a.T + 0.2 * np.eye(3)
    t[i] = [d[0, 0], d[1, 1], d[2, 2], d[0, 1], d[0, 2], d[1, 2]]
t[3, 2, 1] = 0
aff = np.diag([2.0, 1.0, 0.5, 1.0]); aff[:3, 3] = [10, 20, 30]
img = nib.Nifti1Image(t, aff)
img.set_qform(aff, code=1); img.set_sform(aff, code=1)
nib.save(img, "in.nii.gz")
PY
cat > run.macro <<'MACRO'
debug.no
thread.max := 2
tensor.load in.nii.gz
tensor.save out.nii.gz
tensor.save out.nrrd
tensor.save out.nhdr
scalar.16bit
tensor.make.scalar
tensor.measure.fa
scalar.save fa.nii
scalar.8bit
lin := tensor.make.scalar
lin := tensor.measure.linear
scalar.use lin
scalar.save linear.nii
tensor.make.vector
tensor.eigenvalues
vector.save ev.nii
tensor.eigenvector.max
vector.save e1.nii
tensor.flip.x
tensor.save flipped.nii
MACRO
out=$("$exe" -strict -macro=run.macro 2>&1 </dev/null)
fail=0
grep -qF "  3DTensor (32Float) with (4x3x2)" <<<"$out" || { echo "FAIL load label: $out"; fail=1; }
/usr/bin/python3 - <<'PY' || fail=1
import numpy as np, nibabel as nib
src = np.asanyarray(nib.load("in.nii.gz").dataobj).astype(np.float64)
img = nib.load("out.nii.gz")
d = np.asanyarray(img.dataobj)
assert d.shape == (4, 3, 2, 1, 6), d.shape
assert d.dtype == np.float64, d.dtype
assert img.header.get_intent()[0] == "symmetric matrix", img.header.get_intent()
assert np.array_equal(d[:, :, :, 0, :], src)
assert np.allclose(img.affine[:3, :3], np.diag([2, 1, 0.5])) and np.allclose(img.affine[:3, 3], [10, 20, 30])
def matrix(t):
    return np.array([[t[0], t[3], t[4]], [t[3], t[1], t[5]], [t[4], t[5], t[2]]])
fa = np.asanyarray(nib.load("fa.nii").dataobj)
lin = np.asanyarray(nib.load("linear.nii").dataobj)
ev = np.asanyarray(nib.load("ev.nii").dataobj)
e1 = np.asanyarray(nib.load("e1.nii").dataobj)
for i in np.ndindex(4, 3, 2):
    if not src[i].any():
        assert fa[i] == 0 and lin[i] == 0 and not ev[i].any(), i
        continue
    w, v = np.linalg.eigh(matrix(src[i]))
    e = w[::-1]
    f = np.sqrt(1.5) * np.linalg.norm(e - e.mean()) / np.linalg.norm(e)
    assert fa[i] == min(int(f * 32768), 65535), (i, fa[i], f * 32768)
    assert lin[i] == min(int((e[0] - e[1]) / e.sum() * 255), 255), (i, lin[i])
    assert np.allclose(ev[i][0], e, rtol=1e-9), (i, ev[i], e)
    assert abs(abs(np.dot(e1[i][0], v[:, 2])) - 1) < 1e-9, (i, e1[i], v[:, 2])
flipped = np.asanyarray(nib.load("flipped.nii").dataobj)[:, :, :, 0, :]
assert np.array_equal(flipped[::-1, :, :, :3], src[:, :, :, :3])
assert np.array_equal(flipped[::-1, :, :, 3:], src[:, :, :, 3:] * [-1, -1, 1])
# NRRD: header then xx, xy, xz, yy, yz, zz per voxel; the detached form holds the same bytes.
raw = open("out.nrrd", "rb").read()
head, data = raw.split(b"\n\n", 1)
assert b"sizes: 6 4 3 2" in head and b"kinds: 3D-symmetric-matrix domain domain domain" in head, head
n = np.frombuffer(data, "<f8").reshape(2, 3, 4, 6).transpose(2, 1, 0, 3)
assert np.array_equal(n, src[..., [0, 3, 4, 1, 5, 2]])
assert open("out.raw", "rb").read() == data
assert b"data file: out.raw" in open("out.nhdr", "rb").read()
print("ok nibabel")
PY
if command -v tensor2metric >/dev/null; then
  tensor2metric -quiet -force in.nii.gz -fa peer.nii && /usr/bin/python3 - <<'PY' || fail=1
import numpy as np, nibabel as nib
peer = np.asanyarray(nib.load("peer.nii").dataobj).astype(np.float64)
ours = np.asanyarray(nib.load("fa.nii").dataobj).astype(np.float64) / 32768
assert peer.shape == ours.shape, (peer.shape, ours.shape)
assert np.all(np.abs(peer - ours) <= 1.5 / 32768), np.abs(peer - ours).max()
print("ok tensor2metric")
PY
else
  echo "tensor2metric missing: peer check skipped"
fi
if command -v teem-unu >/dev/null; then
  teem-unu head out.nrrd | grep -q "kinds: 3D-symmetric-matrix" || { echo "FAIL unu head"; fail=1; }
  teem-unu save -i out.nhdr -f nrrd -e raw -o again.nrrd || { echo "FAIL unu read nhdr"; fail=1; }
  [ "$(tail -c 1152 again.nrrd | md5sum)" = "$(md5sum < out.raw)" ] || { echo "FAIL unu data"; fail=1; }
else
  echo "teem-unu missing: NRRD reader check skipped"
fi
# Odd files: a cut file, a 3D scalar file, an unknown type, junk; none may crash.
/usr/bin/python3 - <<'PY'
import gzip
data = gzip.open("out.nii.gz", "rb").read()
open("cut.nii", "wb").write(data[:352 + 100])
flat = bytearray(data[:352 + 24 * 8])
flat[40:42] = (3).to_bytes(2, "little")
open("flat.nii", "wb").write(bytes(flat))
odd = bytearray(data)
odd[70:72] = (32).to_bytes(2, "little")
open("complex.nii", "wb").write(bytes(odd))
open("junk.nii", "wb").write(b"not a header at all " * 20)
PY
cat > odd.macro <<'MACRO'
debug.no
tensor.load cut.nii
tensor.load flat.nii
tensor.load complex.nii
tensor.load junk.nii
tensor.load missing.nii.gz
s := tensor.size
print s
MACRO
out=$("$exe" -strict -macro=odd.macro 2>&1 </dev/null)
for want in "  Wrong file size! Header:4x3x2 Create empty field." "  Bad dim size (4x3x2)! Create empty field." \
            "  Bad datatype [32]! Create empty field." "  Wrong header! Create empty field." \
            "  Couldn't read File (missing.nii.gz)! Create empty field." "<0,0,0>"; do
  grep -qF -- "$want" <<<"$out" || { echo "FAIL odd files, no '$want': $out"; fail=1; }
done
exit $fail
