#!/bin/sh
# Builds both native modules for the package, as prebuilds/linux-TARGET/{ostler,session}.node:
# modules.sh x64|arm64
set -eu
cd "$(dirname "$0")/../.."
. scripts/package/target.sh
directory=$work/linux-$1/modules

mkdir -p "$directory"
clang --target=$processor-linux-gnu --sysroot="$sysroot" -O2 -fPIC -fvisibility=hidden -c scripts/package/demangle.c \
  -o "$directory/demangle.o"
cmake -S . -B "$directory" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/scripts/package/toolchain.cmake" \
  -DCMAKE_SYSTEM_PROCESSOR=$processor -DCMAKE_SYSROOT="$sysroot" -DCMAKE_BUILD_TYPE=Release \
  "-DCMAKE_CXX_FLAGS_RELEASE=-Os -DNDEBUG" -DOSTLER_TESTS=OFF "-DCMAKE_CXX_STANDARD_LIBRARIES=$directory/demangle.o" >"$directory.log"
ninja -C "$directory" --quiet ostler session
mkdir -p "prebuilds/linux-$1"
cp "$directory/ostler.node" "$directory/session.node" "prebuilds/linux-$1/"
