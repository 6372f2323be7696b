// All that a file carries beside its samples, in one shape for every container: blocks by the ids of RIFF,
// each with its payload as it lies in the file. What belongs to the samples (format, counts, peaks, fillers)
// is none of it. Throws std::bad_alloc. [any-thread]
#pragma once

#include "mediafile/byte_source.h"
#include "mediafile/inspect.h"
#include "mediafile/meta/meta_form.h"
#include "mediafile/repair.h"

#include <optional>
#include <string>
#include <vector>

namespace tarn {

/// A chunk's number of its four characters, and the way back.
uint32_t IdOf(const std::string& text);
std::string IdText(uint32_t id);

struct MetaBlock {
    std::string id;  ///< four characters; "LIST:" and a list's type; a GUID where a Wave64 label is not known
    MetaBytes payload;   ///< of a list without its type; of a RIFX file with its numbers turned
    size_t chunk = NEW;  ///< the file's chunk that it comes from
    bool isChanged = true;

    static constexpr size_t NEW = SIZE_MAX;
};

struct QM_API MetaDocument {
    MediaContainer container = MediaContainer::Unknown;
    std::vector<MetaBlock> blocks;

    /// The first; null for none.
    const MetaBlock* Find(const std::string& id) const;
    MetaBytes PayloadOf(const std::string& id) const;
    /// In the place of the first, or behind the last block; nothing where that is what it has.
    void Set(const std::string& id, MetaBytes payload);
    /// All of them.
    void Remove(const std::string& id);
};

/// A chunk of more bytes is left where it stands and not among the blocks.
inline constexpr uint64_t META_LARGEST_BLOCK = uint64_t{64} << 20;

QM_API MetaDocument ReadMetaDocument(const ByteSource& source, const MediaContents& contents);
QM_API MetaDocument ReadMetaDocument(HQMFILE file);

/// A chunk of the container with its header and pad. Empty where its ids cannot hold the block's.
QM_API MetaBytes MetaChunkBytes(MediaContainer container, const MetaBlock& block);

/// Writes in their order: what is new behind the last chunk, then the form's size, then the old places, which
/// become filler or are written over as a whole, then the cut of a filler at the end. No write touches the
/// samples. A process that dies between two of them leaves a whole file, with a chunk's old content, its new,
/// or both.
struct MetaEditPlan {
    std::vector<MediaEdit> writes;
    std::string refusal;  ///< why nothing is done; empty when all is well

    bool IsRefused() const { return !refusal.empty(); }
};

/// To the blocks that are wanted. Checked: the file that comes of it has just these, the same samples at the
/// same place, and no error in its structure.
QM_API MetaEditPlan PlanMetaEdit(const ByteSource& source, const MediaContents& contents,
                                 const MetaDocument& wanted);

/// A new chunk that does not reach the disk is cut off again. The caller flushes.
QM_API HRESULT ApplyMetaEdit(HQMFILE file, const MetaEditPlan& plan);

}  // namespace tarn
