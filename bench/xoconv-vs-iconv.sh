#!/usr/bin/env bash
# xoconv against iconv on one large file per direction: cp932 -> UTF-8, UTF-8 -> cp932,
# UTF-8 -> UTF-16LE and UTF-16LE -> UTF-8. The cp932 text is vim's Japanese tutor
# repeated to about MIB mebibytes (default 100). Prints the seconds and peak resident
# memory of each, the medians of RUNS runs (default 3), and the ratio iconv/xoconv
# (above 1: xoconv is faster). Usage: bench/xoconv-vs-iconv.sh [path/to/xoconv]
set -euo pipefail
xoconv="${1:-$(dirname "$0")/../build/linux-release/bin/xoconv}"
mib="${MIB:-100}"
runs="${RUNS:-3}"
tutor="$(ls /usr/share/vim/vim*/tutor/tutor.ja.sjis | head -1)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
size=$(stat -c %s "$tutor")
for ((i = 0; i < mib * 1048576 / size; ++i)); do cat "$tutor"; done >"$work/932"
iconv -f CP932 -t UTF-8 "$work/932" >"$work/utf8"
iconv -f UTF-8 -t UTF-16LE "$work/utf8" >"$work/utf16"

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
measure() { # label, command...; prints "seconds kilobytes"
    local times=() peaks=()
    for ((run = 0; run < runs; ++run)); do
        /usr/bin/time -f "%e %M" -o "$work/time" "$@" >"$work/out"
        read -r t m <"$work/time"
        times+=("$t")
        peaks+=("$m")
    done
    echo "$(printf '%s\n' "${times[@]}" | median) $(printf '%s\n' "${peaks[@]}" | median)"
}
printf '%-18s %10s %10s %12s %12s %8s\n' direction iconv_s xoconv_s iconv_MiB xoconv_MiB ratio
row() { # label, input, iconv from, iconv to, xoconv from, xoconv to
    read -r it im < <(measure iconv -f "$3" -t "$4" "$2")
    read -r xt xm < <(measure "$xoconv" -q -f "$5" -t "$6" --no-bom "$2")
    printf '%-18s %10s %10s %12d %12d %8.2f\n' "$1" "$it" "$xt" $((im / 1024)) $((xm / 1024)) \
        "$(echo "$it / $xt" | bc -l)"
}
row "cp932 -> UTF-8" "$work/932" CP932 UTF-8 932 utf-8
row "UTF-8 -> cp932" "$work/utf8" UTF-8 CP932 utf-8 932
row "UTF-8 -> UTF-16LE" "$work/utf8" UTF-8 UTF-16LE utf-8 utf-16le
row "UTF-16LE -> UTF-8" "$work/utf16" UTF-16LE UTF-8 utf-16le utf-8
