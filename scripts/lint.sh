#!/bin/sh
# Checks the shell scripts (shellcheck), the JavaScript (biome), the declarations (TypeScript),
# and of the C++ the includes, the format (clang-format) and the code (clang-tidy). Stops at the
# first check that fails. `lint.sh fix` formats the C++ instead.
set -eu
cd "$(dirname "$0")/.."

sh scripts/ready.sh
sources=$(find src tests bench -name node_modules -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | sort)
# shellcheck disable=SC2086
if [ "${1:-}" = fix ]; then
  clang-format -i $sources
  exit
fi

echo 'ostler: checking the shell scripts with shellcheck'
find scripts tests examples -name '*.sh' -exec shellcheck .ci/run {} +

echo 'ostler: checking the JavaScript with biome'
node_modules/.bin/biome lint --error-on-warnings

echo 'ostler: checking the declarations with TypeScript'
node_modules/.bin/tsc -p tests/types

echo 'ostler: checking the includes'
sh scripts/check_includes.sh

echo 'ostler: checking the format with clang-format'
# shellcheck disable=SC2086
if ! clang-format --dry-run --Werror $sources; then
  echo "ostler: version 14 decides the format; this is $(clang-format --version)." >&2
  echo 'ostler: run `sh scripts/lint.sh fix`. If two versions disagree, write the line so that neither changes it.' >&2
  exit 1
fi

echo 'ostler: checking the code with clang-tidy, which takes some minutes'
cmake --preset release >/dev/null
cmake --preset bench >/dev/null
# ninja runs the checks in parallel and shows how many are done.
# render_node.cpp needs headers of the KDE desktop that test_desktop.sh builds.
{
  echo 'rule tidy'
  echo '  command = clang-tidy -p $build --quiet $in >$out 2>&1 || { grep -v "warnings* generated" $out; exit 1; }'
  for source in $(find src tests bench -name node_modules -prune -o -name '*.cpp' ! -name render_node.cpp -print | sort); do
    echo "build tidy/$source: tidy ../$source"
    case $source in bench/*) echo '  build = ../build-bench' ;; *) echo '  build = .' ;; esac
  done
} >build/lint.ninja
rm -rf build/tidy
bash scripts/ninja.sh 'clang-tidy' -C build -f lint.ninja -k 0

echo 'ostler: lint found nothing'
