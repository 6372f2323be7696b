#!/usr/bin/env bash
# Runs clang-tidy with .clang-tidy's checks: tools/check_tidy.sh [FILE|FOLDER...], over all sources of the product without a
# name. Fails on what it finds, and ends with how much that is, by check.
# Needs the development build (cmake --preset dev && cmake --build --preset dev) for its commands and the headers that it
# makes. Takes minutes, so that it is no part of ./test.
set -euo pipefail
if [ $# -gt 0 ]; then
  named=$(realpath -e -- "$@") || exit 2
  mapfile -t named <<< "$named"
else
  named=(. ':!tests' ':!bench' ':!fuzz')
fi
cd "$(dirname "$0")/.."
commands=build/dev/compile_commands.json
[ -e $commands ] || { echo "$commands is not there: cmake --preset dev makes it" >&2; exit 2; }
mapfile -t files < <(git ls-files -co --exclude-standard -- "${named[@]}" | grep '\.cpp$' | sort -u)
[ ${#files[@]} -gt 0 ] || { echo "no sources in ${named[*]}" >&2; exit 2; }

# Clang can't read the compiler's precompiled headers and takes the headers themselves, from where no precompiled one lies
# beside them.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp $commands "$work/"
count=0
for header in $(grep -oP '(?<= -include )[^ ]*/cmake_pch\.hxx(?= )' $commands | sort -u); do
  count=$((count + 1))
  cp "$header" "$work/$count.hxx"
  sed -i "s#-include $header #-include $work/$count.hxx #" "$work/compile_commands.json"
done

# Nearly all of the time goes into what sources include, so that a dozen that are compiled alike are read as one unit: a folder
# with their names and how they are compiled.
printf '%s\n' "${files[@]}" | awk -v top="$PWD/" -v work="$work/" '
  FILENAME == "-" { wanted[top $0] = 1; next }
  $1 == "\"directory\":" { directory = $0 }
  $1 == "\"command\":" { command = $0; sub(/ -o .*/, "", command) }
  $1 == "\"file\":" {
    split($0, part, "\"")
    file = part[4]
    if (!(file in wanted)) next
    delete wanted[file]
    if (size[command]++ % 12 == 0) {
      close(unit[command] "/sources")
      system("mkdir " (unit[command] = work "unit" ++units))
      print directory "\n" command > (unit[command] "/command")
      close(unit[command] "/command")
    }
    print file > (unit[command] "/sources")
  }
  END { for (file in wanted) print file ": no target of build/dev compiles it" > "/dev/stderr" }
' - "$work/compile_commands.json"

[ -e "$work/unit1" ] || exit 1

# Where sources have names of their own that are the same, the unit does not compile as each of them does: those that the
# compiler complains of make a unit, and the others.
check() {
  local clashing="$1/a/sources" others="$1/b/sources" half
  sed 's|.*|#include "&"  // NOLINT|' "$1/sources" > "$1/unit.cpp"
  echo "[{ $(cat "$1/command") -c $1/unit.cpp\", \"file\": \"$1/unit.cpp\" }]" > "$1/compile_commands.json"
  clang-tidy -p "$1" --config-file=.clang-tidy --quiet --warnings-as-errors='*' --extra-arg=-Wno-unknown-warning-option \
    --extra-arg=-Wno-return-type-c-linkage "$1/unit.cpp" > "$1/log" 2>&1 && return
  if [ "$(wc -l < "$1/sources")" -eq 1 ] || ! grep -qF '[clang-diagnostic-' "$1/log"; then
    touch "$1/../failed"
    return
  fi
  mkdir "$1/a" "$1/b"
  cp "$1/command" "$1/a/"
  cp "$1/command" "$1/b/"
  grep -F '[clang-diagnostic-' "$1/log" | cut -d: -f1 | sort -u | grep -Fxf "$1/sources" > "$clashing"
  grep -vFxf "$clashing" "$1/sources" > "$others"
  if [ ! -s "$clashing" ] || [ ! -s "$others" ]; then
    half=$(($(wc -l < "$1/sources") / 2))
    head -n "$half" "$1/sources" > "$clashing"
    tail -n "+$((half + 1))" "$1/sources" > "$others"
  fi
  check "$1/a"
  check "$1/b"
  cat "$1/a/log" "$1/b/log" > "$1/log"
}
# What is said is kept until a unit is through, so that those checked at the same time do not mix.
run() {
  check "$1"
  sed -i -E "/^[0-9]+ (warnings?|errors?) (and [0-9]+ errors? )?(generated|treated)/d; s#$PWD/##g" "$1/log"
  echo "$1"
}
export -f check run

count=0
while read -r unit; do
  count=$((count + $(wc -l < "$unit/sources")))
  echo "[$count/${#files[@]}] $(sed -n "s#$PWD/##; 1p" "$unit/sources") to $(sed -n "s#$PWD/##; \$p" "$unit/sources")"
  cat "$unit/log"
done < <(printf '%s\0' "$work"/unit* | xargs -0 -P "$(nproc)" -I{} bash -c 'run {}')

# A find in a header comes with every unit that includes it, and counts once.
finds=$(cat "$work"/unit*/log | grep -E '^[^ ]+:[0-9]+:[0-9]+: error: ' | sort -u || true)
sed -nE 's/.*\[([^],]+)[^]]*\]$/\1/p' <<< "$finds" | sort | uniq -c | sort -rn
echo "$count of ${#files[@]} files, $(grep -c . <<< "$finds" || true) finds"
[ "$count" -eq ${#files[@]} ] && [ -z "$(find "$work" -name failed)" ]
