#!/usr/bin/env bash
# Builds for 64-bit ARM with Debian's cross compiler and runs the tests under user-mode emulation. Works in a fresh clone.
# Usage: scripts/test-arm64.sh [--short]
#   --short  builds the libraries and the command, and runs the tests of wire formats, ground and images only
set -euo pipefail
cd "$(dirname "$0")/.."
short=no
case "${1:-}" in
"") ;;
--short) short=yes ;;
*) echo "arm64: $1 is not known; usage: scripts/test-arm64.sh [--short]" >&2; exit 2 ;;
esac

scripts/setup.sh --arm64
scripts/arm64-sysroot.sh
cmake --preset arm64 >/dev/null || { echo "arm64: configuring failed; run 'cmake --preset arm64' to see why" >&2; exit 1; }
# What starts further programs of ours would need the kernel to know the emulator; what measures threads, its patience.
tests=(--test-dir build/arm64 --output-on-failure --no-tests=error -j 2 -LE '^(system|program)$' -E '^LogConfig\.')
if [ "$short" = yes ]; then
    cmake --build --preset arm64 --target tavix_tool tavixusb virtualcam_backend u3v_test core_tests
    exec ctest "${tests[@]}" -L '^(u3v|core)$'
fi
cmake --build --preset arm64
exec ctest "${tests[@]}"
