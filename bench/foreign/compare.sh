#!/usr/bin/env bash
# What a frame costs our host and the one of others (Debian's aravis), on the same bus: the emulated usbfs below the real
# libusb, one camera of 1920 x 1080. Each is run in turn, several times. Host us is processor time of a frame above the
# bus, without that in the emulated ioctls. Figures only.
# Usage: compare.sh BUILD_FOLDER [ROUNDS]
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?the build folder}" && pwd)
rounds=${2:-5}
pkg-config --exists aravis-0.8 || { echo "this needs the package libaravis-dev" >&2; exit 1; }
[ -x "$build/bin/bench_our_grab" ] || { echo "$build holds no bench_our_grab: build the preset release" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"${CXX:-c++}" -std=c++17 -O2 -I"$here/.." "$here/TheirGrab.cpp" "$here/../ThreadTimes.cpp" -o "$work/their_grab" \
    $(pkg-config --cflags --libs aravis-0.8) || exit 1
echo '{"cameras": [{"sensorWidth": 4096, "sensorHeight": 3008, "bufferedFrames": 1000}]}' >"$work/camera.json"

run() { # name, command...: prints the name and its figures
    local name=$1
    shift
    printf '%-12s ' "$name"
    LD_PRELOAD="$build/lib/libusbfscameras.so" TAVIX_USBFS_CAMERAS="$work/camera.json" timeout 120 "$@"
}
median() { sort -n | awk '{ line[NR] = $1 } END { print line[int((NR + 1) / 2)] }'; }
of() { awk -v name="$1" '$1 == name { print $2 }' "$work/figures" | median; } # median of the processor time

for rate in 0 100; do
    frames=$([ "$rate" = 0 ] && echo 2000 || echo 400)
    [ "$rate" = 0 ] && echo "as fast as the host takes them" || echo "$rate frames a second"
    printf '%-12s %8s %9s %9s %9s %8s %6s\n' host "host us" "ioctl us" switches "cam us" frames/s lost
    for ((round = 0; round < rounds; ++round)); do
        run ours "$build/bin/bench_our_grab" "$frames" "$rate"
        run theirs,async "$work/their_grab" "$frames" "$rate" async
        run theirs,sync "$work/their_grab" "$frames" "$rate" sync
    done | tee "$work/figures"
    ours=$(of ours)
    best=$(printf '%s\n' "$(of theirs,async)" "$(of theirs,sync)" | sort -n | head -n 1)
    echo "median processor time of a frame: ours $ours us, theirs at best $best us, ratio" \
        "$(awk -v a="$ours" -v b="$best" 'BEGIN { printf "%.2f", a / b }')"
    echo
done
