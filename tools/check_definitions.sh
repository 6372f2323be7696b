#!/usr/bin/env bash
# Fails on a function that a header of the kernel library declares as exported and the library does not have:
# tools/check_definitions.sh [LIBRARY], that of the development build without one.
set -euo pipefail
library=$(realpath -e "${1:-$(dirname "$0")/../build/dev/bin/libtarn-kernel.so}")
cd "$(dirname "$0")/.."
known=$(mktemp)
trap 'rm -f "$known"' EXIT
nm -D --defined-only -C "$library" | awk '{ $1 = $2 = ""; sub(/^ +/, ""); gsub(/\[abi:[^]]*\]/, ""); sub(/\(.*/, ""); sub(/.*::/, ""); print }' | sort -u > "$known"
grep -q . "$known"

failed=0
while read -r name header; do
  grep -qxF "$name" "$known" || { echo "$header declares $name, and $library does not have it"; failed=1; }
done < <(find platform kernel audio image mediafile fileio -name '*.h' -not -path '*/ui/*' | sort |
  xargs perl -0777 -ne 's{//[^\n]*|^#[^\n]*}{}gm;
    while (/\bQM_API\b([^;{}=~]*?)(operator==|~?\b\w+)\s*\(/g) { print "$2 $ARGV\n" unless $1 =~ /\(|operator/; }')
exit $failed
