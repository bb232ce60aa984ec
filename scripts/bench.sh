#!/bin/sh
# Builds the addon and the benchmark, and runs the benchmark: bench.sh [--peers] [--rounds N].
# With --peers it first installs the packages and programs with which the addon is compared,
# in bench/ and with apt.
set -eu
cd "$(dirname "$0")/.."

sh scripts/build.sh release ostler session
sh scripts/build.sh bench bench_picture bench_plain ostler_bench
case " $* " in
  *' --peers '*)
    echo 'ostler: installing the peers in bench/'
    (cd bench && npm install --no-audit --no-fund --no-package-lock </dev/null)
    # npm 11.19 and later run no install scripts, and robotjs has no prebuilt module. The run leaves
    # out a package that still cannot be loaded.
    [ -e bench/node_modules/robotjs/build/Release/robotjs.node ] ||
      (cd bench/node_modules/robotjs && npx --yes node-gyp rebuild >/dev/null 2>&1) || echo 'ostler: robotjs cannot be built here'
    sh scripts/setup.sh xdotool scrot maim
    ;;
esac
export OSTLER_BENCH_PROGRAMS="$PWD/build-bench/bench"
exec sh scripts/x11-only.sh node bench/run.js "$@"
