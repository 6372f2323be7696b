#include "mediafile/meta/cue_list.h"

#include "mediafile/meta/meta_form.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <map>

using namespace tarn;

namespace {

constexpr uint32_t CUE = FourCC("cue "), ADTL = FourCC("adtl"), LABL = FourCC("labl"), NOTE = FourCC("note"),
                   LTXT = FourCC("ltxt"), RGN = FourCC("rgn ");
constexpr size_t LTXT_BYTES = 20;

using Span = std::span<const uint8_t>;

/// What is told of each cue; of several the first.
struct Labels {
    std::map<uint32_t, Span> label, note, region;

    explicit Labels(Span adtl) {
        bool isRegionsEnd = false;
        ForEachChunk(adtl, [&](uint32_t id, Span payload) {
            if (id == LTXT && payload.size() < LTXT_BYTES) isRegionsEnd = true;
            if (payload.size() < 4) return;
            const auto cue = FromLittleEndian<uint32_t>(payload.data());
            if (id == LABL) label.emplace(cue, payload.subspan(4));
            if (id == NOTE) note.emplace(cue, payload.subspan(4));
            if (id == LTXT && !isRegionsEnd) region.emplace(cue, payload.subspan(4));
        });
    }
};

std::u16string CueText(const std::map<uint32_t, Span>& texts, uint32_t cue) {
    const auto found = texts.find(cue);
    return found == texts.end() ? std::u16string() : Utf16FromWindows1252(AnsiUpToZero(found->second));
}

void PutCueText(MetaWriter& out, uint32_t kind, uint32_t cue, const std::u16string& text) {
    if (text.empty()) return;
    MetaWriter payload;
    payload.Put(cue).Text(Windows1252FromUtf16(text) + '\0');
    out.Chunk(kind, payload.Bytes());
}

/// A block of the list with a text behind the record.
template <class Record>
HRESULT AppendRecord(HQMLIST list, const Record& head, const std::u16string& text) {
    void* block = nullptr;
    const size_t bytes = sizeof head + text.size() * sizeof(char16_t);
    if (const HRESULT hr = QmList_AllocItem(list, bytes, &block); Failed(hr)) return hr;
    auto* record = static_cast<Record*>(block);
    *record = head;
    std::memcpy(record->text, text.c_str(), text.size() * sizeof(char16_t));
    return QmList_InsertList(list, list->count, nullptr, -1);
}

HRESULT ReadChunks(HQMFILE file, bool isWave64, MetaBytes* cues, MetaBytes* labels) {
    MetaForm form(file, isWave64);
    const HRESULT hr = form.Read(CUE, false, cues);
    if (Failed(hr) || cues->empty()) return hr;
    if (!isWave64) return form.Read(ADTL, true, labels);
    const MetaBytes both = *cues;
    ForEachChunk(both, [&](uint32_t id, Span payload) {
        if (id == CUE) cues->assign(payload.begin(), payload.end());
        if (id == FourCC("LIST") && payload.size() >= 4 && FromLittleEndian<uint32_t>(payload.data()) == ADTL)
            labels->assign(payload.begin() + 4, payload.end());
    });
    return S_OK;
}

HRESULT Fill(HQMFILE file, bool isWave64, uint32_t rate, HQMLIST markers, HQMLIST regions) {
    MetaBytes cueBytes, labelBytes, own;
    std::vector<MediaCue> cues;
    // The kernel's own chunk is looked at first: one that is cut fails also where no list is asked for.
    HRESULT hr = isWave64 ? S_OK : MetaForm(file, isWave64).Read(FourCC("qm01"), false, &own);
    if (hr == MEDIA_E_NO_RIFF && !markers && !regions) hr = S_OK;
    if (Failed(hr) || (!markers && !regions)) return hr;
    hr = ReadChunks(file, isWave64, &cueBytes, &labelBytes);
    if (Succeeded(hr)) hr = ReadMediaCues(cueBytes, labelBytes, QM_MOST_LABEL, &cues);
    for (const MediaCue& cue : cues) {
        if (Failed(hr)) break;
        const int64_t at = QmFMMeta_TimeFromSamples(cue.position, rate);
        const uint64_t end = uint64_t{cue.position} + cue.length.value_or(0);
        if (markers)
            hr = AppendRecord(markers, QMMARKER{at, QmFMMeta_TimeFromSamples(end, rate) - at, {}}, cue.label);
        if (Succeeded(hr) && regions)
            hr = AppendRecord(
                regions,
                QMCUE{QM_CUE_LABEL, cue.id, cue.position, cue.length ? int64_t{*cue.length} : -1, {}},
                cue.label);
    }
    return hr;
}

}  // namespace

