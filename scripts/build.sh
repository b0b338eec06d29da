#!/usr/bin/env bash
# Configures and builds Tavik into ./build (RelWithDebInfo, Ninja).
# Extra arguments go to ninja (e.g. a target name).
set -euo pipefail
cd "$(dirname "$0")/.."

jobs="${TAVIK_BUILD_JOBS:-2}"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
ninja -C build -j "$jobs" "$@"
