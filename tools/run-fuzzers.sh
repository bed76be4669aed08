#!/usr/bin/env bash
# Runs every fuzzer of a fuzz build for a while from its seed corpus (a copy, so the
# committed corpus stays as it is). Usage: tools/run-fuzzers.sh BUILD_DIR SECONDS
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/linux-fuzz}"
seconds="${2:-5}"
for fuzzer in "$build"/bin/fuzz_*; do
    name="${fuzzer##*/fuzz_}"
    corpus="$(mktemp -d)"
    cp fuzz/corpus/"$name"/* "$corpus"/
    echo "fuzzing $name for ${seconds}s"
    "$fuzzer" -max_total_time="$seconds" -print_final_stats=0 "$corpus" 2>&1 | tail -n 1
    rm -rf "$corpus"
done
