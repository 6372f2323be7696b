#!/usr/bin/env bash
# install_packages.sh GROUP...: installs what those groups of packages.txt list and the machine lacks; does nothing, and
# needs no network, when all is there.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
mapfile -t wanted < <(awk -v groups=" $* " '/^#/ { next }
  /^\[/ { asked = index(groups, " " substr($1, 2, length($1) - 2) " "); next }
  NF && asked { print $1 }' "$top/packages.txt")
[ ${#wanted[@]} -gt 0 ] || { echo "install_packages.sh: no such group: $*" >&2; exit 1; }
missing=()
is_there() { [ "$(dpkg-query -W -f='${db:Status-Abbrev}' "$1" 2>/dev/null)" = "ii " ]; }
for choice in "${wanted[@]}"; do
  # Of alternatives, a|b|c, any will do, and the first is installed.
  IFS='|' read -ra packages <<< "$choice"
  for package in "${packages[@]}"; do is_there "$package" && continue 2; done
  missing+=("${packages[0]}")
done
[ ${#missing[@]} -gt 0 ] || exit 0
echo "installing: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then as_root=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -q
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
