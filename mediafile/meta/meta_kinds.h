// The kinds of metadata that a file carries beside its samples, and the chunks that hold them: in RIFF by
// four characters, in Wave64 by a label. [any-thread]
#pragma once

#include "platform/com.h"

#include <span>

/// Kinds as bits of a set.
enum QMFIO_TYPESOFMETADATA : uint32_t {
    QMFIO_META_SUMMARY = 0x1,
    QMFIO_META_WAVE64_ONLY = 0x2,
    QMFIO_META_MARKERS = 0x4,
    QMFIO_META_CART = 0x10,
    QMFIO_META_PLAYLIST = 0x20,
    QMFIO_META_TRIGGERS = 0x40,
    QMFIO_META_DISPLAY = 0x80,
    QMFIO_META_SAMPLER = 0x100,
    QMFIO_META_AIFF_INSTRUMENT = 0x200,
    QMFIO_META_STRETCH = 0x4000,
    QMFIO_META_BEAT_MARKERS = 0x8000,
    QMFIO_META_DETECTED_BEATS = 0x10000,
    QMFIO_META_PICTURE = 0x40000,
    QMFIO_META_CD_TRACKS = 0x100000,
    QMFIO_META_BEAT_MAP = 0x200000,
    QMFIO_META_BEAT_MAP_MARKERS = 0x400000,
    QMFIO_META_CD_INFO = 0x2000000,
};

namespace tarn {

/// A chunk of a kind in a RIFF file; several may hold one kind.
struct MetaChunkRow {
    uint32_t kind;
    uint32_t id;  ///< of the chunk, or of the list's type
    bool isList;
    bool isRepeated;  ///< a file may have several
};
/// A kind's one chunk in a Wave64 file. Its payload is that of the RIFF chunk, a list's with its type; the
/// markers' is that of their RIFF chunks one behind the other.
struct MetaLabelRow {
    uint32_t kind;
    uint32_t id;  ///< of the RIFF chunk that it stands for; 0 where there is none
    GUID label;
};

/// In the order in which they are looked for.
QM_API std::span<const MetaChunkRow> MetaChunkRows();
QM_API std::span<const MetaLabelRow> MetaLabelRows();

/// The label of a RIFF id that has none of its own: the characters before the bytes that such labels share.
QM_API GUID Wave64LabelOf(uint32_t id);
/// The other way; 0 for a label that was not made so.
QM_API uint32_t RiffIdOf(const GUID& label);

}  // namespace tarn
