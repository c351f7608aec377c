#!/usr/bin/env bash
# A virtual camera on the xHCI controller of a virtual machine: tests run in the guest, the camera lives out here.
# Usage: kernel_xhci.sh <build folder> [<guest script> [<file of cameras>]]
# By hand: TAVIX_VM_SECONDS=600 kernel_xhci.sh <build folder> memory.sh large-camera.json measures what memory costs.
set -uo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
script=$here/guest/${2:-xhci.sh} cameras=$here/${3:-camera.json}
scratch=$(mktemp -d)
server=
cleanup() {
    [ -z "$server" ] || kill "$server" 2>/dev/null
    rm -rf "$scratch"
}
trap cleanup EXIT

mkfifo "$scratch/commands"
exec 9<>"$scratch/commands"
"$build/bin/tavix" --virtual "$cameras" virtual serve --usbredir "$scratch/socket" <"$scratch/commands" 8>&- 9>&- &
server=$!
for ((i = 0; i < 100; ++i)); do
    [ -S "$scratch/socket" ] && break
    kill -0 "$server" 2>/dev/null || exit 1
    sleep 0.1
done

# The guest's lines to the server come over the console.
"$here/vm/run.sh" "$script" "$build" -- -device qemu-xhci,id=bus \
    -chardev "socket,id=camera,path=$scratch/socket" -device usb-redir,chardev=camera,bus=bus.0 |
    while IFS= read -r line; do
        line=${line%$'\r'}
        case $line in
        "server: "*) echo "${line#server: }" >&9 ;;
        esac
        printf '%s\n' "$line"
    done
exit "${PIPESTATUS[0]}"
