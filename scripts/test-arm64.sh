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
cmake --build --preset arm64

# Tests start programs of ours, which needs a kernel that knows the emulator. One that does not is told of it for as long
# as the tests run; where that is not allowed, what starts programs is left out.
kernel=/proc/sys/fs/binfmt_misc
export QEMU_LD_PREFIX=$PWD/build/arm64-sysroot
starts_programs() { build/arm64/bin/tavix --version >/dev/null 2>&1; }
forget_emulator() { echo -1 >"$kernel/tavix-aarch64"; }
tell_of_emulator() {
    local header='\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00'
    local mask='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
    [ -e "$kernel/register" ] || mount -t binfmt_misc none "$kernel" || return
    printf ':tavix-aarch64:M::%s:%s:/usr/bin/qemu-aarch64-static:F' "$header" "$mask" >"$kernel/register" || return
    trap forget_emulator EXIT
}
labels='^(system)$'
tests=
if ! starts_programs && ! { tell_of_emulator && starts_programs; } 2>/dev/null; then
    echo "arm64: this kernel cannot start programs of 64-bit ARM and cannot be told how to; tests that do are left out" >&2
    labels='^(system|program)$'
    tests='|\.Life\.EndsWithTheProcessWithoutAnyClose$'
fi

# Left out is what measures threads, which the emulator has its own time for, the one error that it does not pass on, and
# a limit of memory that it does not keep.
ctest --test-dir build/arm64 --output-on-failure --no-tests=error -j 2 -LE "$labels" \
    -E '^(LogConfig|Preload)\.|^ChildProcess\.ThatDoesNotExistIsAnError$|^Memory\.ThatRunsOut'"$tests"
