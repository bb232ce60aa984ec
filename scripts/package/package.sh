#!/bin/sh
# Builds the package for both architectures as dist/ostler-VERSION.tgz, on Debian 12 or later
# (docs/releasing.md). Downloads and intermediate files stay in build-package/; delete that
# directory to start afresh.
set -eu
cd "$(dirname "$0")/../.."

largest=1300000

sh scripts/ready.sh clang lld nasm dpkg-dev
echo 'ostler: unpacking headers and libraries in build-package/'
for target in x64 arm64; do sh scripts/package/sysroot.sh $target; done
sh scripts/package/sources.sh
rm -rf prebuilds
for target in x64 arm64; do
  echo "ostler: building for $target"
  sh scripts/package/codecs.sh $target
  sh scripts/package/modules.sh $target
done
sh scripts/package/licenses.sh x64
mkdir -p dist
rm -f dist/*.tgz
npm pack --pack-destination dist
size=$(cat dist/*.tgz | wc -c)
[ "$size" -le $largest ] || { echo "ostler: the archive has $size bytes, more than $largest" >&2; exit 1; }
