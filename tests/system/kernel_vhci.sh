#!/usr/bin/env bash
# A virtual machine whose kernel gets its camera from this project's USB/IP server, inside the guest.
# Usage: kernel_vhci.sh <build folder>
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
exec "$here/vm/run.sh" "$here/guest/vhci.sh" "$1"
