#!/bin/sh
# Gets a fresh clone ready: system packages, then what npm installs. Quiet when
# both are there already. Arguments are system packages that are needed too.
# OSTLER_SETUP=no leaves the system packages alone, for systems that set-up does
# not know.
set -eu
cd "$(dirname "$0")/.."

[ "${OSTLER_SETUP:-}" = no ] || sh scripts/setup.sh "$@"
# npm writes this file last, with what it has installed.
if ! [ node_modules/.package-lock.json -nt package-lock.json ]; then
  echo 'ostler: npm ci'
  npm ci --no-progress </dev/null
fi
