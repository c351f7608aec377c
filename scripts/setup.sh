#!/usr/bin/env bash
# Installs the Debian 12 packages that the project needs. Does nothing when all are there.
# Usage: scripts/setup.sh [--demo | --dev | --packaging | --arm64]
#   --demo       leaves out what only tests and benchmarks need
#   --dev        adds what only developers need (clang, formatter, fuzzing, virtual machines)
#   --packaging  adds what trying the Debian packages needs (lintian, debootstrap)
#   --arm64      adds what building and testing for 64-bit ARM needs (cross compiler, emulator)
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config git
    libusb-1.0-0-dev liblog4cpp5-dev libboost-dev libpugixml-dev libzip-dev zlib1g-dev libssl-dev
    libcli11-dev nlohmann-json3-dev libpng-dev libjpeg62-turbo-dev libtiff-dev libusbredirparser-dev
    pybind11-dev python3-dev python3-numpy
    libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-base
    libjs-chart.js
)
test_packages=(
    libgtest-dev libgmock-dev libbenchmark-dev
    python3-pytest python3-gi gir1.2-gstreamer-1.0 gir1.2-gst-plugins-base-1.0 gstreamer1.0-plugins-good
    chromium
)
developer_packages=(
    clang-14 clang libclang-rt-14-dev clang-format clang-tidy ccache doxygen mypy mandoc zsh fish
    qemu-system-x86 busybox-static cpio kmod udev usbip
)
developer=no
case "${1:-}" in
"") packages+=("${test_packages[@]}") ;;
--demo) ;;
--dev)
    developer=yes
    packages+=("${test_packages[@]}" "${developer_packages[@]}")
    ;;
--packaging) packages+=("${test_packages[@]}" dpkg-dev lintian debootstrap) ;;
--arm64) packages+=("${test_packages[@]}" g++-aarch64-linux-gnu qemu-user-static) ;;
*)
    echo "setup: $1 is not known; usage: scripts/setup.sh [--demo | --dev | --packaging | --arm64]" >&2
    exit 2
    ;;
esac

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
# The kernel for the virtual machines of tests/system is unpacked, not installed. Its tests do without, loudly.
fetch_kernel() {
    "$(dirname "$0")/../tests/system/vm/kernel.sh" >/dev/null ||
        echo "setup: Debian's kernel could not be fetched; the tests with a real kernel will be skipped" >&2
}
finish() {
    [ "$developer" = no ] || fetch_kernel
    exit 0
}
[ ${#missing[@]} -eq 0 ] && finish

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
        echo "setup: these packages are missing and there is no sudo; install them as root: ${missing[*]}" >&2
        exit 1
    }
    as_root=(sudo)
fi
command -v apt-get >/dev/null || {
    echo "setup: this is no Debian system; install the equivalents of: ${missing[*]}" >&2
    exit 1
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "setup: installing ${#missing[@]} packages: ${missing[*]}"
install() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}" >"$log" 2>&1; }
# Package lists may be missing or old on a fresh machine: fetch them only when the first try fails.
if ! install; then
    "${as_root[@]}" apt-get update >>"$log" 2>&1 || true
    install || { tail -n 5 "$log" >&2; echo "setup: apt-get could not install the packages above" >&2; exit 1; }
fi
finish
