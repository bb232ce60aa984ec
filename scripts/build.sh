#!/bin/sh
# Builds one preset of CMakePresets.json: build.sh PRESET [TARGET...]
set -eu
cd "$(dirname "$0")/.."
preset=$1
shift

sh scripts/ready.sh
if [ -n "${CI:-}" ]; then werror=ON; else werror=OFF; fi
output=$(cmake --preset "$preset" -DOSTLER_WERROR=$werror)
directory=$(printf '%s\n' "$output" | sed -n 's/^-- Build files have been written to: //p')
echo "ostler: building in ${directory#"$PWD/"}/"
bash scripts/ninja.sh "building" -C "$directory" "$@"
