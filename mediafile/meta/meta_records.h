// Chunks of numbers in a fixed order, told by tables: sampler, instrument, play list, tempo, audio channels;
// and what AIFF and ID3 have in shapes of their own. Throws std::bad_alloc. [any-thread]
#pragma once

#include "mediafile/meta/meta_values.h"

namespace tarn {

void ListMetaRecord(const MetaBlock& block, std::vector<MetaValue>& out);
/// Why it cannot be set; empty when it was.
std::string SetMetaRecord(MetaDocument& document, const std::string& kind, const std::string& field,
                          const std::string& text);

QM_API std::vector<MediaCue> ReadAiffMarkers(std::span<const uint8_t> payload);
/// Names are cut at 255 bytes, lengths and notes are left out.
QM_API MetaBytes AiffMarkerBytes(std::span<const MediaCue> cues);
void ListAiffComments(const MetaBlock& block, std::vector<MetaValue>& out);
/// Counted from 1; one behind the last is new, with the time that it is. Why it cannot be set; empty when it
/// was.
std::string SetAiffComment(MetaDocument& document, size_t number, const std::string& text);

}  // namespace tarn
