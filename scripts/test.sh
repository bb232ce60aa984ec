#!/bin/sh
# Runs the tests of one preset: test.sh PRESET [CTEST OPTION...]
set -eu
cd "$(dirname "$0")/.."
preset=$1
shift

sh scripts/build.sh "$preset"
if [ "$preset" = release ]; then directory=build; else directory=build-$preset; fi
# Under ThreadSanitizer only the tests of threaded code are worth the time.
[ "$preset" != tsan ] || set -- -L tsan "$@"
sh scripts/x11-only.sh ctest --test-dir "$directory" --output-on-failure --no-tests=error \
  --no-label-summary -j 2 "$@"
