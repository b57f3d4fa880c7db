#!/usr/bin/env bash
# Tensor timings, whole process, best of 3 wall times:
#   tensor.load of tensor_64.nii.gz (64^3, float32, 6 volumes), less an empty macro;
#   tensor.load + tensor.measure.fa + scalar.save against MRtrix3's tensor2metric -fa on the same file;
#   scalar.connection 8 on the 96^3 fibre volume with thread.max 1 and 2, less the load (aim: speed-up >= 1.8).
# Usage: bench/tensor_bench.sh build/quorvex [data folder]   (the data of the shared bench/data.sh,
# default /tmp/quorvex-bench-data). Prints the core count and the load, since both move the figures.
set -u
bin=$(realpath "$1")
data=$(realpath "${2:-/tmp/quorvex-bench-data}")
for f in tensor_64.nii.gz fibres_96.nii.gz; do [ -s "$data/$f" ] || { echo "missing $data/$f"; exit 1; }; done
best() {  # best N command...: the least wall time in seconds
  local n=$1; shift; local b=999
  for _ in $(seq "$n"); do
    local s0 s1; s0=$(date +%s.%N); "$@" >/dev/null 2>&1; s1=$(date +%s.%N)
    b=$(python3 -c "print(min($b, $s1 - $s0))")
  done
  echo "$b"
}
t=$(mktemp -d); trap 'rm -rf "$t"' EXIT; cd "$t"
cp "$data/tensor_64.nii.gz" "$data/fibres_96.nii.gz" .
echo "cores: $(nproc), load before: $(cut -d' ' -f1-3 /proc/loadavg)"
printf 'debug.no\n' > empty.macro
printf 'debug.no\ntensor.load tensor_64.nii.gz\n' > load.macro
printf 'debug.no\ntensor.load tensor_64.nii.gz\nscalar.16bit\ntensor.make.scalar\ntensor.measure.fa\nscalar.save fa.nii\n' > fa.macro
printf 'debug.no\nscalar.16bit\nscalar.load fibres_96.nii.gz\n' > scan0.macro
for k in 1 2; do
  printf 'debug.no\nscalar.16bit\nscalar.load fibres_96.nii.gz\nthread.max := %s\nscalar.connection 8\n' $k > scan$k.macro
done
e=$(best 3 "$bin" -strict -macro=empty.macro)
l=$(best 3 "$bin" -strict -macro=load.macro)
f=$(best 3 "$bin" -strict -macro=fa.macro)
echo "tensor.load tensor_64.nii.gz: $(python3 -c "print(f'{$l - $e:.3f}')") s beyond start-up ($e s), whole process $l s"
if command -v tensor2metric >/dev/null; then
  p=$(best 3 tensor2metric -quiet -force tensor_64.nii.gz -fa peer.nii)
  echo "load + measure.fa + save: $f s; tensor2metric -fa: $p s"
else
  echo "load + measure.fa + save: $f s; tensor2metric missing"
fi
s0=$(best 3 "$bin" -strict -macro=scan0.macro)
s1=$(best 3 "$bin" -strict -macro=scan1.macro)
s2=$(best 3 "$bin" -strict -macro=scan2.macro)
python3 -c "
a = max($s1 - $s0, 1e-6); b = max($s2 - $s0, 1e-6)
print(f'scalar.connection 8 on 96^3: 1 thread {a:.2f} s, 2 threads {b:.2f} s, speed-up {a / b:.2f}')"
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
