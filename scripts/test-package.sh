#!/usr/bin/env bash
# Makes the Debian packages, installs them in a Debian system that has nothing else, and runs what was installed there
# with virtual cameras. Also compiles an example against the installed headers.
# The clean system needs root and a mirror; without them the packages are looked into only, which is said loudly.
# TAVIX_DEBIAN_MIRROR names another mirror than debootstrap's own.
# Usage: scripts/test-package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
mirror=${TAVIX_DEBIAN_MIRROR:-}
build=build/package
scratch=$(mktemp -d)
system=$scratch/system
mounted=

cleanup() {
    [ -z "$mounted" ] || umount "$system/proc" || true
    rm -rf --one-file-system "$scratch"
}
trap cleanup EXIT
fail() { echo "package: $1" >&2; exit 1; }
quietly() { "$@" >"$scratch/log" 2>&1 || { tail -n 30 "$scratch/log" >&2; return 1; }; }
inside() { chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C "$@"; }

scripts/setup.sh --packaging
echo "package: building"
quietly cmake --preset package || fail "configuring failed"
quietly cmake --build --preset package || fail "building failed"
rm -f "$build"/*.deb
quietly cpack --config "$build/CPackConfig.cmake" -B "$build" || fail "cpack failed"
runtime=$(ls "$build"/tavix_*.deb) development=$(ls "$build"/tavix-dev_*.deb)
gstreamer=$(ls "$build"/gstreamer1.0-tavix_*.deb)
python=$(ls "$build"/python3-tavix_*.deb)

echo "package: looking into $(basename "$runtime") and $(basename "$development")"
has() { # package, then paths as patterns
    local package=$1 path
    shift
    dpkg-deb --contents "$package" | awk '{print $6}' >"$scratch/contents"
    for path in "$@"; do
        grep -qE "^\./$path$" "$scratch/contents" || fail "$(basename "$package") lacks $path"
    done
}
has "$runtime" usr/bin/tavix 'usr/lib/[^/]+/libtavixusb-4\.0\.0\.so' 'usr/lib/[^/]+/libtavixbase\.so\.4' 'usr/lib/[^/]+/libtaviximaging\.so\.4' \
    'usr/lib/[^/]+/libtavixvirtualcam\.so' usr/lib/udev/rules.d/70-tavix-usb3vision.rules \
    usr/share/bash-completion/completions/tavix usr/share/zsh/site-functions/_tavix \
    usr/share/fish/vendor_completions.d/tavix.fish 'usr/share/man/man1/tavix\.1\.gz' \
    'usr/lib/[^/]+/tavix-gentl/libtavixgentl\.cti' etc/profile.d/tavix-gentl.sh \
    usr/lib/systemd/user-environment-generators/60-tavix-gentl \
    usr/share/doc/tavix/copyright 'usr/share/doc/tavix/changelog\.gz'
has "$development" 'usr/include/tavix-4\.0/tavix/Tavix\.h' 'usr/lib/[^/]+/cmake/tavix/tavixConfig\.cmake' \
    'usr/lib/[^/]+/libtavixbase\.so' 'usr/share/doc/.*/examples/enumerate_and_grab\.cpp' usr/share/doc/tavix-dev/copyright
has "$gstreamer" 'usr/lib/[^/]+/gstreamer-1\.0/libgsttavix\.so' usr/share/doc/gstreamer1.0-tavix/copyright
has "$python" usr/lib/python3/dist-packages/tavix/__init__.py usr/lib/python3/dist-packages/tavix/__init__.pyi \
    usr/lib/python3/dist-packages/tavix/py.typed 'usr/lib/python3/dist-packages/tavix/_tavix\..*\.so' \
    usr/share/doc/python3-tavix/copyright
if dpkg-deb --contents "$runtime" | grep -q '/include/'; then fail "the runtime package holds headers"; fi
depends=$(dpkg-deb --field "$runtime" Depends)
for library in libc6 libstdc++6 libusb-1.0-0 liblog4cpp5v5 libpugixml1v5 libzip4 libpng16-16 libjpeg62-turbo libtiff6; do
    grep -q "$library" <<<"$depends" || fail "the package does not depend on $library: $depends"
