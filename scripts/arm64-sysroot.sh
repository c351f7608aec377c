#!/usr/bin/env bash
# Unpacks the foreign packages that a build for 64-bit ARM needs into build/arm64-sysroot. They are not installed: some
# of them cannot stand beside their siblings of this machine's architecture. Does nothing when they are there.
# Usage: scripts/arm64-sysroot.sh
set -euo pipefail
cd "$(dirname "$0")/.."
sysroot=$PWD/build/arm64-sysroot
state=$PWD/build/arm64-packages

packages=(
    libc6-dev libstdc++-12-dev linux-libc-dev
    libusb-1.0-0-dev liblog4cpp5-dev libboost-dev libpugixml-dev libzip-dev zlib1g-dev libssl-dev
    libcli11-dev nlohmann-json3-dev libpng-dev libjpeg62-turbo-dev libtiff-dev libusbredirparser-dev
    libgtest-dev libgmock-dev
)
wanted=$(sha256sum "$0" | cut -d' ' -f1)
[ "$(cat "$sysroot/.packages" 2>/dev/null || true)" = "$wanted" ] && exit 0

# The packages with all that they depend on, as on an empty machine of that architecture.
mkdir -p "$state"/{lists/partial,archives/partial}
: >"$state/status"
foreign=(
    -o APT::Architecture=arm64 -o APT::Architectures::=arm64 -o Dir::State="$state" -o Dir::State::Lists="$state/lists"
    -o Dir::State::status="$state/status" -o Dir::Cache="$state" -o Dir::Cache::archives="$state/archives"
    -o APT::Sandbox::User= -o Debug::NoLocking=1
)
echo "arm64: fetching packages"
apt-get "${foreign[@]}" update >"$state/log" 2>&1 || { tail -n 5 "$state/log" >&2; exit 1; }
apt-get "${foreign[@]}" install --yes --download-only --no-install-recommends "${packages[@]}" >"$state/log" 2>&1 ||
    { tail -n 5 "$state/log" >&2; exit 1; }

rm -rf "$sysroot" && mkdir -p "$sysroot/usr"/{bin,sbin,lib}
for folder in bin sbin lib; do # as every Debian 12 has it
    ln -s "usr/$folder" "$sysroot/$folder"
done
for package in "$state"/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar --extract --keep-directory-symlink --no-same-owner --directory "$sysroot"
done
# Links that name files by their place on the foreign machine would lead into this one.
find "$sysroot" -type l -lname '/*' | while read -r link; do
    ln -sfr "$sysroot$(readlink "$link")" "$link"
done
echo "$wanted" >"$sysroot/.packages"
