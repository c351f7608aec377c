#!/usr/bin/env bash
# Builds for 64-bit ARM with Debian's cross compiler and runs the tests under user-mode emulation. Works in a fresh clone.
# Usage: scripts/test-arm64.sh [--short]
#   --short  builds the libraries and the command, and runs the tests of wire formats and ground only
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
if [ "$short" = yes ]; then
    # Each program of tests as one process: starting the emulator for each test would take longer than the tests do. Left
    # out are what the long form leaves out, and the one test that takes a minute under emulation.
    cmake --build --preset arm64 --target tavix_tool tavixusb virtualcam_backend u3v_test core_tests
    for program in core_tests u3v_test; do
        qemu-aarch64-static -L build/arm64-sysroot "build/arm64/bin/$program" --gtest_brief=1 \
            --gtest_filter='-LogConfig.*:Crc16.AllWaysAgreeForLargeRandomInputs'
    done
    exit
fi
# What starts further programs of ours would need the kernel to know the emulator, which does not tell either that a
# program cannot be started; what measures threads would need its patience.
cmake --build --preset arm64
exec ctest --test-dir build/arm64 --output-on-failure --no-tests=error -j 2 -LE '^(system|program)$' \
    -E '^(LogConfig|Preload)\.|^ChildProcess\.ThatDoesNotExistIsAnError$|\.Life\.EndsWithTheProcessWithoutAnyClose$'
