#!/usr/bin/env bash
# `scalar.surface <100,65535>` on sphere_128.nii.gz (radius 40, value 200) beside vtkMarchingCubes,
# vtkFlyingEdges3D and skimage's marching_cubes at level 100, in the same run.
# Usage: bench/surface.sh build [threads]. Peers come from scripts/setup-bench.sh.
set -u
build=$(realpath "${1:-build}"); threads=${2:-2}
here=$(cd "$(dirname "$0")" && pwd); shared=$(cd "$here/../../shared/bench" 2>/dev/null && pwd || echo /work/shared/bench)
. "$shared/timing.sh"
d=$("$shared/data.sh") || exit 1
t=$(mktemp -d); trap 'rm -rf "$t"' EXIT; cd "$t"; cp "$d/sphere_128.nii.gz" .
echo "cores $(nproc), load $(cut -d' ' -f1-3 /proc/loadavg)"
"$build/bench/surface_bench" sphere_128.nii.gz "$threads"
printf 'debug.no\nscalar.8bit\nscalar.load sphere_128.nii.gz\nscalar.surface <100,65535>\n' > s.macro
printf 'debug.no\nprint 1\n' > e.macro
q=$(best_of 5 "$build/quorvex" -strict -macro=s.macro); e=$(best_of 5 "$build/quorvex" -strict -macro=e.macro)
echo "quorvex load and extract: $q s whole process ($e s of it the empty start)"
/usr/bin/python3 "$here/surface_peers.py" sphere_128.nii.gz
for peer in vtkmc vtkfe skimage; do
  w=$(best_of 5 /usr/bin/python3 "$here/surface_peers.py" --once $peer sphere_128.nii.gz)
  echo "python $peer whole process: $w s"
done
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
