#!/usr/bin/env bash
# Vector field files read by real readers: NIfTI through nibabel, AVS and Amira headers, and back through vector.load.
set -u
exe="$(realpath "$1")"
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
/usr/bin/python3 -c "import nibabel, numpy" 2>/dev/null || reader_missing "python3-nibabel not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
# An asymmetric 4x3x2 field in the plain text form: vector (x, 10 y, 100 z) at index (x, y, z), (4,3,2) null.
: > field.txt
n=0
for z in 1 2; do for y in 1 2 3; do for x in 1 2 3 4; do
  [ "$x$y$z" = "432" ] && continue
  n=$((n + 1))
  echo "$n $((x - 1)) $((y - 1)) $((z - 1)) $x $((10 * y)) $((100 * z))" >> field.txt
done; done; done
cat > run.macro <<'MACRO'
debug.no
vector.load field.txt
vector.scale <2,1,0.5>
vector.offset <10,20,30>
vector.save out.nii.gz
vector.save out.nii
vector.save half.nii <0.5,1,1>
vector.save out.fld
vector.save out.am
vector.save out.limbert
vector.use back
vector.load out.nii.gz
s := vector.size
hi := vector.max
print s " " hi
vector.save back.txt
vector.use frame
vector.load.framework out.nii
s := vector.size
hi := vector.max
sc := vector.scale
vector.new 2 2 2
vector.load.properties out.nii
o := vector.offset
s2 := vector.size
print s " " hi " " sc " " o " " s2
MACRO
out=$("$exe" -strict -macro=run.macro 2>&1 </dev/null)
fail=0
grep -qF "<4,3,2> <4,30,200>" <<<"$out" || { echo "FAIL read back: $out"; fail=1; }
grep -qF "<4,3,2> <0,0,0> <2,1,0.5> <10,20,30> <2,2,2>" <<<"$out" || { echo "FAIL framework and properties: $out"; fail=1; }
/usr/bin/python3 - <<'PY' || fail=1
import sys, numpy as np, nibabel as nib
for name in ("out.nii.gz", "out.nii"):
    img = nib.load(name)
    d = np.asanyarray(img.dataobj)
    assert d.shape == (4, 3, 2, 1, 3), d.shape
    assert img.header.get_intent()[0] == "vector", img.header.get_intent()
    for x in range(4):
        for y in range(3):
            for z in range(2):
                want = (0, 0, 0) if (x, y, z) == (3, 2, 1) else (x + 1, 10 * (y + 1), 100 * (z + 1))
                got = tuple(d[x, y, z, 0, :])
                assert got == want, (name, x, y, z, got, want)
    aff = img.affine
    assert np.allclose(aff[:3, :3], np.diag([2, 1, 0.5])), aff
    assert np.allclose(aff[:3, 3], [10, 20, 30]), aff
    assert np.allclose(img.header.get_zooms()[:3], [2, 1, 0.5])
h = np.asanyarray(nib.load("half.nii").dataobj)
assert h[1, 0, 0, 0, 0] == 1.0 and h[1, 0, 0, 0, 1] == 10.0, h[1, 0, 0, 0]
print("ok nibabel")
PY
head -c 200 out.fld | grep -qa "^data=float" || { echo "FAIL fld header"; fail=1; }
grep -qa "^dim1=4$" out.fld || { echo "FAIL fld dim1"; fail=1; }
size=$(stat -c %s out.fld); hdr=$(grep -abo $'\f\f' out.fld | head -1 | cut -d: -f1)
[ $((size - hdr - 2)) -eq $((24 * 12)) ] || { echo "FAIL fld data size $size $hdr"; fail=1; }
head -1 out.am | grep -qF "# AmiraMesh 3D ASCII 2.0" || { echo "FAIL am"; fail=1; }
[ "$(sed -n '/^@1$/,$p' out.am | tail -n +2 | wc -l)" -eq 24 ] || { echo "FAIL am data lines"; fail=1; }
[ "$(grep -c '^<' out.limbert)" -eq 46 ] || { echo "FAIL limbert lines"; fail=1; }
[ "$(wc -l < back.txt)" -eq 23 ] || { echo "FAIL text lines"; fail=1; }
# Odd files: a header promising 30000^3 vectors, a cut file, a 3D scalar file; none may crash.
/usr/bin/python3 - <<'PY'
import gzip
data = open("out.nii", "rb").read()
big = bytearray(data[:352])
big[42:48] = (30000).to_bytes(2, "little") * 3
open("absurd.nii", "wb").write(bytes(big))
with gzip.open("absurd.nii.gz", "wb") as f:
    f.write(bytes(big))
open("cut.nii", "wb").write(data[:352 + 100])
flat = bytearray(data[:352 + 24 * 8])
flat[40:42] = (3).to_bytes(2, "little")
flat[48:50] = (1).to_bytes(2, "little")
flat[50:52] = (1).to_bytes(2, "little")
open("flat.nii", "wb").write(bytes(flat))
open("junk.nii", "wb").write(b"not a header at all " * 20)
PY
cat > odd.macro <<'MACRO'
debug.no
vector.load absurd.nii
vector.load absurd.nii.gz
vector.load cut.nii
vector.load flat.nii
vector.load junk.nii
vector.load missing.nii
f := vector.ifvector
print "after odd files " f
MACRO
odd=$("$exe" -strict -macro=odd.macro 2>&1 </dev/null)
rc=$?
[ $rc -eq 0 ] || { echo "FAIL odd files exit $rc"; fail=1; }
for want in "Wrong file size! Header:30000x30000x30000" "Bad dim size (4x3x2)" "Wrong header!" "Couldn't read File (missing.nii)" "after odd files 0"; do
  grep -qF "$want" <<<"$odd" || { echo "FAIL odd files: no '$want'"; echo "$odd"; fail=1; }
done
# The gzip form could not hold the voxels either, whatever its trailer says.
[ "$(grep -cF "Wrong file size! Header:30000x30000x30000" <<<"$odd")" -eq 2 ] || { echo "FAIL absurd gzip"; fail=1; }
exit $fail
