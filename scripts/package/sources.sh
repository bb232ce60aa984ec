#!/bin/sh
# Fetches and unpacks the sources of the codecs that are linked into the modules, in
# build-package/sources. This file pins their versions: each update of a codec, including
# security updates, needs a release of this package (docs/releasing.md).
set -eu
cd "$(dirname "$0")/../.."
sources=$PWD/build-package/sources
[ ! -e "$sources/complete" ] || exit 0

libjpeg="libjpeg-turbo=1:2.1.5-2"
libpng="libpng1.6=1.6.39-2+deb12u5"
# Node's source contains Chromium's zlib, which compresses faster than Debian's.
zlib="nodejs=20.19.2+dfsg-1+deb13u3"
zlib_path=node-v20.19.2/deps/v8/third_party/zlib

rm -rf "$sources"
mkdir -p "$sources"
cd "$sources"
fetch() {
  sh "$OLDPWD/scripts/package/apt.sh" source --download-only "$@" && return
  echo "ostler: the mirror has no source package $1; set a version that it has in scripts/package/sources.sh" >&2
  exit 1
}
fetch "$libjpeg"
fetch "$libpng"
# Debian's patches do not change zlib, so the tarball is enough.
fetch "$zlib" --tar-only

# --no-check: apt has verified the files already.
dpkg-source --no-check -x libjpeg-turbo_*.dsc libjpeg-turbo >/dev/null
dpkg-source --no-check -x libpng1.6_*.dsc libpng >/dev/null
mkdir zlib
tar -xf nodejs_*.orig.tar.xz -C zlib --strip-components=5 "$zlib_path"
touch complete
