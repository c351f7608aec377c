#!/usr/bin/env bash
# Boots Debian's kernel in a virtual machine that sees the host's files and runs a script in it.
# Usage: run.sh <script> [guest argument ...] [-- QEMU argument ...]
# Ends with the script's status, or with 77 and the reason when the machine cannot be had here.
set -uo pipefail
script=$1
shift
here=$(cd "$(dirname "$0")" && pwd)
cache=$here/../../../build/cache
seconds=${TAVIX_VM_SECONDS:-300}

skip() {
    printf '\n*** SKIPPED: %s ***\n*** scripts/setup.sh --dev installs what a test with a real kernel needs ***\n\n' "$1"
    exit 77
}

export PATH=$PATH:/sbin:/usr/sbin
for tool in qemu-system-x86_64 busybox cpio modinfo depmod usbip /lib/systemd/systemd-udevd; do
    command -v "$tool" >/dev/null || skip "there is no $tool"
done
mkdir -p "$cache"
kernel=$("$here/kernel.sh") || skip "Debian's kernel package cannot be fetched"
# One at a time makes it, others wait.
exec 8>"$cache/lock"
flock 8
initramfs=$cache/initramfs.gz
for source in "$here/init" "$here/initramfs.sh"; do [ "$initramfs" -nt "$source" ] || rm -f "$initramfs"; done
[ -e "$initramfs" ] || "$here/initramfs.sh" "$kernel" "$initramfs" || exit 1
exec 8>&-

append="console=ttyS0 quiet panic=-1 guest.script=$script"
while [ $# -gt 0 ] && [ "$1" != "--" ]; do
    append+=" guest.argument=$1"
    shift
done
[ $# -eq 0 ] || shift

log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Always emulated: a machine's own virtualisation may be there and not work with this kernel.
timeout "$seconds" qemu-system-x86_64 -M q35 -accel tcg -cpu max -smp 1 -m 1024 \
    -nodefaults -no-user-config -display none -no-reboot -serial stdio \
    -fsdev local,id=root,path=/,security_model=none,readonly=on,multidevs=remap \
    -device virtio-9p-pci,fsdev=root,mount_tag=hostroot \
    -kernel "$(echo "$kernel"/boot/vmlinuz-*)" -initrd "$initramfs" -append "$append" "$@" </dev/null 2>&1 |
    tee "$log"
status=$(sed -n 's/^guest: status \([0-9]*\).*/\1/p' "$log" | tail -n 1)
[ -n "$status" ] || { echo "run.sh: the guest did not come to its end within $seconds s" >&2; exit 1; }
exit "$status"
