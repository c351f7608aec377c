#!/usr/bin/env bash
# Installs the build tree into a scratch folder, builds a stranger's project against it and runs it there.
# Usage: run.sh BUILD_DIR SOURCE_DIR [compiler flags]
set -euo pipefail
build=$1 source=$2 flags=${3:-}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/usr" >"$scratch/log" || { cat "$scratch/log" >&2; exit 1; }
cmake -S "$source/stranger" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/usr" -DCMAKE_CXX_FLAGS="$flags" \
    -DEXAMPLES="$source/../../examples" >"$scratch/log" 2>&1 ||
    { cat "$scratch/log" >&2; exit 1; }
cmake --build "$scratch/build" >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; exit 1; }
export TAVIX_VIRTUAL_CAMERAS=2
unset TAVIX_TL_PATH LD_LIBRARY_PATH
output=$("$scratch/build/stranger")
echo "$output"
grep -qx '2 cameras' <<<"$output"
grep -qE '^GUID [0-9A-F]{12}$' <<<"$output"
grep -qE '^Width [1-9][0-9]*$' <<<"$output"
"$scratch/build/stranger_grab" | tee "$scratch/grab"
[ "$(grep -c ', good$' "$scratch/grab")" -eq 10 ] || { echo "ten good images were expected" >&2; exit 1; }
mkdir "$scratch/ten" && (cd "$scratch/ten" && "$scratch/build/stranger_images")
[ "$(find "$scratch/ten" -name 'image-*.png' | wc -l)" -eq 10 ] || { echo "ten files were expected" >&2; exit 1; }

# The program finds plug-in and virtual cameras from where it was installed, and from where the tree is moved to.
mv "$scratch/usr" "$scratch/moved"
unset TAVIX_VIRTUAL_CAMERAS
[ "$("$scratch/moved/bin/tavix" --virtual 2 list | wc -l)" -eq 3 ] || { echo "two cameras were expected" >&2; exit 1; }
"$scratch/moved/bin/tavix" --virtual 1 grab --frames 3 --set AcquisitionFrameRateEnable=0 --output "$scratch/images"
[ "$(find "$scratch/images" -name '*.png' | wc -l)" -eq 3 ] || { echo "three images were expected" >&2; exit 1; }
[ -s "$scratch/moved/lib/udev/rules.d/70-tavix-usb3vision.rules" ] || { echo "the udev rule is missing" >&2; exit 1; }

# No library is looked for in whatever folder a program is started from.
for binary in "$build"/lib/*.so "$build"/bin/tavix "$scratch"/moved/bin/tavix; do
    if readelf -d "$binary" | grep -E 'R(UN)?PATH.*(\[:|::|:\])'; then
        echo "$binary looks for libraries in the current folder" >&2
        exit 1
    fi
done

# A package of another major version is not taken for this one.
sed 's/find_package(tavix 4.0/find_package(tavix 5.0/' "$source/stranger/CMakeLists.txt" >"$scratch/CMakeLists.txt"
cp "$source/stranger/Main.cpp" "$scratch"
if cmake -S "$scratch" -B "$scratch/other" -DCMAKE_PREFIX_PATH="$scratch/moved" >"$scratch/log" 2>&1; then
    echo "version 5.0 was asked for and 4.0 was taken" >&2
    exit 1
fi
