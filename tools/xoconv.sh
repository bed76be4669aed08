#!/usr/bin/env bash
# The library's main job: builds xoconv (Linux, release) and runs it. Without arguments
# it converts the bundled drawing text (code page 932 with CIF and MIF escapes) to
# UTF-8 on standard output; any arguments go to xoconv (try --help). It runs in the
# caller's folder, so relative paths are the caller's and nothing lands in the tree.
set -euo pipefail
repo="$(cd "$(dirname "$0")/.." && pwd)"
build="$repo/build/demo"
bash "$repo/tools/install-deps.sh" >&2
if [[ ! -x "$build/bin/xoconv" ]]; then
    echo "xoconv.sh: building xoconv in $build (first run; later runs only check it)" >&2
fi
log="$(mktemp)"
trap 'rm -f "$log"' EXIT
if ! { cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DXO_BUILD_TESTS=OFF &&
    cmake --build "$build" --target xoconv -j2; } >"$log" 2>&1; then
    cat "$log" >&2
    echo "xoconv.sh: the build failed (its output is above)" >&2
    exit 2
fi
rm -f "$log"
trap - EXIT
exec "$build/bin/xoconv" "$@"
