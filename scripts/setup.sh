#!/usr/bin/env bash
# Installs what building and testing quorvex needs, from Debian's packages only.
set -euo pipefail
packages=(
  cmake ninja-build g++ pkg-config          # build
  zlib1g-dev                                # gzip forms of files
  libgtest-dev                              # unit tests
  python3                                   # whole-macro test runner
  pngcheck libtiff-tools netpbm python3-pil # third-party readers of our image files
  python3-nibabel                           # third-party reader of our volume and .trk files
  python3-meshio python3-vtk9               # third-party readers of our mesh, .vtp and OBJ files
  assimp-utils assimp-testmodels            # reader of our DXF files; mesh files no one here wrote
  python3-scipy                             # peer of the volume morphology (ndimage)
  mrtrix3 teem-apps                         # peer of the tensor measures, reader of our NRRD tensors
  libfreeimage3 libmagickwand-6.q16-6       # optional image libraries, loaded at run time
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
