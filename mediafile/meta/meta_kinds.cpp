#include "mediafile/meta/meta_kinds.h"

#include "mediafile/byte_order.h"
#include "mediafile/riff64.h"

namespace tarn {

namespace {

constexpr MetaChunkRow CHUNKS[] = {
    {QMFIO_META_SUMMARY, FourCC("INFO"), true, false},
    {QMFIO_META_MARKERS, FourCC("cue "), false, false},
    {QMFIO_META_MARKERS, FourCC("adtl"), true, false},
    {QMFIO_META_MARKERS, FourCC("qm01"), false, false},
    {QMFIO_META_CART, FourCC("scot"), false, false},
    {QMFIO_META_PLAYLIST, FourCC("plst"), false, false},
    {QMFIO_META_PLAYLIST, FourCC("qm02"), false, false},
    {QMFIO_META_TRIGGERS, FourCC("tlst"), false, false},
    {QMFIO_META_DISPLAY, FourCC("DISP"), false, false},
    {QMFIO_META_SAMPLER, FourCC("smpl"), false, false},
    {QMFIO_META_STRETCH, FourCC("str2"), false, false},
    {QMFIO_META_BEAT_MARKERS, FourCC("bmrk"), false, false},
    {QMFIO_META_DETECTED_BEATS, FourCC("dtbt"), false, false},
    {QMFIO_META_PICTURE, FourCC("pic "), true, false},
    {QMFIO_META_CD_TRACKS, FourCC("qm04"), false, false},
    {QMFIO_META_BEAT_MAP, FourCC("bmpi"), false, false},
    {QMFIO_META_BEAT_MAP_MARKERS, FourCC("bmpm"), false, false},
    {QMFIO_META_CD_INFO, FourCC("CDif"), false, true},
};

constexpr MetaLabelRow KIND_LABELS[] = {
    {QMFIO_META_SUMMARY, FourCC("INFO"), Guid("{925F94BC-525A-11D2-86DC-00C04F8EDB8A}")},
    {QMFIO_META_WAVE64_ONLY, 0, Guid("{C42554A2-0DE9-41F5-BFF2-C32573F905E3}")},
    {QMFIO_META_MARKERS, FourCC("cue "), Guid("{ABF76256-392D-11D2-86C7-00C04F8EDB8A}")},
    {QMFIO_META_CART, FourCC("scot"), Guid("{BD481736-2F2C-40E8-A0AB-3D523EEB226E}")},
    {QMFIO_META_PLAYLIST, FourCC("plst"), Guid("{F686AA44-6773-4AAD-93B5-1007C12A8CDB}")},
    {QMFIO_META_TRIGGERS, FourCC("tlst"), Guid("{BE46E415-5EA4-4264-9283-3B2092D57F66}")},
    {QMFIO_META_DISPLAY, FourCC("DISP"), W64_DISP_ITEM},
    {QMFIO_META_SAMPLER, FourCC("smpl"), Guid("{07A22A98-F29A-4FA4-B7B5-57C9D371DB38}")},
    {QMFIO_META_STRETCH, FourCC("str2"), Guid("{62574347-69A7-473A-A89E-D5B0FA7C9F7E}")},
    {QMFIO_META_BEAT_MARKERS, FourCC("bmrk"), Guid("{B2A0A152-055E-4475-86F1-5D78AF15A056}")},
    {QMFIO_META_DETECTED_BEATS, FourCC("dtbt"), Guid("{3AE34B75-F55E-44EC-A2F0-F4EB3C53AF7D}")},
    {QMFIO_META_PICTURE, FourCC("pic "), Guid("{20636970-ACF2-11D3-8CD1-00C04F8EDB8A}")},
    {QMFIO_META_CD_TRACKS, FourCC("qm04"), Guid("{870914E2-5832-4639-988A-375E778AC44A}")},
    {QMFIO_META_BEAT_MAP, FourCC("bmpi"), Guid("{CC7E18D8-BF95-4D30-BC30-DFB6C28C1D08}")},
    {QMFIO_META_BEAT_MAP_MARKERS, FourCC("bmpm"), Guid("{8A2EBAD0-A180-4C9E-8778-587A7CBD9EF6}")},
    {QMFIO_META_CD_INFO, FourCC("CDif"), Guid("{D392C689-CC06-4CC7-BF1B-0EC5BE62F093}")},
    // Of no kind that is deleted.
    {0, FourCC("qm03"), Guid("{79911392-84E8-34B7-7A89-E86E17362D4B}")},
};

}  // namespace

std::span<const MetaChunkRow> MetaChunkRows() { return CHUNKS; }
std::span<const MetaLabelRow> MetaLabelRows() { return KIND_LABELS; }

GUID Wave64LabelOf(uint32_t id) {
    for (const MetaLabelRow& row : KIND_LABELS)
        if (row.id == id) return row.label;
    GUID label = W64_FMT;
    label.Data1 = id;
    return label;
}

uint32_t RiffIdOf(const GUID& label) {
    for (const MetaLabelRow& row : KIND_LABELS)
        if (row.label == label) return row.id;
    return Wave64LabelOf(label.Data1) == label ? label.Data1 : 0;
}

}  // namespace tarn
