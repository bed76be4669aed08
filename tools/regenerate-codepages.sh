#!/usr/bin/env bash
# Regenerates the code-page tables of the POSIX engine from the Windows functions, by
# running tools/cpgen under Wine. Review the diff before committing it.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset windows >/dev/null
cmake --build --preset windows --target xo_cpgen
out=source/src/platform/codepages
(cd "$out" && WINEDEBUG=-all /usr/lib/wine/wine64 ../../../../build/windows/bin/xo_cpgen.exe \
    </dev/null >/tmp/xo_cpgen.log 2>&1) || { cat /tmp/xo_cpgen.log; exit 1; }
cat /tmp/xo_cpgen.log
