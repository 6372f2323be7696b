#include "mediafile/media_codes.h"

#include "kernel/lang/kernel_strings.h"

#include <algorithm>
#include <iterator>

using namespace tarn;

namespace {
struct CodeRow {
    HRESULT status;
    const QMLANGSTRINGID& text;
};
const CodeRow CODES[] = {
    {MEDIA_E_UNSUPPORTED_TYPE, KS_Media_UnsupportedType},
    {MEDIA_E_OPEN, KS_Media_Open},
    {MEDIA_E_READ, KS_Media_Read},
    {MEDIA_E_WRITE, KS_Media_Write},
    {MEDIA_E_NOT_FOUND, KS_Media_NotFound},
    {MEDIA_E_UNKNOWN_FORMAT, KS_Media_UnknownFormat},
    {MEDIA_E_UNSUPPORTED_FORMAT, KS_Media_UnsupportedFormat},
    {MEDIA_E_UNSUPPORTED_VERSION, KS_Media_UnsupportedVersion},
    {MEDIA_E_TOO_LARGE, KS_Media_TooLarge},
    {MEDIA_E_NO_ROOM, KS_Media_NoRoom},
    {MEDIA_E_NOT_STARTED, KS_Media_NotStarted},
    {MEDIA_E_NO_PROJECT, KS_Media_NoProject},
    {MEDIA_E_NO_RIFF, KS_Media_NoRiff},
    {MEDIA_E_NO_LIST, KS_Media_NoList},
    {MEDIA_E_EMPTY_CHUNK, KS_Media_EmptyChunk},
    {MEDIA_E_MALFORMED, KS_Media_Malformed},
    {MEDIA_E_NO_TEMPLATE, KS_Media_NoTemplate},
    {MEDIA_E_BAD_TEMPLATE, KS_Media_BadTemplate},
    {E_POINTER, KS_Media_Pointer},
    {E_INVALIDARG, KS_Media_Argument},
    {E_OUTOFMEMORY, KS_Media_Memory},
};
}  // namespace

const char16_t* QmMedia_StatusText(HRESULT status) {
    const auto* row = std::ranges::find(CODES, status, &CodeRow::status);
    return row == std::end(CODES) ? nullptr : KernelText(row->text);
}
