#!/bin/sh
# Installs the system packages that building, testing and the demo need, on
# Debian 12, Debian 13 and Ubuntu 24.04. Does nothing when all are installed.
# On any other system it lists the packages and fails. The arguments are further packages.
set -eu

build='g++ cmake ninja-build pkg-config libx11-dev libxtst-dev libjpeg-dev libpng-dev libglib2.0-dev libpipewire-0.3-dev libxkbcommon-dev'
ei='libei1 libei-dev libeis1 libeis-dev'
run='xclip pipewire pipewire-bin libpipewire-0.3-modules libspa-0.2-modules'
test='libgtest-dev xdotool x11-xserver-utils xvfb xterm openbox fonts-dejavu-core dbus python3-gi yad'
lint='clang-format clang-tidy shellcheck'
bench='libbenchmark-dev'
extra=$*
packages="$build $run $test $lint $bench $ei $extra"

[ ! -r /etc/os-release ] || . /etc/os-release
case "${ID:-}-${VERSION_ID:-}" in
  debian-12 | debian-13 | ubuntu-24.04) ;;
  *)
    echo "ostler: ${PRETTY_NAME:-this system} is not supported by setup. Install the equivalents of these Debian packages:" >&2
    # shellcheck disable=SC2086
    printf '  %s\n' $packages >&2
    echo 'ostler: then set OSTLER_SETUP=no, so that commands skip setup' >&2
    exit 1
    ;;
esac

installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }
missing() { for package in "$@"; do installed "$package" || printf ' %s' "$package"; done; }

# shellcheck disable=SC2086
lacking=$(missing $packages)
[ -n "$lacking" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
  if ! { command -v sudo && sudo true; } >/dev/null; then
    echo "ostler: missing packages:$lacking" >&2
    echo 'ostler: run "npm run setup" as root, then this command again as yourself' >&2
    exit 1
  fi
  as_root=sudo
fi
echo "ostler: installing$lacking"
apt() { $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 "$@" </dev/null; }
apt update || echo 'ostler: continuing with the existing package lists' >&2

# Debian 12 has no libei, but Debian 13's packages of it run there unchanged. They are
# downloaded with separate package lists, so that nothing else comes from Debian 13.
libei_for_debian_12() {
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Component: main' 'Codename: bookworm' | head -n 1)
  [ -n "$mirror" ] || { echo 'ostler: no Debian 12 package source is set up, so libei cannot be fetched' >&2; exit 1; }
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$work/lists/partial"
  echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror trixie main" >"$work/trixie.list"
  set -- -q -o "Dir::Etc::SourceList=$work/trixie.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$work/lists" \
    -o "Dir::Cache=$work" -o APT::Sandbox::User=root
  apt-get "$@" update
  # shellcheck disable=SC2086
  (cd "$work" && apt-get "$@" download $ei)
  chmod -R a+rX "$work"
  apt install -y --no-install-recommends "$work"/*.deb
}

# shellcheck disable=SC2086
if [ "$ID-$VERSION_ID" = debian-12 ] && [ -n "$(missing $ei)" ]; then
  lacking=$(missing $build $run $test $lint $bench $extra)
  [ -z "$lacking" ] || apt install -y --no-install-recommends $lacking
  libei_for_debian_12
else
  apt install -y --no-install-recommends $lacking
fi
