#!/bin/sh
# Builds zlib, libpng and libjpeg-turbo as static libraries, into the sysroot:
# codecs.sh x64|arm64. Debian's own static libraries are not position-independent.
set -eu
cd "$(dirname "$0")/../.."
. scripts/package/target.sh
[ ! -e "$sysroot/codecs" ] || exit 0
sources=$work/sources

build() {
  library=$1
  shift
  directory=$work/linux-$target/$library
  cmake -S "$sources/$library" -B "$directory" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/scripts/package/toolchain.cmake" \
    -DCMAKE_SYSTEM_PROCESSOR=$processor -DCMAKE_SYSROOT="$sysroot" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR=/usr/lib "$@" >"$directory.log"
  ninja -C "$directory" --quiet
  DESTDIR=$sysroot cmake --install "$directory" >"$directory.log"
}
target=$1
cp scripts/package/zlib.cmake "$sources/zlib/CMakeLists.txt"
build zlib
mkdir -p "$sysroot/usr/lib/pkgconfig"
printf 'Name: zlib\nDescription: zlib\nVersion: 1.2.13\nLibs: -L/usr/lib -lz\n' >"$sysroot/usr/lib/pkgconfig/zlib.pc"
# PNG_HARDWARE_OPTIMIZATIONS only speeds up reading.
build libpng -DPNG_SHARED=OFF -DPNG_EXECUTABLES=OFF -DPNG_TESTS=OFF -DPNG_HARDWARE_OPTIMIZATIONS=OFF
# Its loops over pixels are written in assembler or with intrinsics. At -O3 the code that replaces
# them on older processors takes 80 kB for one function.
build libjpeg-turbo "-DCMAKE_C_FLAGS_RELEASE=-Os -DNDEBUG" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF -DWITH_JPEG8=ON -DREQUIRE_SIMD=ON
# The libraries are static, so whatever links libpng has to link zlib too.
sed -i 's/^Requires.private:/Requires:/' "$sysroot/usr/lib/pkgconfig/libpng.pc"
touch "$sysroot/codecs"
