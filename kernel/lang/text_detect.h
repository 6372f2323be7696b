// Guesses at the encoding of texts in old files, which don't say it. [any-thread]
#pragma once

#include "platform/types.h"

extern "C" {

/// Whether the bytes hold characters of more than one byte each, in UTF-8 or an East Asian code page. Few
/// bytes can mislead it. bytes below 0: up to the terminator.
QM_API BOOL QmLang_DetectMultiByteCharacters(const char* text, int32_t bytes);
/// The most likely code page, by its Windows number (65001 for UTF-8); 1252 for plain ASCII, for nothing, and
/// where no guess is good.
QM_API uint32_t QmLang_DetectPossibleCodepage(const char* text, int32_t bytes);

}  // extern "C"
