// Metadata between its shape in this library and the chunks in which it passes to and from plug-ins. Throws
// std::bad_alloc. [any-thread]
#pragma once

#include "fileio/plugin.h"
#include "mediafile/meta/meta_document.h"

namespace tarn {

/// Of a document of a wave, with one reference; null where it is empty.
QM_API IQmReadMeta* MakeMeta(const MetaDocument& document);
/// The document of a wave with what the stream has. What is no chunk ends it.
QM_API MetaDocument ReadMeta(IQmReadMeta& meta);

}  // namespace tarn
