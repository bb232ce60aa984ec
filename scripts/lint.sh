#!/bin/sh
# Format, clang-tidy, and the TypeScript check of the declarations. The first
# kind of complaint ends it. `lint.sh fix` puts the format right instead.
set -eu
cd "$(dirname "$0")/.."

sh scripts/ready.sh
sources() { find src tests bench -name '*.cpp' -o -name "${1:-*.cpp}" 2>/dev/null | sort; }
if [ "${1:-}" = fix ]; then
  sources '*.h' | xargs clang-format -i
  exit
fi
sources '*.h' | xargs clang-format --dry-run --Werror

cmake --preset release >/dev/null  # clang-tidy reads its compile_commands.json
complaints=$(mktemp)
trap 'rm -f "$complaints"' EXIT
if ! sources | xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet >"$complaints" 2>&1; then
  grep -v 'warnings* generated' "$complaints" >&2
  exit 1
fi

node_modules/.bin/tsc -p tests/types
