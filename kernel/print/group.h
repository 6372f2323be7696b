// Writing a number's digits in the user's groups and separators.
#pragma once

#include "kernel/formats/inat.h"
#include "kernel/print/text_writer.h"

/// The digits of a whole part, with the thousands separators that belong into it.
void PutGrouped(TextWriter& out, std::u16string_view whole, const tarn::Inat& inat);

/// A number as QmFormatNumber takes it. decimals -1: as many as it has.
void PutNumber(TextWriter& out, std::u16string_view number, bool group, int32_t decimals,
               const tarn::Inat& inat);
