#!/usr/bin/env bash
# Our feature engine and that of others (Debian's libaravis) load the same descriptions over the same memory and are asked
# for every value, limit and availability. Wherever both answer, they must agree.
# Usage: foreign-features.sh BUILD_FOLDER     the descriptions lie in TAVIX_CAMERA_XML_DIR
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?the build folder}" && pwd)
. "$here/foreign-packages.sh"
need_packages libaravis-dev pkg-config

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"${CXX:-c++}" -std=c++17 -O1 -Wall -Wextra "$here/foreign/TheirFeatures.cpp" -o "$work/their_features" \
    $(pkg-config --cflags --libs aravis-0.8) || exit 1

# The virtual camera's own description is always there.
descriptions=("$here/../../virtualcam/description/VirtualCamera.xml")
[ -n "${TAVIX_CAMERA_XML_DIR:-}" ] && descriptions+=("$TAVIX_CAMERA_XML_DIR"/*.xml)
[ ${#descriptions[@]} -eq 1 ] && echo "no descriptions of other cameras: TAVIX_CAMERA_XML_DIR is not set" >&2

failures=0
for description in "${descriptions[@]}"; do
    for memory in 0 l b t; do # zeros, ones in either byte order, letters
        echo "$(basename "$description"), memory $memory:"
        timeout 60 "$build/bin/our_features" "$description" "$memory" >"$work/ours" &&
            timeout 60 "$work/their_features" "$description" "$memory" <"$work/ours" 2>"$work/complaints" && continue
        echo "FAILED: $(basename "$description") with memory $memory" >&2
        failures=$((failures + 1))
    done
done
[ "$failures" -eq 0 ]
