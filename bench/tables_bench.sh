#!/usr/bin/env bash
# Table and list speed, whole process less start-up, beside Python in the same run:
#   table.load of a ~100 MB tab-separated file (one million rows of ten numbers) and
#   table.getstat, against csv.reader and numpy.loadtxt on the same file;
#   list.load and list.save of ten million reals.
# Usage: bench/tables_bench.sh build/quorvex
set -u
bin=$(realpath "$1")
t=$(mktemp -d); trap 'rm -rf "$t"' EXIT; cd "$t"
echo "cores: $(nproc), load: $(cut -d' ' -f1-3 /proc/loadavg)"
/usr/bin/python3 - <<'PY'
import random
random.seed(1)
with open("big.tsv", "w") as f:
    for r in range(1000000):
        f.write("\t".join(f"{random.uniform(-1000, 1000):.6f}" for _ in range(10)) + "\n")
with open("reals.txt", "w") as f:
    f.write("\n".join(f"{random.uniform(-1, 1):.9f}" for _ in range(10000000)) + "\n")
PY
mb=$(python3 -c "import os; print(os.path.getsize('big.tsv') / 1e6)")
best() { local b=999; for _ in 1 2 3; do local s0 s1; s0=$(date +%s.%N); "$@" > /dev/null 2>&1; s1=$(date +%s.%N); b=$(python3 -c "print(min($b, $s1 - $s0))"); done; echo "$b"; }
printf 'debug.no\n' > e.macro
printf 'debug.no\ntable.load big.tsv\n' > t0.macro
printf 'debug.no\ntable.load big.tsv\ns := table.getstat\nprint s\n' > t.macro
printf 'debug.no\nlist.real\nlist.use r\nlist.load reals.txt\n' > l.macro
printf 'debug.no\nlist.real\nlist.use r\nlist.load reals.txt\nlist.save out.txt\n' > s.macro
e=$(best "$bin" -strict -macro=e.macro)
t0=$(best "$bin" -strict -macro=t0.macro)
tl=$(best "$bin" -strict -macro=t.macro)
ll=$(best "$bin" -strict -macro=l.macro)
ls=$(best "$bin" -strict -macro=s.macro)
pc=$(best /usr/bin/python3 -c "import csv; n=sum(1 for r in csv.reader(open('big.tsv'), delimiter='\t'))")
pn=$(best /usr/bin/python3 -c "import numpy; numpy.loadtxt('big.tsv')")
python3 - "$mb" "$e" "$t0" "$tl" "$ll" "$ls" "$pc" "$pn" <<'PY'
import sys
mb, e, t0, tl, ll, ls, pc, pn = map(float, sys.argv[1:])
t, l = tl - e, t0 - e
print(f"table.load of {mb:.0f} MB: {l:.3f} s, {mb / l:.0f} MB/s ({pc / l:.1f}x csv.reader's {pc:.2f} s)")
print(f"table.load + getstat (ten million numbers): {t:.3f} s ({pc / t:.1f}x csv.reader without numbers; numpy.loadtxt {pn:.2f} s)")
print(f"list.load of 10 M reals: {ll - e:.3f} s, {10 / (ll - e):.1f} M/s; list.save: {ls - ll:.3f} s, {10 / (ls - ll):.1f} M/s")
PY
