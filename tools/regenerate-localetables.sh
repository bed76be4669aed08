#!/usr/bin/env bash
# Regenerates the character-class and script tables of the locale helpers from the
# library's code-page conversions and the Unicode Character Database of Debian's
# unicode-data package (apt-get install unicode-data). Review the diff before
# committing it; the rules are in docs/localetables.md.
set -euo pipefail
cd "$(dirname "$0")/.."
ucd=/usr/share/unicode
[[ -f $ucd/Scripts.txt ]] || { echo "missing $ucd/Scripts.txt: install unicode-data" >&2; exit 1; }
cmake --preset linux-release >/dev/null
cmake --build --preset linux-release --target xo_localetablegen
build/linux-release/bin/xo_localetablegen "$ucd" source/src/encoding
