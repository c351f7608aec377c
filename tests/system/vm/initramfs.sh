#!/usr/bin/env bash
# Packs what the guest needs until it sees the host's files: busybox, the modules and the init program.
# Usage: initramfs.sh <kernel folder> <output file>
set -euo pipefail
kernel=$1 output=$2
here=$(cd "$(dirname "$0")" && pwd)
modules=(virtio_pci 9pnet_virtio 9p xhci-pci vhci-hcd)

version=$(basename "$(echo "$kernel"/lib/modules/*)")
source=$kernel/lib/modules/$version
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
target=$root/lib/modules/$version
mkdir -p "$root"/{bin,proc,sys,dev,host} "$target"
cp "$(command -v busybox)" "$root/bin/busybox"
for name in sh mount modprobe chroot poweroff cat; do ln -s busybox "$root/bin/$name"; done

declare -A packed
pack() { # module
    local file dependency
    [ -z "${packed[${1//-/_}]:-}" ] || return 0
    packed[${1//-/_}]=1
    file=$(find "$source" -name "${1//[-_]/[-_]}.ko*" -print -quit)
    [ -n "$file" ] || { echo "initramfs.sh: the kernel has no module $1" >&2; exit 1; }
    mkdir -p "$target/$(dirname "${file#"$source"/}")"
    cp "$file" "$target/${file#"$source"/}"
    while read -r dependency; do [ -z "$dependency" ] || pack "$dependency"; done < <(modinfo -F depends "$file" | tr , '\n')
}
for module in "${modules[@]}"; do pack "$module"; done
cp "$source"/modules.{order,builtin,builtin.modinfo} "$target/"
depmod -b "$root" "$version"
install -m 755 "$here/init" "$root/init"
(cd "$root" && find . | cpio -o -H newc --quiet | gzip -1) >"$output.part"
mv "$output.part" "$output"
