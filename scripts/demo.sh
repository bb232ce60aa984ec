#!/bin/sh
# Builds the addon and shows what it does: demo.sh [--here [--type]]
set -eu
cd "$(dirname "$0")/.."

sh scripts/build.sh release ostler
case " $* " in
  *' --here '*) exec node examples/demo/main.js "$@" ;;
esac
exec sh scripts/x11-only.sh node examples/demo/main.js "$@"
