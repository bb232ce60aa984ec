#!/bin/sh
# Collects the licences of the code that is linked into the modules in prebuilds/LICENSES.txt.
set -eu
cd "$(dirname "$0")/../.."
. scripts/package/target.sh
sources=$work/sources

# license NAME FILE...
license() {
  printf '%s\n\n%s\n\n' "$(echo "$1" | sed 's/./=/g')" "$1"
  shift
  cat "$@"
  echo
}
{
  echo 'The prebuilt modules contain parts of the following libraries.'
  echo
  license libjpeg-turbo "$sources/libjpeg-turbo/LICENSE.md" "$sources/libjpeg-turbo/README.ijg"
  license libpng "$sources/libpng/LICENSE"
  license zlib "$sources/zlib/LICENSE"
  license 'libstdc++ and libgcc' "$sysroot/usr/share/doc/gcc-10-base/copyright"
  license 'SPA, of PipeWire' "$sysroot/usr/share/doc/libspa-0.2-dev/copyright"
} >prebuilds/LICENSES.txt
