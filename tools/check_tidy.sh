#!/usr/bin/env bash
# Runs clang-tidy with .clang-tidy's checks: tools/check_tidy.sh [FILE...], over all sources of the product without a name.
# Needs the development build (cmake --preset dev && cmake --build --preset dev) for its commands and the headers that it
# makes. Takes half an hour on two cores, so that it is no part of ./test.
set -euo pipefail
cd "$(dirname "$0")/.."
# Clang can't read the compiler's precompiled headers and takes the headers themselves, from where no precompiled one lies
# beside them.
commands=$(mktemp -d)
trap 'rm -rf "$commands"' EXIT
cp build/dev/compile_commands.json "$commands/"
count=0
for header in $(grep -oE '[^ ]*/cmake_pch\.hxx' "$commands/compile_commands.json" | sort -u); do
  count=$((count + 1))
  cp "$header" "$commands/$count.hxx"
  sed -i "s#$header#$commands/$count.hxx#" "$commands/compile_commands.json"
done
[ $# -gt 0 ] || { mapfile -t all < <(git ls-files '*.cpp' ':!tests' ':!bench' ':!fuzz') && set -- "${all[@]}"; }
printf '%s\0' "$@" | xargs -0 -n 1 -P "$(nproc)" clang-tidy -p "$commands" --quiet --warnings-as-errors='*' \
  --extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-return-type-c-linkage 2> >(grep -vE '^[0-9]+ warnings? ' >&2)
