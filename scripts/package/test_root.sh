#!/bin/sh
# Unpacks Debian 11, the oldest system that the package supports, with only what the modules and
# their test need: test_root.sh x64|arm64. For arm64 these are only libraries, for programs that
# qemu runs.
set -eu
cd "$(dirname "$0")/../.."
. scripts/package/target.sh
root=$work/linux-$1/root
[ ! -e "$root/complete" ] || exit 0

case $1 in
  x64) programs='xvfb dash' ;;
  arm64) programs='libstdc++6:arm64' ;;
esac
packages=$work/linux-$1/root-packages
rm -rf "$root" "$packages"
mkdir -p "$root/dev" "$root/proc" "$root/tmp" "$packages/partial"
# shellcheck disable=SC2086
sh scripts/package/apt.sh install --download-only --assume-yes --no-install-recommends -t bullseye \
  -o "Dir::Cache::Archives=$packages" "libx11-6:$debian" "libxtst6:$debian" $programs
for package in "$packages"/*.deb; do dpkg-deb -x "$package" "$root"; done
touch "$root/complete"
