#!/usr/bin/env bash
# Runs ninja and shows its progress: ninja.sh WHAT [ARGUMENT OF NINJA...]
# A terminal shows ninja's own status line; a log file gets a line every 10 s.
set -euo pipefail
what=$1
shift
export NINJA_STATUS="ostler: $what, %f of %t done: "

if [ -t 1 ]; then exec ninja "$@"; fi
ninja "$@" 2>&1 | {
  next=10
  while IFS= read -r line; do
    case $line in
      "ostler: $what, "*)
        ((SECONDS >= next)) || continue
        next=$((SECONDS + 10))
        printf '%s\n' "${line%% done: *} done"
        ;;
      'ninja: Entering directory'* | 'ninja: no work to do.') ;;
      *) printf '%s\n' "$line" ;;
    esac
  done
}
