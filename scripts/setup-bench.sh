#!/usr/bin/env bash
# Installs the peers that only the benchmark checks run beside quorvex, from Debian's packages
# only; building and testing need none of them (scripts/setup.sh covers those).
set -euo pipefail
packages=(
  tcl gzip                                  # the interpreter loop and the .nii.gz load checks
  python3-numpy python3-nibabel             # the deterministic benchmark data
  mrtrix3 python3-dipy python3-skimage      # peers of the volume, fibre and surface benchmarks
  python3-scipy python3-vtk9
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
