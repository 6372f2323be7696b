// What a rendered mix tells beside its samples.
#pragma once

#include "host/engine/render.h"
#include "mediafile/meta/meta_document.h"

namespace host {

/// The markers of the recordings where they lie in the mix, and as broadcasters have it the time of the first
/// frame, what was measured, and how the file was made. Recordings that cannot be read have none.
tarn::MetaDocument RenderMetadata(const Session& session, const std::filesystem::path& folder, int64_t start,
                                  const RenderResult& result);

/// Into the finished wave file that the descriptor is open on. Returns why it cannot be; empty when it was.
std::string WriteRenderMetadata(int descriptor, const tarn::MetaDocument& metadata);

}  // namespace host
