#!/usr/bin/env bash
# Fails on a name that the kernel library exports and that an embedding program may have itself: all must be C functions
# and records of the library's families, or lie in namespace tarn. tools/check_exports.sh LIBRARY.
set -euo pipefail
foreign=$(nm -DC --defined-only "$1" | cut -d' ' -f3- |
  grep -vE '^(Qm|QM|KS_|(riff|riff64|mriff|iff|aiff)_|CoTaskMem|IsQMLANGSTRINGID$|_qmwaveformat::|operator==\(_qm|((typeinfo|typeinfo name|vtable|void) )?(for )?(tarn|std)::)' || true)
[ -z "$foreign" ] || { printf '%s exports\n%s\n' "$1" "$foreign"; exit 1; }
