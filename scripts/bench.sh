#!/bin/sh
# Builds the benchmarks in build-bench/ and runs them: bench.sh [OPTION OF THEIRS...]
set -eu
cd "$(dirname "$0")/.."

sh scripts/ready.sh
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG" \
  -DOSTLER_BENCH=ON -DOSTLER_TESTS=OFF >/dev/null
echo 'ostler: building in build-bench/'
bash scripts/ninja.sh building -C build-bench ostler_bench
echo 'ostler: measuring; each line appears when its benchmark is done'
echo 'ostler: "Library was built as DEBUG" concerns the Debian package of the benchmark library, which'
echo 'ostler: is built with assertions. The code that is measured is built with -O2 -DNDEBUG.'
exec build-bench/bench/ostler_bench "$@"
