#!/usr/bin/env bash
# tools/xoconv.sh as a user meets it, with cmake and the package check stood in for so
# that nothing is built: it runs in the caller's folder, says that it builds on the
# first run, and shows the build's output when the build fails.
set -euo pipefail
source_tree="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/repo/tools" "$work/bin" "$work/caller"
cp "$source_tree/tools/xoconv.sh" "$work/repo/tools/"
printf '#!/bin/sh\nexit 0\n' >"$work/repo/tools/install-deps.sh"
# The stand-in cmake: configuring does nothing; building makes an xoconv that prints
# its folder and arguments, or fails loudly when asked to.
cat >"$work/bin/cmake" <<'FAKE'
#!/usr/bin/env bash
[[ "$1" == "--build" ]] || exit 0
[[ -z "${FAIL_BUILD:-}" ]] || { echo "compiler: error: something broke"; exit 1; }
mkdir -p "$2/bin"
printf '#!/bin/sh\necho "in $(pwd): $*"\n[ "$1" = -o ] && : >"$2"\nexit 0\n' >"$2/bin/xoconv"
chmod +x "$2/bin/xoconv"
FAKE
chmod +x "$work/bin/cmake"
export PATH="$work/bin:$PATH"
failures=0
check() { # description, condition
    if eval "$2"; then echo "ok: $1"; else echo "FAILED: $1"; failures=$((failures + 1)); fi
}
cd "$work/caller"
status=0
FAIL_BUILD=1 bash ../repo/tools/xoconv.sh >out 2>err || status=$?
check "a failed build exits non-zero" '[[ $status -ne 0 ]]'
check "a failed build shows its output" 'grep -q "compiler: error: something broke" err'
bash ../repo/tools/xoconv.sh -o out.txt in.txt >out 2>err
check "the first run says it builds" 'grep -q "building xoconv" err'
check "xoconv runs in the caller's folder" 'grep -qx "in $work/caller: -o out.txt in.txt" out'
bash ../repo/tools/xoconv.sh >out 2>err
check "later runs do not say it builds" '! grep -q "building" err'
check "a relative output lands in the caller's folder" \
    '[[ -f "$work/caller/out.txt" && ! -e "$work/repo/out.txt" ]]'
exit $((failures > 0))
