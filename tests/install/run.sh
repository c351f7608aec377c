#!/usr/bin/env bash
# Installs the build tree into a scratch folder, builds a stranger's project against it and runs it there.
# Usage: run.sh BUILD_DIR SOURCE_DIR [compiler flags]
set -euo pipefail
build=$1 source=$2 flags=${3:-}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/usr" >"$scratch/log" || { cat "$scratch/log" >&2; exit 1; }
cmake -S "$source/stranger" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/usr" -DCMAKE_CXX_FLAGS="$flags" >"$scratch/log" 2>&1 ||
    { cat "$scratch/log" >&2; exit 1; }
cmake --build "$scratch/build" >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; exit 1; }
export TAVIX_VIRTUAL_CAMERAS=2
output=$("$scratch/build/stranger")
echo "$output"
grep -qx '2 cameras' <<<"$output"
grep -qE '^Width [1-9][0-9]*$' <<<"$output"
"$scratch/usr/bin/tavix" list
