#!/usr/bin/env bash
# Fetches Debian's kernel, the full one, and unpacks it. Prints the folder. The kernel is kept for further runs.
# Usage: kernel.sh
set -euo pipefail
folder=$(cd "$(dirname "$0")/../../.." && pwd)/build/cache/kernel
mkdir -p "$folder"
exec 8>"$folder/lock"
flock 8

unpacked() { compgen -G "$folder/root/boot/vmlinuz-*" >/dev/null; }

if ! unpacked; then
    mkdir -p "$folder/packages"
    package=$(apt-cache depends linux-image-amd64 2>/dev/null | awk '/Depends: linux-image-/ {print $2; exit}')
    [ -n "$package" ] || { echo "kernel.sh: no kernel package is known here; run apt-get update" >&2; exit 1; }
    (cd "$folder/packages" && apt-get download "$package" >log 2>&1) || {
        tail -n 3 "$folder/packages/log" >&2
        exit 1
    }
    rm -rf "$folder/unpacking"
    dpkg -x "$folder"/packages/linux-image-*.deb "$folder/unpacking"
    mv "$folder/unpacking" "$folder/root"
    rm -rf "$folder/packages"
fi
echo "$folder/root"
