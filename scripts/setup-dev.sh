#!/usr/bin/env bash
# Developer conveniences beyond the build's own needs: ccache shares compiled objects between
# several checkouts (configure with -DCMAKE_CXX_COMPILER_LAUNCHER=ccache and CCACHE_BASEDIR).
set -euo pipefail
bash "$(dirname "$0")/setup.sh"
if ! dpkg-query -W -f='${Status}' ccache 2>/dev/null | grep -q "install ok installed"; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends ccache
fi
