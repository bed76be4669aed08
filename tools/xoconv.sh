#!/usr/bin/env bash
# The library's main job: builds xoconv (Linux, release) and runs it. Without arguments
# it converts the bundled drawing text (code page 932 with CIF and MIF escapes) to
# UTF-8 on standard output; any arguments go to xoconv (try --help).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh >&2
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DXO_BUILD_TESTS=OFF >/dev/null
cmake --build build/demo --target xoconv -j2 >/dev/null
exec build/demo/bin/xoconv "$@"
