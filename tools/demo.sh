#!/usr/bin/env bash
# Builds the library (Linux, release) and runs its demo program.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DXO_BUILD_TESTS=OFF >/dev/null
cmake --build build/demo --target xodemo -j2 >/dev/null
build/demo/bin/xodemo
