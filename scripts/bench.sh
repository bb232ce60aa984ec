#!/bin/sh
# Builds the addon and the benchmark and runs it: bench.sh [--peers] [--rounds N].
# With --peers the packages and programs that it is compared with are installed
# below bench/ and with apt first.
set -eu
cd "$(dirname "$0")/.."

sh scripts/build.sh release ostler
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG" \
  -DOSTLER_BENCH=ON -DOSTLER_TESTS=OFF >/dev/null
echo 'ostler: building in build-bench/'
bash scripts/ninja.sh building -C build-bench bench_picture bench_plain ostler_bench
case " $* " in
  *' --peers '*)
    echo 'ostler: installing the peers below bench/'
    (cd bench && npm install --no-audit --no-fund --no-package-lock </dev/null)
    sh scripts/setup.sh xdotool scrot maim
    ;;
esac
export OSTLER_BENCH_PROGRAMS=$PWD/build-bench/bench
exec sh scripts/x11-only.sh node bench/run.js "$@"
