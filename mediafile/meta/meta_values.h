// Metadata as keys and texts, as people and scripts name them: "bext.Description", "info.INAM", "ixml.SCENE",
// "cue.1.label". What has no keys of its own is told of and kept. Texts are UTF-8. Throws std::bad_alloc.
// [any-thread]
#pragma once

#include "mediafile/meta/cue_list.h"
#include "mediafile/meta/meta_document.h"

#include <string>
#include <vector>

namespace tarn {

struct MetaValue {
    std::string key, text;
    bool isSettable = true;
};

/// In the order of the blocks.
QM_API std::vector<MetaValue> ListMetaValues(const MetaDocument& document);
/// An empty text takes a value away. Returns why it cannot be set; empty when it was.
QM_API std::string SetMetaValue(MetaDocument& document, const std::string& key, const std::string& text);
/// The first parts of keys: "bext", "cue" and so on.
QM_API std::vector<std::string> MetaKinds();
/// Takes out the blocks of a kind by its name, or the block of that id.
QM_API void StripMetaKind(MetaDocument& document, const std::string& kind);
QM_API bool IsMetaKind(const std::string& kind, const MetaBlock& block);

/// Every way in which the blocks are not as their publishers tell: "bext: ..." and so on. Positions are
/// checked against the frames.
QM_API std::vector<std::string> MetaDeviations(const MetaDocument& document, uint64_t frames);

/// Text of a file: UTF-8 where it can only be that, else Windows-1252.
QM_API std::string MetaTextFrom(std::span<const uint8_t> bytes);
/// Windows-1252 where that holds the text and reads as nothing else, else UTF-8.
QM_API std::string MetaTextTo(const std::string& text);

/// Of "cue " and "adtl", or of an AIFF file's "MARK".
QM_API std::vector<MediaCue> MetaCues(const MetaDocument& document);
/// As markers of the container, in the place of what it has.
QM_API void SetMetaCues(MetaDocument& document, std::span<const MediaCue> cues);

}  // namespace tarn
