#!/usr/bin/env bash
# Makes the Debian packages `tavix` and `tavix-dev` for 64-bit ARM in build/package-arm64, with Debian's cross compiler, and
# runs what is in them under user-mode emulation. The doors from Python and GStreamer are left to a machine of that kind.
# Usage: scripts/arm64-package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/package-arm64
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "arm64-package: $1" >&2; exit 1; }
quietly() { "$@" >"$scratch/log" 2>&1 || { tail -n 30 "$scratch/log" >&2; return 1; }; }

scripts/setup.sh --arm64
scripts/arm64-sysroot.sh
echo "arm64-package: building"
quietly cmake --preset package -B "$build" --toolchain cmake/toolchains/arm64.cmake \
    -DCMAKE_INSTALL_LIBDIR=lib/aarch64-linux-gnu || fail "configuring failed"
quietly cmake --build "$build" || fail "building failed"

# What dpkg-shlibdeps would find, were the foreign packages installed: the package of each library that ours are linked with,
# by what these packages themselves say of their libraries.
depends() {
    local package
    for package in build/arm64-packages/archives/*.deb; do
        dpkg-deb --info "$package" shlibs 2>/dev/null || true
    done | awk 'NF >= 3 && $1 !~ /:$/ { key = $1 " " $2; $1 = $2 = ""; sub(/^ +/, ""); print key "\t" $0 }' >"$scratch/shlibs"
    readelf --dynamic --wide "$build"/lib/*.so "$build"/lib/*.cti "$build/bin/tavix" |
        sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' | sort -u |
        sed -nE 's/^(.*)\.so\.(.*)$/\1 \2/p; s/^(.*)-([0-9.]+)\.so$/\1 \2/p' >"$scratch/needed"
    awk -F'\t' 'NR == FNR { package[$1] = $2; next } $1 in package { print package[$1] }' "$scratch/shlibs" "$scratch/needed" |
        sort -u | paste -sd, | sed 's/,/, /g'
}
needs=$(depends)
for library in libc6 libstdc++6 libusb-1.0-0 liblog4cpp5v5 libpugixml1v5 libzip4 libpng16-16; do
    grep -q -F "$library" <<<"$needs" || fail "nobody says which package has $library: $needs"
done
rm -f "$build"/*.deb
quietly cpack --config "$build/CPackConfig.cmake" -B "$build" -D CPACK_DEBIAN_PACKAGE_ARCHITECTURE=arm64 \
    -D CPACK_DEBIAN_PACKAGE_SHLIBDEPS=OFF -D CPACK_DEBIAN_TAVIX_PACKAGE_DEPENDS="$needs" || fail "cpack failed"

echo "arm64-package: running what is in them"
for package in "$build"/*.deb; do
    [ "$(dpkg-deb --field "$package" Architecture)" = arm64 ] || fail "$package is for another architecture"
    dpkg-deb --extract "$package" "$scratch/root"
done
installed() {
    qemu-aarch64-static -L build/arm64-sysroot -E LD_LIBRARY_PATH="$scratch/root/usr/lib/aarch64-linux-gnu" \
        -E TAVIX_TL_PATH="$scratch/root/usr/lib/aarch64-linux-gnu" "$scratch/root/usr/bin/tavix" "$@"
}
installed --version
installed --virtual 1 grab --frames 5 >"$scratch/grabbed" || { cat "$scratch/grabbed" >&2; fail "it grabs nothing"; }
cat "$scratch/grabbed"
ls "$build"/*.deb
