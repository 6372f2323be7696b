#!/usr/bin/env bash
# Fails on a name that the kernel library exports and that an embedding program may have itself: all must be C functions
# and records of the library's families, or lie in namespace tarn. tools/check_exports.sh LIBRARY.
set -euo pipefail
families='Qm|QM|KS_|(riff|riff64|mriff|iff|aiff|bwfriff|bwfriff64|bwfmeta|displist|displist64)_|DibComposite_|DibCopy_|DibInterlace_|VidHelp_|YUV_|ProjectLink|CoTaskMem|IsQMLANGSTRINGID$|_summarylisttag::|CQmLinkProjectInfo::'
foreign=$(nm -DC --defined-only "$1" | cut -d' ' -f3- |
  grep -vE "^($families|tarn::|std::|operator==\(_qm|_qmwaveformat::|((typeinfo|typeinfo name|vtable|void|bool|guard variable) )?(for )?(tarn|std)::)" || true)
[ -z "$foreign" ] || { printf '%s exports\n%s\n' "$1" "$foreign"; exit 1; }
