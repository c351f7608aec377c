#!/usr/bin/env bash
# A USB3 Vision host that others wrote (Debian's aravis) meets the virtual camera below the real libusb: it lists the
# cameras, reads and writes features, and grabs frames whose bytes must be those that our own host gets.
# Usage: foreign-client.sh BUILD_FOLDER
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?the build folder}" && pwd)
. "$here/foreign-packages.sh"
need_packages aravis-tools-cli libaravis-dev pkg-config
[ -e "$build/lib/libusbfscameras.so" ] || { echo "libusbfscameras.so is not built" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
camera=Vandrel-120940000002-40000002
failures=0

on_the_bus() { env LD_PRELOAD="$build/lib/libusbfscameras.so" TAVIX_USBFS_CAMERAS=2 timeout 60 "$@" 2>&1; }
tool() { on_the_bus arv-tool-0.8 -n "$camera" "$@"; }
expect() { # what, output, pattern...
    local what=$1 output=$2 pattern
    shift 2
    for pattern in "$@"; do
        grep -qE -- "$pattern" <<<"$output" && continue
        echo "FAILED: $what: nothing fits \"$pattern\" in:" >&2
        echo "$output" | tail -n 20 >&2
        failures=$((failures + 1))
        return
    done
    echo "ok: $what"
}

expect "both cameras are listed" "$(on_the_bus arv-tool-0.8)" \
    '^Vandrel-120940000001-40000001 \(USB3\)' '^Vandrel-120940000002-40000002 \(USB3\)'
expect "the description is downloaded and unzipped" "$(tool genicam)" '<RegisterDescription' '</RegisterDescription>'
values=$(tool values)
expect "features of each kind are read" "$values" "'DeviceModelName' = 'VC-1300'" "'SensorWidth' = 1280 px" \
    "'AcquisitionFrameRate' = 30 Hz" "'PixelFormat' = 'Mono8'" "'ReverseX' = false" "'PayloadSize' = 1310720 B"
grep -qiE 'error|critical|warning' <<<"$values" && expect "reading all values" "$values" 'without complaint'
expect "features of each kind are written" \
    "$(tool control Width=640 ExposureTime=5000 PixelFormat=Mono12 ReverseX=true DeviceUserID=left)" \
    '^Width = 640 px min:16 max:1280 inc:4' '^ExposureTime = 5000 us' '^PixelFormat = Mono12' '^ReverseX = true' \
    '^DeviceUserID = left'
expect "a register is read" "$(tool control 'R[0x0]')" 'R\[0x00000000\] = 0x00010003'
expect "a value outside its limits is refused by the camera" "$(tool control Width=100000)" 'invalid-parameter'
expect "the limits of a value are understood" "$(tool --range-check=enable control Width=100000)" 'greater than allowed maximum .1280.'

"${CXX:-c++}" -std=c++17 -O1 -Wall -Wextra "$here/foreign/GrabFrames.cpp" -o "$work/grab_frames" \
    $(pkg-config --cflags --libs aravis-0.8) || exit 1

same_frames() { # what, settings: the foreign host's frames are byte by byte those of ours
    local what=$1 settings=$2 output file number options=() setting
    rm -rf "$work/foreign" "$work/ours"
    mkdir "$work/foreign"
    output=$(on_the_bus "$work/grab_frames" "$camera" 12 "$work/foreign" "$settings") ||
        { expect "$what" "$output" 'grabbed by the foreign host'; return; }
    for setting in $settings; do
        options+=(-s "${setting/=true/=1}")
    done
    output=$("$build/bin/tavix" --virtual 2 grab -c 1 -n 12 -b 12 -f raw -q -o "$work/ours" "${options[@]}" 2>&1) ||
        { expect "$what" "$output" 'grabbed by our host'; return; }
    for number in {0..11}; do
        file=$(printf '%s/ours/VC-1300_40000002_%06d.raw' "$work" "$number")
        cmp "$work/foreign/$number.raw" "$file" && continue
        expect "$what" "frame $number differs" 'the same bytes'
        return
    done
    echo "ok: $what"
}

same_frames "frames of 8 bits" "Width=640 Height=480 PixelFormat=Mono8 AcquisitionFrameRate=100"
same_frames "frames of 16 bits" "Width=320 Height=200 PixelFormat=Mono12 AcquisitionFrameRate=100"
same_frames "frames in colour" "Width=648 Height=482 PixelFormat=RGB8 AcquisitionFrameRate=100"
same_frames "frames with chunk data" \
    "Width=640 Height=480 ChunkModeActive=true ChunkSelector=FrameID ChunkEnable=true AcquisitionFrameRate=100"
[ "$failures" -eq 0 ]
