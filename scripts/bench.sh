#!/bin/sh
# Builds the benchmarks in build-bench/ and runs them: bench.sh [OPTION OF THEIRS...]
set -eu
cd "$(dirname "$0")/.."

sh scripts/ready.sh
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG" \
  -DOSTLER_BENCH=ON -DOSTLER_TESTS=OFF >/dev/null
ninja -C build-bench --quiet ostler_bench
exec build-bench/bench/ostler_bench "$@"
