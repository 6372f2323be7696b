#!/usr/bin/env bash
# Fails on a source that `clang-format -i` would change.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z '*.h' '*.cpp' '*.c' | xargs -0 -P "$(nproc)" -n 40 clang-format --dry-run -Werror
