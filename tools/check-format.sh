#!/usr/bin/env bash
# Fails when a hand-written C++ file differs from the layout .clang-format describes;
# with --fix, rewrites them instead. Generated tables (*.inc, platform/codepages/) stay
# as their generators write them.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h' | grep -v '^source/src/platform/codepages/')
if [[ "${1:-}" == "--fix" ]]; then
    clang-format -i "${files[@]}"
    exit 0
fi
differing=()
for file in "${files[@]}"; do
    clang-format --dry-run -Werror "$file" >/dev/null 2>&1 || differing+=("$file")
done
if [[ ${#differing[@]} -ne 0 ]]; then
    printf 'differs from .clang-format: %s\n' "${differing[@]}" >&2
    echo "run: bash tools/check-format.sh --fix" >&2
    exit 1
fi
echo "formatting: ${#files[@]} files as .clang-format says"
