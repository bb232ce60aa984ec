#!/bin/sh
# Runs apt-get on the packages of Debian 11, 12 and 13 for both architectures, whatever this
# system's release is: apt.sh [APT-GET ARGUMENT...]
#
# The packages come from the mirror that this system uses. Nothing is installed: lists and
# downloads stay in build-package/apt, and the system's own are not changed.
set -eu
cd "$(dirname "$0")/../.."
apt=$PWD/build-package/apt
cd "$OLDPWD"

debian() {
  apt-get -qq -o "Dir::Etc::SourceList=$apt/sources.list" -o Dir::Etc::SourceParts=- -o "Dir::State::Lists=$apt/lists" \
    -o "Dir::State::Status=$apt/status" -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=root -o Acquire::Languages=none \
    -o APT::Architecture=amd64 -o APT::Architectures::=amd64 -o APT::Architectures::=arm64 "$@"
}

if ! [ -e "$apt/complete" ]; then
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Component: main' 'Label: Debian' | head -n 1)
  [ -n "$mirror" ] || { echo 'ostler: apt has no Debian package source here; on Debian run "apt-get update"' >&2; exit 1; }
  mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial"
  : >"$apt/status"
  for suite in bullseye bookworm trixie; do
    echo "deb [arch=amd64,arm64 signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $suite main"
    echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $suite main"
  done | grep -v '^deb-src.*bullseye' >"$apt/sources.list"
  # Without --error-on=any a suite that the mirror no longer has is only a warning.
  debian update --error-on=any
  touch "$apt/complete"
fi
debian "$@"
