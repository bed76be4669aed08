#!/usr/bin/env bash
# The library as another project adopts it. Linux: builds the Debian packages from the
# release build, installs them into the machine, runs the installed xoconv on the
# bundled sample, builds and runs a small client with find_package and with pkg-config,
# and removes the packages again. Windows: installs the Windows build into a prefix,
# builds the same client against it with the mingw toolchain and runs it under Wine.
# Expects build/linux-release and build/windows to be built (tools/test-all.sh does).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
work=$(mktemp -d)
sudo=""
[[ "$(id -u)" -eq 0 ]] || sudo="sudo"
cleanup() {
    $sudo apt-get remove -y -qq xoosbase xoosbase-dev >/dev/null 2>&1 || true
    rm -rf "$work"
}
trap cleanup EXIT

echo "== Debian packages"
(cd build/linux-release && rm -f ./*.deb && cpack -G DEB >/dev/null)
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq \
    "$root"/build/linux-release/xoosbase_*.deb "$root"/build/linux-release/xoosbase-dev_*.deb \
    >/dev/null
/usr/bin/xoconv --from 932 /usr/share/xoconv/drawing-cp932.txt >"$work/sample.txt"
test -s "$work/sample.txt"
echo "installed xoconv converted the sample ($(wc -c <"$work/sample.txt") bytes)"

cmake -S tests/consumer -B "$work/cmake" -G Ninja >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"
g++ -std=c++17 tests/consumer/main.cpp -o "$work/pkgconfig" $(pkg-config --cflags --libs xoosbase)
"$work/pkgconfig"

echo "== Windows install tree"
rm -rf build/windows-install
cmake --install build/windows --prefix build/windows-install >/dev/null
cmake -S tests/consumer -B "$work/windows" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
    -DXoOsBase_DIR="$root/build/windows-install/lib/cmake/XoOsBase" \
    -DCMAKE_EXE_LINKER_FLAGS=-static >/dev/null
cmake --build "$work/windows" >/dev/null
WINEPATH="$root/build/windows-install/bin" /usr/lib/wine/wine64 "$work/windows/consumer.exe"
(cd build/windows && rm -f ./*.zip && cpack -G ZIP >/dev/null && ls ./*.zip)