int64_t QmFMMeta_TimeFromSamples(uint64_t samples, uint32_t rate) {
    return rate ? static_cast<int64_t>(static_cast<double>(samples) / rate * 1e7 + 0.5) : 0;
}

namespace tarn {

HRESULT ReadMediaCues(Span cues, Span adtl, size_t mostLabel, std::vector<MediaCue>* out) {
    out->clear();
    if (cues.size() < 4) return S_OK;
    const Labels labels(adtl);
    size_t count = FromLittleEndian<uint32_t>(cues.data());
    cues = cues.subspan(4);
    for (; count > 0 && cues.size() >= CUE_BYTES; count--, cues = cues.subspan(CUE_BYTES)) {
        MediaCue cue;
        cue.id = FromLittleEndian<uint32_t>(cues.data());
        // The offset of the sample; the position before it counts with a play list only.
        cue.position = FromLittleEndian<uint32_t>(cues.data() + 20);
        const auto label = labels.label.find(cue.id);
        if (label != labels.label.end() && AnsiUpToZero(label->second).size() > mostLabel)
            return MEDIA_E_MALFORMED;
        cue.label = CueText(labels.label, cue.id);
        cue.note = CueText(labels.note, cue.id);
        if (const auto region = labels.region.find(cue.id); region != labels.region.end()) {
            cue.length = FromLittleEndian<uint32_t>(region->second.data());
            cue.purpose = FromLittleEndian<uint32_t>(region->second.data() + 4);
        }
        out->push_back(std::move(cue));
    }
    return S_OK;
}

std::vector<uint8_t> MediaCueBytes(std::span<const MediaCue> cues) {
    MetaWriter out;
    out.Put(static_cast<uint32_t>(cues.size()));
    for (const MediaCue& cue : cues) {
        out.Put(cue.id).Put(cue.position).Put(FourCC("data"));
        out.Put(uint32_t{0}).Put(uint32_t{0}).Put(cue.position);
    }
    return out.Bytes();
}

std::vector<uint8_t> MediaLabelBytes(std::span<const MediaCue> cues) {
    MetaWriter out;
    for (const MediaCue& cue : cues) {
        PutCueText(out, LABL, cue.id, cue.label);
        PutCueText(out, NOTE, cue.id, cue.note);
        if (!cue.length) continue;
        MetaWriter region;
        region.Put(cue.id).Put(*cue.length).Put(cue.purpose ? cue.purpose : RGN).Put(uint64_t{0});
        out.Chunk(LTXT, region.Bytes());
    }
    return out.Bytes();
}

}  // namespace tarn

extern "C" {

HRESULT QmFMMeta_fillCuesFromFileEx(HQMFILE file, uint32_t rate, HQMLIST markers, HQMLIST regions) {
    return Guarded([&] { return Fill(file, false, rate, markers, regions); });
}
HRESULT QmFMMeta64_fillCuesFromFileEx(HQMFILE file, uint32_t rate, HQMLIST markers, HQMLIST regions) {
    return Guarded([&] { return Fill(file, true, rate, markers, regions); });
}

}  // extern "C"
