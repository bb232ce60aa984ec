#!/bin/sh
# Prepares a fresh clone: installs the system packages, then the npm packages. Prints nothing
# when both are installed already. The arguments are further system packages.
# OSTLER_SETUP=no skips the system packages, for systems that setup.sh does not support.
set -eu
cd "$(dirname "$0")/.."

[ "${OSTLER_SETUP:-}" = no ] || sh scripts/setup.sh "$@"
# npm writes this file last when it installs.
if ! [ node_modules/.package-lock.json -nt package-lock.json ]; then
  echo 'ostler: npm ci'
  npm ci --no-progress </dev/null
fi
