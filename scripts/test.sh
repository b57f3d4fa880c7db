#!/usr/bin/env bash
# Sets up, builds and runs every test; CTest's summary is the last thing printed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" -DQV_BENCH=OFF
cd "$root/build"
ctest --output-on-failure -j "$(nproc)" --timeout 300
