#!/usr/bin/env bash
# Sets up, builds and runs the demo: a synthetic fibre volume is made, its fibre
# directions are found with `scalar.diffusion`, and the vector field is written
# to demo/out/fibres-directions.nii.gz.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" -DQV_BENCH=OFF
mkdir -p "$root/demo/out"
cd "$root/demo/out"
/usr/bin/python3 "$root/demo/make_fibres.py" fibres.nii.gz
"$root/build/quorvex" -strict -macro="$root/demo/fibres.macro"
echo
echo "Result: $root/demo/out/fibres-directions.nii.gz"
/usr/bin/python3 - <<'PY' || true
import nibabel as nib, numpy as np
img = nib.load("fibres-directions.nii.gz")
v = np.asarray(img.dataobj).reshape(img.shape[:3] + (3,))
nz = np.linalg.norm(v, axis=3) > 0
low, high = v[:, :, : v.shape[2] // 2][nz[:, :, : v.shape[2] // 2]], v[:, :, v.shape[2] // 2 :][nz[:, :, v.shape[2] // 2 :]]
unit = lambda a: a / np.linalg.norm(a, axis=1, keepdims=True)
print("nibabel reads it back: shape", img.shape, "intent", img.header.get_intent()[0])
print("mean |cos| to x in the lower half: %.3f" % np.abs(unit(low)[:, 0]).mean())
print("mean |cos| to the y-z diagonal in the upper half: %.3f" % np.abs(unit(high) @ np.array([0, 1, 1]) / np.sqrt(2)).mean())
PY
