#!/usr/bin/env bash
# Installs what is needed, builds, and shows two virtual cameras at work: lists them, grabs from both at once through the
# transport layer, checks the chunk data and writes the images. Works in a fresh clone.
# Usage: scripts/demo.sh [frames per camera]
set -euo pipefail
cd "$(dirname "$0")/.."
frames=${1:-100}
[[ "$frames" =~ ^[1-9][0-9]*$ ]] || { echo "demo: '$frames' is no number of frames; usage: scripts/demo.sh [frames]" >&2; exit 2; }
images=out/demo
log=$(mktemp) settings=$(mktemp)
trap 'rm -f "$log" "$settings"' EXIT

fail() { echo "demo: $1" >&2; exit 1; }
quietly() { "$@" >"$log" 2>&1 || { tail -n 20 "$log" >&2; return 1; }; }

scripts/setup.sh --demo || fail "the packages above could not be installed"
echo "demo: building"
quietly cmake --preset release -DTAVIX_BUILD_BENCH=OFF || fail "configuring failed, see above"
quietly cmake --build --preset release --target demo || fail "building failed, see above"

tavix=build/release/bin/tavix
export TAVIX_VIRTUAL_CAMERAS=2
rm -rf "$images"

echo; echo "demo: the cameras"
"$tavix" list || fail "the cameras could not be listed"
[ "$("$tavix" list --json | grep -c '"FullName"')" -ge 2 ] || fail "two virtual cameras were expected in the list"

echo; echo "demo: $frames frames from each camera at once, chunk data checked, images into $images"
"$tavix" grab --all --frames "$frames" --chunks --buffers 32 --output "$images" || fail "grabbing failed"
count=$(find "$images" -name '*.png' -size +0 | wc -l)
[ "$count" -ge $((2 * frames)) ] || fail "$((2 * frames)) images were expected in $images, $count are there"

echo; echo "demo: events that a camera sends while it takes images"
build/release/bin/example_events || fail "no events came"

if [ -f build/release/lib/gstreamer-1.0/libgsttavix.so ] && command -v gst-launch-1.0 >/dev/null; then
    echo; echo "demo: two cameras in one GStreamer pipeline"
    GST_PLUGIN_PATH=build/release/lib/gstreamer-1.0 gst-launch-1.0 --no-position \
        tavixsrc camera=0 num-buffers=30 ! video/x-raw,width=640,height=480 ! videoconvert ! fakesink \
        tavixsrc camera=1 num-buffers=30 ! video/x-bayer ! fakesink || fail "the pipeline failed"
fi

if [ -f build/release/python/tavix/__init__.py ]; then
    echo; echo "demo: images as NumPy arrays in Python"
    root=$PWD
    (cd "$images" && PYTHONPATH=$root/build/release/python /usr/bin/python3 -B "$root/examples/python/save_series.py") ||
        fail "Python got no images"
fi

echo; echo "demo: how fast one camera goes when nothing is saved (1920 x 1080, Mono8, no frame rate limit)"
echo '{"cameras": [{"sensorWidth": 1920, "sensorHeight": 1088, "frameRateEnable": false}]}' >"$settings"
"$tavix" --virtual "$settings" grab --frames 2000 --set Height=1080 || fail "the fast grab failed"

echo; echo "demo: to look at the cameras live, in the browser:  $tavix --virtual 2 view"
echo "demo: $count images are in $images, for example $(find "$images" -name '*.png' | sort | head -n 1)"
