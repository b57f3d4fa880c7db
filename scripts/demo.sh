#!/usr/bin/env bash
# Sets up, builds and runs the demo macro in demo/out/.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" "$root/build" -DQV_BENCH=OFF
mkdir -p "$root/demo/out"
cd "$root/demo/out"
"$root/build/quorvex" -strict -macro="$root/demo/demo.macro"
