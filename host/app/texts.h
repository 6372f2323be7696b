// The host's texts by number, in the user's language, and what is formatted by them.
#pragma once

#include "host/app/text_ids.h"
#include "host/contract/host_texts.h"
#include "kernel/print/print_text.h"

#include <QString>

namespace host {

/// [ui-thread]
const char16_t* HostText(HostTextId id);
/// Changes the language; texts are asked for anew then. [ui-thread]
void SetHostLanguage(uint32_t lcid);
/// Bit slot - 1 for each language that the host has texts in.
uint32_t HostLanguages();

/// What things are called where plug-ins list them.
HostTexts TextsForPlugins();

inline QString Text(HostTextId id) { return QString::fromUtf16(HostText(id)); }

/// Values must be what the text's directives read.
template <class... Values>
QString Format(HostTextId id, Values... values) {
    return QString::fromStdU16String(tarn::PrintText(HostText(id), values...));
}

}  // namespace host
