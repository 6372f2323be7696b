#!/usr/bin/env bash
# build_against.sh BUILD SOURCES [SANITIZERS]
set -euo pipefail
build=$1 sources=$2 sanitize=${3:+-fsanitize=$3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/stage" > "$work/log" || { cat "$work/log"; exit 1; }
# The folder may be moved.
mv "$work/stage" "$work/there"

export PKG_CONFIG_PATH=$(dirname "$(find "$work/there" -name tarn-kernel.pc)")
flags=$(pkg-config --cflags --libs tarn-kernel)
(cd "$work"/there/include/tarn && find . -name '*.h' -printf '#include <%P>\n') > "$work/every_header.h"
c++ -std=c++20 -Wall -Werror $sanitize -I "$work" -o "$work/program" "$sources/program.cpp" $flags
libraries=$(dirname "$PKG_CONFIG_PATH")
told=$(LD_LIBRARY_PATH=$libraries "$work/program" "$work/a.wav")
[ "$told" = "-12.5 dB, a wave: 1" ] || { echo "the program said: $told"; exit 1; }

cmake -S "$sources/project" -B "$work/project" -DCMAKE_PREFIX_PATH="$work/there" -DCMAKE_CXX_FLAGS="$sanitize" > "$work/log" &&
  cmake --build "$work/project" >> "$work/log" || { cat "$work/log"; exit 1; }
told=$("$work/project/others-host")
[ "$told" = $'mixconsole.so\nmixsurface.so' ] || { echo "the host said: $told"; exit 1; }

"$work/there/bin/tarn-media" verify "$work/a.wav"
XDG_CONFIG_HOME=$work "$work/there/bin/mixhost" --headless --seconds 0.1 --screenshot "$work/page.png" --null-device
[ -s "$work/page.png" ] || { echo "no picture of the page"; exit 1; }
