#!/usr/bin/env bash
# Runs every fuzzer of a fuzz build for a while from its seed corpus (a copy, so the
# committed corpus stays as it is). Usage: tools/run-fuzzers.sh BUILD_DIR SECONDS
# A fuzzer that fails shows its whole report (the failed check, the stack and the input
# in Base64 to add to fuzz/corpus/NAME), and the run goes on to the others before
# failing, so that one CI run shows every fuzzer's finding.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/linux-fuzz}"
seconds="${2:-5}"
failed=()
for fuzzer in "$build"/bin/fuzz_*; do
    name="${fuzzer##*/fuzz_}"
    corpus="$(mktemp -d)"
    cp fuzz/corpus/"$name"/* "$corpus"/
    echo "fuzzing $name for ${seconds}s"
    status=0
    "$fuzzer" -max_total_time="$seconds" -print_final_stats=0 "$corpus" >"$corpus.log" 2>&1 ||
        status=$?
    if [ "$status" -eq 0 ]; then
        tail -n 1 "$corpus.log"
    else
        echo "fuzz_$name failed (exit $status):"
        grep -v '^INFO: \|^#[0-9]' "$corpus.log" | tail -n 80
        failed+=("$name")
    fi
    rm -rf "$corpus" "$corpus.log"
done
if [ "${#failed[@]}" -gt 0 ]; then
    echo "fuzzers that failed: ${failed[*]}"
    exit 1
fi
