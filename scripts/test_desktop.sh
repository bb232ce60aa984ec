#!/bin/sh
# Runs the tests of tests/real_desktop on a GNOME desktop without a screen,
# which the first run builds as a directory of its own (see docs/test-desktop.md).
# Where that cannot be, says what is missing and exits with 77.
set -eu
cd "$(dirname "$0")/.."
root=${OSTLER_DESKTOP_ROOT:-${XDG_CACHE_HOME:-$HOME/.cache}/ostler/gnome}

missing() { echo "ostler: no desktop to test on: $1" >&2; exit 77; }

# In a namespace of process ids nothing outlives the tests, however they end.
namespace='unshare --mount --pid --fork --kill-child --mount-proc'

build_root() {
  . /etc/os-release
  case "${ID:-}-${VERSION_ID:-}" in
    debian-12 | debian-13) ;;
    *) missing "it is built from Debian 13's packages, on Debian 12 or 13" ;;
  esac
  mirror() {
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Component: main' "Codename: $VERSION_CODENAME" | head -n 1
  }
  [ -n "$(mirror)" ] || apt-get -q update
  [ -n "$(mirror)" ] || missing 'apt has no Debian package source'
  command -v debootstrap >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 \
    install -y --no-install-recommends debootstrap </dev/null || missing 'debootstrap cannot be installed'

  echo "ostler: building a GNOME desktop in $root (1.3 GB)"
  rm -rf "$root.part"
  mkdir -p "$root.part"
  debootstrap --variant=minbase trixie "$root.part" "$(mirror)"
  # The packages' set-up wants /proc and /dev.
  $namespace sh -euc '
    cd "$1"
    mount -t proc proc proc
    mount --rbind /dev dev
    cp /etc/resolv.conf etc/
    export DEBIAN_FRONTEND=noninteractive
    chroot . apt-get -q install -y --no-install-recommends dbus libglib2.0-bin python3-dbusmock pipewire wireplumber \
      gnome-shell mutter-common-bin xdg-desktop-portal xdg-desktop-portal-gnome libgl1-mesa-dri libegl-mesa0 \
      adwaita-icon-theme fonts-dejavu-core gir1.2-gtk-4.0 python3-gi-cairo
    chroot . apt-get clean' - "$root.part" </dev/null
  mv "$root.part" "$root"
}

[ "$(id -u)" -eq 0 ] || missing 'run it as root'
$namespace true 2>/dev/null || missing 'this system allows no new namespaces (unshare)'
[ -d "$root" ] || build_root

sh scripts/build.sh release ostler
export OSTLER_DESKTOP_ROOT="$root" OSTLER_ADDON="$PWD/build/ostler.node"
$namespace sh -c 'node tests/real_desktop/real_desktop.test.js; exit $?'
