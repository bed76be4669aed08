#!/usr/bin/env bash
# Installs the Debian packages that building (and, with "all", testing both targets)
# needs and that the machine lacks. Safe to run again: it installs only what is missing.
set -euo pipefail

packages=(cmake ninja-build g++ ccache)
if [[ "${1:-}" == "all" ]]; then
    packages+=(clang-format googletest libgtest-dev libbenchmark-dev libmimalloc-dev clang libclang-rt-dev
               g++-mingw-w64-x86-64-posix wine64 binutils pkg-config dpkg-dev doxygen
               xvfb x11-xserver-utils x11-utils libx11-6 libxrandr2
               fuse3 libfuse3-dev
               vim-runtime libpython3.11-testsuite) # real texts in legacy encodings for
                                                    # xoconv's tests: vim's tutor files and
                                                    # Python's encoded samples
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
        missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=""
[[ "$(id -u)" -eq 0 ]] || sudo="sudo"
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
