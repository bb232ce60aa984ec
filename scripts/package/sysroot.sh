#!/bin/sh
# Unpacks the headers and libraries with which the modules are built: sysroot.sh x64|arm64
#
# Debian 11's C and C++ libraries decide the oldest glibc that the modules run on.
# Of GLib, PipeWire, libei and libxkbcommon only the headers are used, from releases that have
# all functions which the modules call; these libraries are loaded at run time.
set -eu
cd "$(dirname "$0")/../.."
. scripts/package/target.sh
[ ! -e "$sysroot/complete" ] || exit 0

debian_11='libc6 libc6-dev linux-libc-dev gcc-10-base libgcc-s1 libgcc-10-dev libstdc++6 libstdc++-10-dev
  libx11-6 libx11-dev libxcb1 libxcb1-dev libxtst6 libxtst-dev libxi-dev libxext6 libxext-dev'
debian_12='libglib2.0-dev libpipewire-0.3-dev libspa-0.2-dev libxkbcommon-dev'
debian_13='libei-dev'

packages=$work/linux-$1/packages
rm -rf "$sysroot" "$packages"
mkdir -p "$sysroot" "$packages"
wanted() { suite=$1; shift; printf "%s:$debian/$suite " "$@"; }
# shellcheck disable=SC2046,SC2086
(cd "$packages" && sh "$OLDPWD/scripts/package/apt.sh" download \
  x11proto-dev/bullseye $(wanted bullseye $debian_11) $(wanted bookworm $debian_12) $(wanted trixie $debian_13))
for package in "$packages"/*.deb; do dpkg-deb -x "$package" "$sysroot"; done

# Absolute links would point to this system's libraries.
find "$sysroot" -type l -lname '/*' | while read -r link; do
  ln -sfr "$sysroot$(readlink "$link")" "$link"
done
# Drop private requirements, because those packages are not in the sysroot.
find "$sysroot" -name '*.pc' -exec sed -i '/^Requires.private:/d' {} +
touch "$sysroot/complete"
