#!/bin/sh
# Runs the test of keymaps on all layouts, then those of tests/real_desktop on headless desktops,
# GNOME and KDE of both releases unless one is named:
# test_desktop.sh [gnome | kde] [--suite trixie | sid] [--texts]
# --texts runs the test of texts on many layouts instead, which takes longer.
# Debian 13 (trixie) has GNOME 48 and KDE Plasma 6.3, sid has later ones.
# The first run builds each desktop in a directory (see docs/test-desktop.md).
# If something is missing, prints what it is and exits with 77.
set -eu
cd "$(dirname "$0")/.."
desktops='gnome kde' suites='trixie sid' test=real_desktop
while [ $# -gt 0 ]; do
  case "$1 ${2:-}" in
    gnome\ * | kde\ *) desktops=$1 ;;
    '--suite trixie' | '--suite sid') suites=$2; shift ;;
    --texts\ *) test=writing ;;
    *) echo "usage: $0 [gnome | kde] [--suite trixie | sid] [--texts]" >&2; exit 2 ;;
  esac
  shift
done
roots=${OSTLER_DESKTOP_ROOTS:-${XDG_CACHE_HOME:-$HOME/.cache}/ostler}

missing() { echo "ostler: no desktop to test on: $1" >&2; exit 77; }

# The process id namespace ends all processes with the tests, even if those are killed.
namespace='unshare --mount --pid --fork --kill-child --mount-proc'

packages='dbus libglib2.0-bin python3-dbusmock pipewire wireplumber xdg-desktop-portal libgl1-mesa-dri libegl-mesa0
  fonts-dejavu-core gir1.2-gtk-4.0 python3-gi-cairo'
packages_of() {
  case $1 in
    # GTK 4 on GNOME 51 leaves dead keys to IBus.
    gnome) echo gnome-shell mutter-common-bin xdg-desktop-portal-gnome adwaita-icon-theme ibus ;;
    # plasma-workspace contains parts of the portal's dialog; libdrm-dev is for render_node.cpp.
    kde) echo kwin-wayland plasma-workspace breeze breeze-cursor-theme qt6-wayland libkscreen-bin \
      xdg-desktop-portal-kde libdrm-dev ;;
  esac
}

install_into() { # install_into ROOT PACKAGES
  # Package installation needs /proc and /dev.
  $namespace sh -euc '
    cd "$1"
    mount -t proc proc proc
    mount --rbind /dev dev
    cp /etc/resolv.conf etc/
    export DEBIAN_FRONTEND=noninteractive
    chroot . apt-get -q update
    chroot . apt-get -q install -y --no-install-recommends $2
    chroot . apt-get clean' - "$1" "$2" </dev/null
}

build_root() { # build_root DESKTOP SUITE ROOT
  . /etc/os-release
  case "${ID:-}-${VERSION_ID:-}" in
    debian-12 | debian-13) ;;
    *) missing 'it is built on Debian 12 or 13' ;;
  esac
  mirror() {
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Component: main' "Codename: $VERSION_CODENAME" | head -n 1
  }
  [ -n "$(mirror)" ] || apt-get -q update
  [ -n "$(mirror)" ] || missing 'apt has no Debian package source'
  command -v debootstrap >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 \
    install -y --no-install-recommends debootstrap </dev/null || missing 'debootstrap cannot be installed'

  echo "ostler: building a $1 desktop of $2 in $3 (gnome: 1.3 GB, kde: 1.8 GB)"
  rm -rf "$3.part"
  mkdir -p "$3.part"
  debootstrap --variant=minbase "$2" "$3.part" "$(mirror)"
  # A mirror that stands still serves sid beyond the date up to which its list is valid.
  sed -i 's/^deb /deb [check-valid-until=no] /' "$3.part/etc/apt/sources.list"
  install_into "$3.part" "$packages $(packages_of "$1")"
  mv "$3.part" "$3"
}

[ "$(id -u)" -eq 0 ] || missing 'run it as root'
$namespace true 2>/dev/null || missing 'this system allows no new namespaces (unshare)'
root_of() { # root_of DESKTOP SUITE
  case $2 in
    trixie) echo "$roots/$1" ;;
    *) echo "$roots/$1-$2" ;;
  esac
}
for desktop in $desktops; do
  for suite in $suites; do
    root=$(root_of "$desktop" "$suite")
    [ -d "$root" ] || build_root "$desktop" "$suite" "$root"
    # Only the test of texts needs programs with text fields.
    [ "$test" != writing ] || [ -x "$root/usr/bin/foot" ] || install_into "$root" 'python3-pyqt6 qt6-wayland foot'
  done
done

sh scripts/build.sh release
OSTLER_ALL_LAYOUTS=1 build/tests/ostler_unit_tests --gtest_brief=1 --gtest_filter='Keymap.*'
export OSTLER_SESSION="$PWD/build/session.node" OSTLER_ADDON="$PWD/build/ostler.node" OSTLER_RENDER_NODE="$PWD/build/render_node.so" OSTLER_DESKTOP OSTLER_DESKTOP_SUITE OSTLER_DESKTOP_ROOT
status=0
for OSTLER_DESKTOP in $desktops; do
  for OSTLER_DESKTOP_SUITE in $suites; do
    OSTLER_DESKTOP_ROOT=$(root_of "$OSTLER_DESKTOP" "$OSTLER_DESKTOP_SUITE")
    if [ "$OSTLER_DESKTOP" = kde ]; then
      c++ -std=c++20 -O2 -shared -fPIC -isystem "$OSTLER_DESKTOP_ROOT/usr/include/libdrm" \
        -idirafter "$OSTLER_DESKTOP_ROOT/usr/include" -o "$OSTLER_RENDER_NODE" tests/real_desktop/render_node.cpp
    fi
    echo "ostler: tests on $OSTLER_DESKTOP of $OSTLER_DESKTOP_SUITE"
    $namespace sh -c 'node "tests/real_desktop/$0.test.js"; exit $?' "$test" || status=$?
  done
done
exit $status
