#!/bin/sh
# Format, clang-tidy, and the TypeScript check of the declarations. The first
# kind of complaint ends it. `lint.sh fix` puts the format right instead.
set -eu
cd "$(dirname "$0")/.."

sh scripts/ready.sh
sources=$(find src tests bench -name '*.cpp' -o -name '*.h' 2>/dev/null | sort)
# shellcheck disable=SC2086
if [ "${1:-}" = fix ]; then
  clang-format -i $sources
  exit
else
  clang-format --dry-run --Werror $sources
fi

cmake --preset release >/dev/null
complaints=$(mktemp)
trap 'rm -f "$complaints"' EXIT
trap 'exit 130' INT TERM
if ! sed -n 's/^ *"file": "\(.*\)".*/\1/p' build/compile_commands.json | sort -u |
  xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet >"$complaints" 2>&1; then
  grep -v 'warnings* generated' "$complaints" >&2
  exit 1
fi

node_modules/.bin/tsc -p tests/types
