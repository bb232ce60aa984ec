#!/bin/sh
# Runs the tests of one preset: test.sh PRESET [CTEST OPTION...]
set -eu
cd "$(dirname "$0")/.."
preset=$1
shift

sh scripts/build.sh "$preset"
sh scripts/x11-only.sh ctest --preset "$preset" "$@"
