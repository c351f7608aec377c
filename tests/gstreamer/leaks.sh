#!/usr/bin/env bash
# Whether GStreamer's leaks tracer finds what a pipeline has not given back: at its end, and when it fails. Usage: leaks.sh
set -euo pipefail
out=$(mktemp)
trap 'rm -f "$out"' EXIT

clean() { # description
    GST_TRACERS=leaks GST_DEBUG=GST_TRACER:7 GST_DEBUG_NO_COLOR=1 timeout 60 gst-launch-1.0 $1 >"$out" 2>&1 || true
    if ! grep -q 'GST_TRACER' "$out"; then
        echo "leaks: the tracer said nothing" >&2
        return 1
    fi
    if grep -E 'object-(alive|refings), .*type-name=\(string\)[^%]' "$out"; then
        echo "leaks: the objects above live on after: $1" >&2
        return 1
    fi
}
export TAVIX_VIRTUAL_CAMERAS=2
clean 'tavixsrc num-buffers=20 ! fakesink'
clean 'tavixsrc num-buffers=5 convert=true features=PixelFormat=Mono12p post-messages=true ! video/x-raw,format=RGB ! videoconvert ! fakesink'
clean 'tavixsrc camera=nobody ! fakesink'
clean 'tavixsrc ! video/x-raw,width=101 ! fakesink'
clean 'tavixsrc camera=0 num-buffers=5 ! fakesink tavixsrc camera=1 num-buffers=5 ! fakesink'
