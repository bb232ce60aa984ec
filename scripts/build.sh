#!/bin/sh
# Builds one preset of CMakePresets.json: build.sh PRESET [TARGET...]
set -eu
cd "$(dirname "$0")/.."
preset=$1
shift

sh scripts/ready.sh
if [ -n "${CI:-}" ]; then werror=ON; else werror=OFF; fi
cmake --preset "$preset" -DOSTLER_WERROR=$werror >/dev/null
if [ "$preset" = release ]; then directory=build; else directory=build-$preset; fi
echo "ostler: building in $directory/"
bash scripts/ninja.sh "building" -C "$directory" "$@"