done
quietly lintian --allow-root --fail-on error,warning "$runtime" "$development" "$gstreamer" "$python" ||
    fail "lintian has something to say"

if [ "$(id -u)" -ne 0 ]; then
    echo "package: ######## SKIPPED: no clean system was tried; that needs root ########"
    exit 0
fi
echo "package: making a clean system"
if ! quietly debootstrap --variant=minbase bookworm "$system" ${mirror:+"$mirror"}; then
    echo "package: ######## SKIPPED: no clean system was tried; debootstrap failed, see above ########"
    exit 0
fi
cp /etc/resolv.conf "$system/etc/" 2>/dev/null || true
mount -t proc proc "$system/proc" 2>/dev/null && mounted=yes
cp "$runtime" "$development" "$gstreamer" "$python" "$system/tmp/"
echo "package: installing"
quietly inside DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
    "/tmp/$(basename "$runtime")" || fail "apt-get could not install it"

echo "package: running the demo from it"
inside tavix --version
inside tavix --virtual 2 list
[ "$(inside tavix --virtual 2 list | wc -l)" -eq 3 ] || fail "two cameras were expected"
inside tavix --virtual 2 grab --all --frames 50 --chunks --buffers 32 --output /tmp/images || fail "the grab failed"
[ "$(find "$system/tmp/images" -name '*.png' -size +0 | wc -l)" -eq 100 ] || fail "100 images were expected"
inside tavix --virtual 1 events --grab --count 3 || fail "no events came"
inside sh -c '. /etc/profile.d/tavix-gentl.sh && tavix gentl' | grep -q '/tavix-gentl/libtavixgentl\.cti  works$' ||
    fail "GenTL programs do not find the producer"
[ "$(inside sh -c '. /etc/profile.d/tavix-gentl.sh
    /usr/lib/systemd/user-environment-generators/60-tavix-gentl' | tr : '\n' | grep -c tavix-gentl)" -eq 1 ] ||
    fail "the folder of the producer is not named just once"
inside tavix doctor --udev-rule | cmp - "$system/usr/lib/udev/rules.d/70-tavix-usb3vision.rules" ||
    fail "the rule is not the one that the doctor knows"

echo "package: running a GStreamer pipeline from it"
quietly inside DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends gstreamer1.0-tools \
    "/tmp/$(basename "$gstreamer")" || fail "apt-get could not install the plug-in"
quietly inside TAVIX_VIRTUAL_CAMERAS=1 gst-launch-1.0 tavixsrc num-buffers=10 ! fakesink || fail "the pipeline failed"

echo "package: the door from Python"
quietly inside DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
    "/tmp/$(basename "$python")" || fail "apt-get could not install $(basename "$python")"
inside python3 -c "import tavix; tavix.virtual(1)
with tavix.open() as camera:
    shapes = [image.array.shape for image in camera.grab(10)]
    assert shapes == [(camera.Height, camera.Width)] * 10, shapes
    print(len(shapes), 'images of', camera.info.friendly_name)" || fail "Python does not get images"

echo "package: compiling an example against the installed headers"
quietly inside dpkg --install --force-depends "/tmp/$(basename "$development")" || fail "tavix-dev could not be unpacked"
cp -r tests/install/stranger "$scratch/stranger"
quietly cmake -S "$scratch/stranger" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$system/usr" \
    -DEXAMPLES="$system/usr/share/doc/tavix/examples" || fail "the package is not found by CMake"
quietly cmake --build "$scratch/build" || fail "the example does not compile"
cp "$scratch/build/stranger_grab" "$system/tmp/"
inside TAVIX_VIRTUAL_CAMERAS=1 /tmp/stranger_grab | tee "$scratch/grab"
[ "$(grep -c ', good$' "$scratch/grab")" -eq 10 ] || fail "ten good images were expected"

echo "package: removing"
quietly inside dpkg --purge python3-tavix gstreamer1.0-tavix tavix-dev tavix || fail "it could not be removed"
if [ -n "$(find "$system/usr" -name '*tavix*' -print -quit)" ]; then
    find "$system/usr" -name '*tavix*' >&2
    fail "the files above stayed behind"
fi
echo "package: good"
