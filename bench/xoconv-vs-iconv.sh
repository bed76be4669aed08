#!/usr/bin/env bash
# xoconv against iconv on one large file per direction: cp932 -> UTF-8, UTF-8 -> cp932,
# UTF-8 -> UTF-16LE and UTF-16LE -> UTF-8. The cp932 text is vim's Japanese tutor
# repeated to about MIB mebibytes (default 100). Each run times iconv, then xoconv
# (interleaved, so that a change in the machine's load falls on both), RUNS times
# (default 5). Prints the medians of the elapsed seconds, of the processor seconds
# (user + system: what a shared machine's load does not inflate) and of the peak
# resident memory, and the ratios iconv/xoconv (above 1: xoconv is faster).
# Usage: bench/xoconv-vs-iconv.sh [path/to/xoconv]
set -euo pipefail
xoconv="${1:-$(dirname "$0")/../build/linux-release/bin/xoconv}"
mib="${MIB:-100}"
runs="${RUNS:-5}"
tutor="$(ls /usr/share/vim/vim*/tutor/tutor.ja.sjis | head -1)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
size=$(stat -c %s "$tutor")
for ((i = 0; i < mib * 1048576 / size; ++i)); do cat "$tutor"; done >"$work/932"
iconv -f CP932 -t UTF-8 "$work/932" >"$work/utf8"
iconv -f UTF-8 -t UTF-16LE "$work/utf8" >"$work/utf16"

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
once() { # file to append "elapsed cpu kilobytes" to, command...
    local out="$1"
    shift
    /usr/bin/time -f "%e %U %S %M" -o "$work/time" "$@" >"$work/out"
    awk '{ printf "%s %.2f %s\n", $1, $2 + $3, $4 }' "$work/time" >>"$out"
}
column() { awk -v c="$2" '{ print $c }' "$1" | median; }
printf '%-18s %8s %8s %8s %8s %9s %9s %8s %8s\n' direction iconv_s xoconv_s iconv_cpu \
    xoconv_cpu iconv_MiB xoconv_MiB ratio cpu_ratio
row() { # label, input, iconv from, iconv to, xoconv from, xoconv to
    : >"$work/i"
    : >"$work/x"
    for ((run = 0; run < runs; ++run)); do
        once "$work/i" iconv -f "$3" -t "$4" "$2"
        once "$work/x" "$xoconv" -q -f "$5" -t "$6" --no-bom "$2"
    done
    local it xt ic xc im xm
    it=$(column "$work/i" 1) xt=$(column "$work/x" 1)
    ic=$(column "$work/i" 2) xc=$(column "$work/x" 2)
    im=$(column "$work/i" 3) xm=$(column "$work/x" 3)
    printf '%-18s %8s %8s %8s %8s %9d %9d %8.2f %8.2f\n' "$1" "$it" "$xt" "$ic" "$xc" \
        $((im / 1024)) $((xm / 1024)) "$(echo "$it / $xt" | bc -l)" "$(echo "$ic / $xc" | bc -l)"
}
row "cp932 -> UTF-8" "$work/932" CP932 UTF-8 932 utf-8
row "UTF-8 -> cp932" "$work/utf8" UTF-8 CP932 utf-8 932
row "UTF-8 -> UTF-16LE" "$work/utf8" UTF-8 UTF-16LE utf-8 utf-16le
row "UTF-16LE -> UTF-8" "$work/utf16" UTF-16LE UTF-8 utf-16le utf-8
