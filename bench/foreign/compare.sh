#!/usr/bin/env bash
# What a frame costs our host and the one of others (Debian's aravis), on the same bus: the emulated usbfs below the real
# libusb, one camera of 1920 x 1080. First programs on both libraries, then both as the source of the same pipeline with
# the same caps. Each is run in turn, several times. Host us is processor time of a frame above the bus, without that in
# the emulated ioctls. Figures only. Packages that are missing are installed.
# Usage: compare.sh BUILD_FOLDER [ROUNDS]
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?the build folder}" && pwd)
rounds=${2:-5}
. "$here/../../tests/system/foreign-packages.sh"
need_packages libaravis-dev libgstreamer1.0-dev gstreamer1.0-plugins-base pkg-config g++
for built in bin/bench_our_grab lib/libusbfscameras.so lib/gstreamer-1.0/libgsttavix.so; do
    [ -e "$build/$built" ] || { echo "$build holds no $built: build the preset release" >&2; exit 1; }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
make() { # program, package, source...
    local program=$1 package=$2
    shift 2
    "${CXX:-c++}" -std=c++17 -O2 -I"$here/.." "$@" "$here/../support/ThreadTimes.cpp" -o "$work/$program" \
        $(pkg-config --cflags --libs "$package") || exit 1
}
make their_grab aravis-0.8 "$here/TheirGrab.cpp"
make pipeline gstreamer-1.0 "$here/Pipeline.cpp"
echo '{"cameras": [{"sensorWidth": 4096, "sensorHeight": 3008, "bufferedFrames": 1000}]}' >"$work/camera.json"

# Only the plug-ins that are needed: others would look for devices on a bus that is not theirs.
mkdir "$work/plugins"
ln -s "$(pkg-config --variable=pluginsdir gstreamer-1.0)"/libgst{coreelements,aravis.0.8}.so "$work/plugins"

run() { # name, command...: prints the name and its figures
    local name=$1
    shift
    printf '%-12s ' "$name"
    LD_PRELOAD="$build/lib/libusbfscameras.so" TAVIX_USBFS_CAMERAS="$work/camera.json" \
        GST_PLUGIN_SYSTEM_PATH_1_0="$work/plugins" GST_PLUGIN_PATH_1_0="$build/lib/gstreamer-1.0" \
        GST_REGISTRY_1_0="$work/registry" GST_REGISTRY_FORK=no timeout 120 "$@"
}
through() { run "$1" "$work/pipeline" "$frames" "$2 $features ! video/x-raw,format=GRAY8,width=1920,height=1080$pace"; }
programs() {
    run ours "$build/bin/bench_our_grab" "$frames" "$rate"
    run theirs,async "$work/their_grab" "$frames" "$rate" async
    run theirs,sync "$work/their_grab" "$frames" "$rate" sync
}
pipelines() {
    through ours tavixsrc
    through theirs,async "aravissrc usb-mode=async"
    through theirs,sync "aravissrc usb-mode=sync"
}
median() { sort -n | awk '{ line[NR] = $1 } END { print line[int((NR + 1) / 2)] }'; }
of() { awk -v name="$1" '$1 == name { print $2 }' "$work/figures" | median; } # median of the processor time

for kind in programs pipelines; do
    for rate in 0 100; do
        frames=$([ "$rate" = 0 ] && echo 2000 || echo 400)
        features=$([ "$rate" = 0 ] && echo features=AcquisitionFrameRateEnable=false)
        pace=$([ "$rate" = 0 ] || echo ",framerate=$rate/1")
        echo "$kind, $([ "$rate" = 0 ] && echo as fast as the host takes them || echo "$rate frames a second")"
        printf '%-12s %8s %9s %9s %9s %8s %6s\n' host "host us" "ioctl us" switches "cam us" frames/s lost
        for ((round = 0; round < rounds; ++round)); do
            "$kind"
        done | tee "$work/figures"
        ours=$(of ours)
        best=$(printf '%s\n' "$(of theirs,async)" "$(of theirs,sync)" | sort -n | head -n 1)
        echo "median processor time of a frame: ours $ours us, theirs at best $best us, ratio" \
            "$(awk -v a="$ours" -v b="$best" 'BEGIN { printf "%.2f", a / b }')"
        echo
    done
done
