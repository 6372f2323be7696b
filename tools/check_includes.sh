#!/usr/bin/env bash
# Fails on an include that tools/rooms.txt does not allow, and on files that include each other in a circle:
# tools/check_includes.sh [FOLDER]. Tests, benchmarks and fuzz targets may include everything, and nothing includes them.
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"
rooms=tools/rooms.txt
edges=$(mktemp)
trap 'rm -f "$edges"' EXIT

mapfile -t files < <(find . \( -path ./build -o -path ./.git -o -path ./tests -o -path ./bench -o -path ./fuzz \
  -o -path ./shared \) -prune -o -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -printf '%P\n' | sort)
[ ${#files[@]} -gt 0 ] || { echo "no sources in $PWD"; exit 1; }

awk -v edges="$edges" '
  function room_of(path) {
    while (sub("/[^/]*$", "", path)) if (path in line) return path
    return ""
  }
  function fail(text) { print text; failed = 1 }
  FNR == NR {
    if ($0 ~ /^#/ || NF == 0) next
    room = $1
    if (!sub(":$", "", room)) fail(FILENAME ":" FNR ": a line begins with \"ROOM:\"")
    allowed[room, room] = 1
    for (i = 2; i <= NF; i++) {
      if (!($i in line)) fail(FILENAME ":" FNR ": " $i " does not stand above " room)
      for (r in line) if ((($i) SUBSEP r) in allowed) allowed[room, r] = 1
    }
    line[room] = FNR
    next
  }
  /^[ \t]*#[ \t]*include[ \t]+"/ {
    split($0, part, "\"")
    from = room_of(FILENAME)
    to = room_of(part[2])
    if (from == "") fail(FILENAME ": lies in no room of tools/rooms.txt")
    else if (to == "") fail(FILENAME ":" FNR ": \"" part[2] "\" is no path of a room")
    else if (!((from, to) in allowed)) fail(FILENAME ":" FNR ": " from " may not include " to " (" part[2] ")")
    if (FILENAME ~ /\.h$/) print FILENAME, part[2] > edges
  }
  END { exit failed }
' "$rooms" "${files[@]}"

if ! loop=$(tsort "$edges" 2>&1 > /dev/null); then
  echo "files that include each other:" $loop
  exit 1
fi
