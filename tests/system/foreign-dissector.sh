#!/usr/bin/env bash
# A dissector that others wrote (Debian's tshark) reads the wire trace: descriptors, control, stream and events, without
# a malformed packet, and sees the values that the application saw.
# Usage: foreign-dissector.sh BUILD_FOLDER
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?the build folder}" && pwd)
. "$here/foreign-packages.sh"
need_packages tshark

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trace=$work/trace.pcapng
failures=0

fail() { echo "FAILED: $*" >&2; failures=$((failures + 1)); }
# Root is told to be careful each time; everything else on the error stream matters.
dissect() { tshark -r "$trace" "$@" 2> >(grep -v '^Running as user' >&2); }
record() { # what, command...: runs it with a trace
    local what=$1
    shift
    rm -f "$trace"
    TAVIX_TRACE="$trace" "$@" >"$work/output" 2>&1 || { tail -n 5 "$work/output" >&2; fail "$what: $*"; }
    local complaints
    complaints=$(dissect -Y '_ws.malformed || _ws.expert.severity >= 0x600000' 2>&1)
    [ -z "$complaints" ] && return
    fail "$what: the dissector complains"
    head -n 5 <<<"$complaints" >&2
}
expect() { # what, least number, filter
    local count
    count=$(dissect -Y "$3" | wc -l)
    if [ "$count" -ge "$2" ]; then echo "ok: $1 ($count)"; else fail "$1: $count packets fit $3, not $2"; fi
}
expect_fields() { # what, filter, field, values separated by blanks
    local seen
    seen=$(dissect -Y "$2" -T fields -e "$3" | tr '\n' ' ')
    if [ "$seen" = "$4 " ]; then echo "ok: $1"; else fail "$1: $3 is $seen, not $4"; fi
}

frames=(grab -q -n 6 -s Width=640 -s Height=480)
below_libusb=(env LD_PRELOAD="$build/lib/libusbfscameras.so" TAVIX_USBFS_CAMERAS=1)

for bus in "a virtual bus" "the real libusb"; do
    if [ "$bus" = "a virtual bus" ]; then
        run=("$build/bin/tavix" --virtual 1)
    else
        run=("${below_libusb[@]}" "$build/bin/tavix")
    fi
    record "images over $bus" "${run[@]}" "${frames[@]}" --chunks
    expect "descriptors" 1 'u3v.device_info_descriptor'
    expect "strings" 6 'usb.bString'
    expect "registers by their names" 3 'u3v.scd_readmem_cmd && u3v.bootstrap.SIRM_Address || u3v.bootstrap.Device_Capability || u3v.bootstrap.SI_Required_Payload_Size'
    expect "acknowledges of reads" 20 'u3v.scd_ack_readmem_ack'
    expect "acknowledges of writes" 8 'u3v.scd_writemem_ack'
    expect "payload" 6 'u3v.stream_payload'
    expect_fields "the width in each leader" 'u3v.stream_leader' u3v.stream.sizex "640 640 640 640 640 640"
    expect_fields "the blocks' ids in the leaders" 'u3v.stream_leader' u3v.stream.block_id \
        "0 1 2 3 4 5"
    expect_fields "the status in each trailer" 'u3v.stream_trailer' u3v.stream.status \
        "0x0000 0x0000 0x0000 0x0000 0x0000 0x0000"
    expect "transfers" 200 "usb.urb_type == 'S'"
    unanswered=$(comm -3 \
        <(dissect -Y "usb.urb_type == 'S'" -T fields -e usb.urb_id | sort) \
        <(dissect -Y "usb.urb_type == 'C'" -T fields -e usb.urb_id | sort) | wc -l)
    if [ "$unanswered" -eq 0 ]; then echo "ok: each transfer ends"; else fail "$unanswered transfers have no end"; fi
done

# All bytes of the payload, if wanted: the picture can be taken out of the trace.
record "whole payload" env TAVIX_TRACE_PAYLOAD=100000000 "$build/bin/tavix" --virtual 1 grab -q -n 1 -f raw \
    -o "$work/images" -s Width=640 -s Height=480
dissect -Y 'u3v.stream_payload' -T fields -e u3v.stream.data | tr -d '\n:' |
    perl -ne 'print pack("H*", $_)' >"$work/payload.raw"
cmp "$work/payload.raw" "$work"/images/*.raw && echo "ok: the image in the trace" || fail "the image in the trace differs"

record "events" env TAVIX_VIRTUAL_CAMERAS=1 "$build/bin/example_events"
expect "events" 3 'u3v.scd_event_cmd'

cat >"$work/faulty.json" <<'JSON'
{"cameras": [{"frameRate": 200, "faults": {
  "control": [{"fault": "Pending", "value": 2, "skip": 30}, {"fault": "StallIn", "skip": 20, "command": 2048}],
  "stream": [{"fault": "Stall", "frame": 2, "value": 5000}, {"fault": "Truncated", "frame": 12, "value": 70000},
             {"fault": "LostTrailer", "frame": 16}]}}]}
JSON
spoiled() { # command...: grab tells by its status that frames have failed, as they must here
    "$@"
    [ $? -eq 3 ]
}
record "trouble on the wire" spoiled "$build/bin/tavix" --virtual "$work/faulty.json" grab -q -n 30
expect "pending acknowledges" 2 'u3v.ccd_pending_ack'
expect "a stall of the control channel" 1 'usb.urb_status == -32 && usb.endpoint_address == 0x81'
expect "a stall of the stream" 1 'usb.urb_status == -32 && usb.endpoint_address == 0x83'
expect "cleared halts" 2 'usb.setup.bRequest == 1'

# The dissector does complain when there is a reason: a camera that cuts its acknowledge short.
echo '{"cameras": [{"faults": {"control": [{"fault": "Truncated", "value": 14, "skip": 10, "command": 2048}]}}]}' >"$work/short.json"
TAVIX_TRACE=$trace "$build/bin/tavix" --virtual "$work/short.json" grab -q -n 1 >"$work/output" 2>&1
expect "a malformed packet is noticed" 1 '_ws.malformed'
[ "$failures" -eq 0 ]
