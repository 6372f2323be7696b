// Tags of ID3v2 as chunks of wave and AIFF files have them: frames of texts, and others that stay as they
// are. Throws std::bad_alloc. [any-thread]
#pragma once

#include "mediafile/meta/meta_values.h"

namespace tarn {

/// "id3.TIT2" and its like; of several frames of an id the second is "id3.COMM.2".
void ListId3Frames(const MetaBlock& block, std::vector<MetaValue>& out);
/// A text frame or the comment, of that id. Why it cannot be set; empty when it was. All other frames stay
/// byte for byte.
std::string SetId3Frame(MetaDocument& document, const std::string& name, const std::string& text);

}  // namespace tarn
