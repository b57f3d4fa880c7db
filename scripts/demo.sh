#!/usr/bin/env bash
# Sets up, builds and runs the demo: the examples' jobs on their small data, with the
# results read back by independent readers. Output lands in demo/out/<example>/.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" -DQV_BENCH=OFF
prog="$root/build/quorvex"
out="$root/demo/out"
rm -rf "$out" && mkdir -p "$out"
start=$(date +%s.%N)
echo "== Example 1: fibre directions, tensors, FA and MD, streamlines"
bash "$root/examples/01-fibres/run.sh" "$prog" "$out/01-fibres"
/usr/bin/python3 "$root/examples/01-fibres/check.py" "$out/01-fibres"
/usr/bin/python3 "$root/examples/01-fibres/pictures.py" "$out/01-fibres" "$root/docs"
echo
echo "== Example 2: a CT wall cleaned in 3D, its surface as PLY and STL"
bash "$root/examples/02-ct-wall/run.sh" "$prog" "$out/02-ct-wall"
/usr/bin/python3 "$root/examples/02-ct-wall/check.py" "$out/02-ct-wall"
echo
echo "Files:"
for f in "$out"/*/*; do case "$f" in *.macro|*.log) ;; *) echo "  $f" ;; esac; done
echo "Demo time: $(python3 -c "print(f'{$(date +%s.%N) - $start:.1f}')") s"
