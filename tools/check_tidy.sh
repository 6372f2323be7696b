#!/usr/bin/env bash
# Runs clang-tidy with .clang-tidy's checks: tools/check_tidy.sh [FILE...], over all sources of the product without a name.
# Needs the development build's configuration (cmake --preset dev) and what it makes (cmake --build --preset dev). Takes half
# an hour on two cores, so that it is no part of ./test.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || { mapfile -t all < <(git ls-files '*.cpp' ':!tests' ':!bench' ':!fuzz') && set -- "${all[@]}"; }
printf '%s\0' "$@" |
  xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/dev --quiet --warnings-as-errors='*' 2> >(grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed|^Use -header' >&2)
