#!/usr/bin/env bash
# Configures and builds quorvex into build/ (or the folder given as $1).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
shift || true
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$build" -j "$(nproc)"
