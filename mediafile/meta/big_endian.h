// Chunks of a big-endian file (RIFX), whose numbers lie the other way round. [any-thread]
#pragma once

#include "mediafile/meta/meta_form.h"

namespace tarn {

/// The payload with its numbers little-endian, as all others have it; of a list, without its type, and items
/// likewise. A chunk that is not known, or ends early, stays as far as it is not.
MetaBytes TurnBigEndian(uint32_t id, MetaBytes payload);
/// Whether all numbers are known of a block of that id; lists are.
bool IsBigEndianKnown(const std::string& id);

}  // namespace tarn
