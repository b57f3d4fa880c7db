#!/usr/bin/env bash
# Example 1's volume end to end: synthetic fibres, scalar.diffusion, vector field saved as .nii.gz and read by nibabel.
set -u
exe="$(realpath "$1")"
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
here="$(cd "$(dirname "$0")" && pwd)"
root="$(cd "$here/../.." && pwd)"
/usr/bin/python3 -c "import nibabel, numpy" 2>/dev/null || reader_missing "python3-nibabel not installed"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
/usr/bin/python3 "$root/examples/01-fibres/make_data.py" >/dev/null || { echo "FAIL make_data.py"; exit 1; }
printf '%s\n' debug.no scalar.8bit "scalar.load fibres.nii.gz" "scalar.diffusion.method 5" "scalar.diffusion 6" \
  "vector.save fibres-directions.nii.gz" 'print "Fibre directions written to fibres-directions.nii.gz"' > fibres.macro
out=$("$exe" -strict -macro=fibres.macro 2>&1 </dev/null)
rc=$?
fail=0
[ $rc -eq 0 ] || { echo "FAIL exit $rc"; fail=1; }
grep -qF "Fibre directions written to fibres-directions.nii.gz" <<<"$out" || { echo "FAIL no closing line"; echo "$out"; fail=1; }
grep -qF "Error" <<<"$out" && { echo "FAIL error reported"; echo "$out"; fail=1; }
[ -f fibres-directions.nii.gz ] || { echo "FAIL no output file"; exit 1; }
/usr/bin/python3 - <<'PY' || fail=1
import numpy as np, nibabel as nib
img = nib.load("fibres-directions.nii.gz")
d = np.asanyarray(img.dataobj)
assert d.shape == (64, 64, 48, 1, 3), d.shape
assert img.header.get_intent()[0] == "vector", img.header.get_intent()
d = d[:, :, :, 0, :]
s = np.asanyarray(nib.load("fibres.nii.gz").dataobj)
n = np.linalg.norm(d, axis=-1)
# Away from the border between the halves (z 24), each fibre voxel must point along its bundle.
for name, zs, ref in (("lower", slice(2, 22), np.array([1.0, 0, 0])),
                      ("upper", slice(26, 46), np.array([0, 1.0, 1.0]) / 2 ** 0.5)):
    m = (s[:, :, zs] > 0) & (n[:, :, zs] > 0)
    assert m.sum() > 0.9 * (s[:, :, zs] > 0).sum(), (name, "too few vectors", m.sum())
    u = d[:, :, zs][m] / n[:, :, zs][m][:, None]
    c = np.abs(u @ ref)
    share = (c > 0.9).mean()
    assert share > 0.85, (name, "share within 26 degrees", share)
    assert np.median(c) > 0.98, (name, "median cosine", np.median(c))
    print("ok", name, m.sum(), round(float(share), 3))
# Zero voxels are not scanned, so they keep the null vector.
assert (n[s == 0] == 0).all(), int((n[s == 0] > 0).sum())
PY
exit $fail
