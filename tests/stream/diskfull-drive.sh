#!/usr/bin/env bash
# Mounts a 1 MiB tmpfs and maps it to drive Q: of the Wine prefix (setup), or undoes
# both (cleanup). Without root nothing is mounted and the disk-full test skips.
set -u
dir=/tmp/xo-diskfull-wine
drive="${WINEPREFIX:-$HOME/.wine}/dosdevices/q:"
case "${1:-}" in
setup)
    mkdir -p "$dir"
    if mountpoint -q "$dir" || mount -t tmpfs -o size=1m tmpfs "$dir" 2>/dev/null; then
        ln -sfn "$dir" "$drive"
    fi
    ;;
cleanup)
    rm -f "$drive"
    umount "$dir" 2>/dev/null
    rmdir "$dir" 2>/dev/null
    ;;
esac
exit 0
