#!/usr/bin/env bash
# Hostile input that once ended the process: each run ends normally with its report,
# and the macro goes on after the refused command.
set -u
exe="$(realpath "$1")"
# Under AddressSanitizer an allocation past its limit must fail as it does without it.
export ASAN_OPTIONS="allocator_may_return_null=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
fail=0
run() {   # macro text, expected report; "after" must follow it
  printf 'debug.no\n%s\nprint after\n' "$1" > t.macro
  local out rc
  out=$(timeout 20 "$exe" -strict -macro=t.macro 2>&1 </dev/null)
  rc=$?
  if [ $rc -ne 0 ] || ! grep -qF -- "$2" <<<"$out" || ! grep -qx after <<<"$out" || ! grep -q "^Done (" <<<"$out"; then
    echo "FAIL '$1' (exit $rc): expected '$2' and the macro going on"
    tail -n 6 <<<"$out"
    fail=1
  else
    echo "ok ${1%%$'\n'*}"
  fi
}
/usr/bin/python3 - <<'PY'
import gzip, struct
def header(dims, datatype, bitpix, intent=0):
    h = bytearray(348)
    struct.pack_into("<i", h, 0, 348)
    struct.pack_into("<8h", h, 40, *dims)
    struct.pack_into("<hhh", h, 68, intent, datatype, bitpix)
    struct.pack_into("<8f", h, 76, 1, 1, 1, 1, 1, 1, 1, 1)
    struct.pack_into("<ff", h, 108, 352, 1)
    h[344:348] = b"n+1\0"
    return bytes(h) + bytes(4)
# 2000^3 double vectors claimed by a file of a few hundred bytes
gzip.open("vectors.nii.gz", "wb").write(header((5, 2000, 2000, 2000, 1, 3, 1, 1), 64, 64, 1007) + bytes(40))
# a 64^3 volume followed by 1 GB of zeros: only what the header asks for is inflated
with gzip.open("bomb.nii.gz", "wb", compresslevel=9) as f:
    f.write(header((3, 64, 64, 64, 1, 1, 1, 1), 2, 8))
    for _ in range(64):
        f.write(bytes(1 << 24))
PY
printf '1 6000 6000 6000 1 0 0\n' > one.txt
# a PLY element of nine billion rows with no property (found by fuzzing: it read nothing, nine billion times)
printf 'ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\nelement face 9000000000\nend_header\n0 0 0\n1 0 0\n0 1 0\n' > rows.ply
run "vector.load vectors.nii.gz" "  Wrong file size! Header:2000x2000x2000 Create empty field."
run "vector.load one.txt" "Not enough memory! Create empty field."
run "scalar.load bomb.nii.gz" "  3DGrey (Grey) with (64x64x64)"
run "mesh.load rows.ply" "  Faces   : 0"
printf 'for.random 1e13\nprint never\nend\n' > body.txt
run "$(cat body.txt)" "  Wrong static allocation (Out of memory?)! Create empty field."
# 20,000 nested blocks: refused with a report once the stack budget is spent (the count
# of levels depends on the build), and the run stops there as after any error.
/usr/bin/python3 -c "
print('debug.no')
print('process\n' * 20000 + 'print deep\n' + 'end\n' * 20000 + 'print after')" > deep.macro
out=$(timeout 60 "$exe" -strict -macro=deep.macro 2>&1 </dev/null); rc=$?
if [ $rc -eq 0 ] && grep -q "^Error (blocks nested too deep (" <<<"$out" && grep -qx "Script ends." <<<"$out"; then
  echo "ok 20000 nested blocks"
else
  echo "FAIL 20000 nested blocks (exit $rc)"; tail -n 4 <<<"$out"; fail=1
fi
exit $fail
