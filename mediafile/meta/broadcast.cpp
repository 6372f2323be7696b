#include "mediafile/meta/broadcast.h"

#include "mediafile/meta/meta_form.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <iterator>

using namespace tarn;

namespace {

constexpr uint32_t BROADCAST_IDS[] = {FourCC("bext"), FourCC("iXML")};
constexpr size_t TIME_AT = 338, VERSION_AT = 346, UMID_AT = 348;

constexpr BroadcastField FIELDS[] = {
    {"Description", 0, 256, &BroadcastInfo::description, nullptr},
    {"Originator", 256, 32, &BroadcastInfo::originator, nullptr},
    {"OriginatorReference", 288, 32, &BroadcastInfo::originatorReference, nullptr},
    {"OriginationDate", 320, 10, &BroadcastInfo::date, nullptr},
    {"OriginationTime", 330, 8, &BroadcastInfo::time, nullptr},
    {"LoudnessValue", 412, 2, nullptr, &BroadcastInfo::loudnessValue},
    {"LoudnessRange", 414, 2, nullptr, &BroadcastInfo::loudnessRange},
    {"MaxTruePeakLevel", 416, 2, nullptr, &BroadcastInfo::maxTruePeak},
    {"MaxMomentaryLoudness", 418, 2, nullptr, &BroadcastInfo::maxMomentary},
    {"MaxShortTermLoudness", 420, 2, nullptr, &BroadcastInfo::maxShortTerm},
};

template <class Number>
Number NumberAt(std::span<const uint8_t> payload, size_t at) {
    return payload.size() >= at + sizeof(Number) ? FromLittleEndian<Number>(&payload[at]) : Number{0};
}

HRESULT Load(HQMFILE file, bool isWave64, BWFINFO* info) {
    return Guarded([&] {
        MetaBytes payload;
        if (const HRESULT hr = MetaForm(file, isWave64).Read(BROADCAST_IDS[BWF_CHUNK_BEXT], false, &payload);
            Failed(hr))
            return hr;
        if (payload.empty()) return *info = {}, MEDIA_E_NOT_FOUND;
        return bwfmeta_LoadInfo(payload.data(), static_cast<uint32_t>(payload.size()), info);
    });
}

HRESULT LoadTime(HQMFILE file, bool isWave64, uint64_t* time) {
    MetaForm form(file, isWave64);
    uint64_t size = 0;
    uint8_t bytes[8];
    if (const HRESULT hr = form.Find(BROADCAST_IDS[BWF_CHUNK_BEXT], false, &size); Failed(hr)) return hr;
    form.Io().SkipBytes(TIME_AT);
    if (size < TIME_AT + sizeof bytes || !FileStream{file}.Read(bytes, sizeof bytes)) return MEDIA_E_READ;
    *time = FromLittleEndian<uint64_t>(bytes);
    return S_OK;
}

HRESULT Delete(uint32_t kind, HQMFILE file, bool isWave64, uint64_t* removed) {
    *removed = 0;
    if (kind >= std::size(BROADCAST_IDS)) return E_INVALIDARG;
    MetaForm form(file, isWave64);
    uint64_t size = 0;
    const HRESULT found = form.Find(BROADCAST_IDS[kind], false, &size);
    if (found == MEDIA_E_NOT_FOUND) return S_OK;
    return Failed(found) ? found : form.Io().DeleteFound(size, form.Grammar().header, removed);
}

HRESULT DeleteAll(HQMFILE file, bool isWave64) {
    uint64_t removed = 0;
    for (const uint32_t kind : {BWF_CHUNK_BEXT, BWF_CHUNK_IXML})
        if (const HRESULT hr = Delete(kind, file, isWave64, &removed); Failed(hr)) return hr;
    return S_OK;
}

HRESULT Update(uint32_t kind, HQMFILE file, bool isWave64, const void* buffer, uint32_t size,
               uint64_t* added) {
    *added = 0;
    if (kind >= std::size(BROADCAST_IDS)) return E_INVALIDARG;
    MetaForm form(file, isWave64);
    const FileStream s{file};
    uint64_t old = 0;
    const HRESULT found = form.Find(BROADCAST_IDS[kind], false, &old);
    if (Failed(found) && found != MEDIA_E_NOT_FOUND) return found;
    MetaBytes payload(static_cast<const uint8_t*>(buffer), static_cast<const uint8_t*>(buffer) + size);
    if (Succeeded(found) && old >= size) {
        if (s.Size() - s.Tell() < static_cast<int64_t>(old)) return MEDIA_E_READ;
        payload.resize(old);
        return form.Io().WriteBytes(payload.data(), payload.size()) ? S_OK : MEDIA_E_WRITE;
    }
    if (Succeeded(found)) {
        const ChunkGrammar& g = form.Grammar();
        if (!s.Seek(s.Tell() - g.header) || !s.Write(g.filler, g.sizeAt)) return MEDIA_E_WRITE;
    }
    uint64_t before = 0, after = 0;
    payload.resize(size + (size & 1));
    const bool isTold = form.Io().StoredFormSize(&before);
    const HRESULT hr = form.Append(BROADCAST_IDS[kind], false, payload);
    if (isTold && Succeeded(hr) && form.Io().StoredFormSize(&after)) *added = after - before;
    return hr;
}

}  // namespace

namespace tarn {

std::span<const BroadcastField> BroadcastFields() { return FIELDS; }

BroadcastInfo ReadBroadcastInfo(std::span<const uint8_t> payload) {
    BroadcastInfo info;
    info.timeReference = NumberAt<uint64_t>(payload, TIME_AT);
    info.version = NumberAt<uint16_t>(payload, VERSION_AT);
    if (info.version >= 1 && payload.size() >= UMID_AT + sizeof info.umid)
        std::ranges::copy(payload.subspan(UMID_AT, sizeof info.umid), info.umid);
    for (const BroadcastField& field : FIELDS) {
        const std::span<const uint8_t> there = payload.subspan(std::min(field.offset, payload.size()));
        if (field.text)
            info.*field.text = AnsiUpToZero(there.first(std::min(field.bytes, there.size())));
        else if (info.version >= 2 && there.size() >= field.bytes)
            info.*field.loudness = static_cast<int16_t>(FromLittleEndian<uint16_t>(there.data()));
    }
    if (payload.size() > BEXT_FIXED_BYTES)
        info.codingHistory = AnsiUpToZero(payload.subspan(BEXT_FIXED_BYTES));
    return info;
}

std::vector<uint8_t> BroadcastBytes(const BroadcastInfo& info) {
    MetaBytes bytes(BEXT_FIXED_BYTES);
    for (const BroadcastField& field : FIELDS) {
        if (field.text)
            std::copy_n((info.*field.text).begin(), std::min((info.*field.text).size(), field.bytes),
                        &bytes[field.offset]);
        else if (info.version >= 2)
            ToLittleEndian(&bytes[field.offset], static_cast<uint16_t>(info.*field.loudness));
    }
    ToLittleEndian(&bytes[TIME_AT], info.timeReference);
    ToLittleEndian(&bytes[VERSION_AT], info.version);
    if (info.version >= 1) std::ranges::copy(info.umid, &bytes[UMID_AT]);
    bytes.insert(bytes.end(), info.codingHistory.begin(), info.codingHistory.end());
    return bytes;
}

}  // namespace tarn

extern "C" {

HRESULT bwfriff_LoadInfo(HQMFILE file, BWFINFO* info) { return Load(file, false, info); }
HRESULT bwfriff64_LoadInfo(HQMFILE file, BWFINFO* info) { return Load(file, true, info); }

HRESULT bwfmeta_LoadInfo(const void* payload, uint32_t size, BWFINFO* info) {
    *info = {};
    return Guarded([&] {
        const BroadcastInfo read = ReadBroadcastInfo({static_cast<const uint8_t*>(payload), size});
        const auto copy = [](auto& out, const std::string& text) {
            CopyText(out, std::size(out), Utf16FromWindows1252(text).c_str());
        };
        copy(info->description, read.description);
        copy(info->originator, read.originator);
        copy(info->originatorReference, read.originatorReference);
        copy(info->date, read.date);
        copy(info->time, read.time);
        info->timeReference = read.timeReference;
        info->version = read.version;
        std::ranges::copy(read.umid, info->umid);
        int16_t* loudness = info->loudness;
        for (const BroadcastField& field : FIELDS)
            if (field.loudness) *loudness++ = read.*field.loudness;
        const std::u16string history = Utf16FromWindows1252(read.codingHistory);
        const size_t bytes = (history.size() + 1) * sizeof(char16_t);
        info->codingHistory = static_cast<char16_t*>(MemAlloc(bytes));
        if (!info->codingHistory) return E_OUTOFMEMORY;
        std::memcpy(info->codingHistory, history.c_str(), bytes);
        return S_OK;
    });
}
void bwfmeta_FreeInfo(BWFINFO* info) { MemFree(std::exchange(info->codingHistory, nullptr)); }

HRESULT bwfriff_LoadTimestampInfoQuick(HQMFILE file, uint64_t* timeReference) {
    return LoadTime(file, false, timeReference);
}
HRESULT bwfriff64_LoadTimestampInfoQuick(HQMFILE file, uint64_t* timeReference) {
    return LoadTime(file, true, timeReference);
}

HRESULT bwfriff_DeleteChunk(uint32_t kind, HQMFILE file, uint32_t* removed) {
    uint64_t amount = 0;
    const HRESULT hr = Delete(kind, file, false, &amount);
    if (removed) *removed = static_cast<uint32_t>(std::min<uint64_t>(amount, UINT32_MAX));
    return hr;
}
HRESULT bwfriff64_DeleteChunk(uint32_t kind, HQMFILE file, uint64_t* removed) {
    uint64_t amount = 0;
    const HRESULT hr = Delete(kind, file, true, &amount);
    if (removed) *removed = amount;
    return hr;
}
HRESULT bwfriff_DeleteAllChunks(HQMFILE file) { return DeleteAll(file, false); }
HRESULT bwfriff64_DeleteAllChunks(HQMFILE file) { return DeleteAll(file, true); }

HRESULT bwfriff_UpdateStreamChunk(uint32_t kind, HQMFILE file, const void* buffer, uint32_t size,
                                  uint32_t* added) {
    return Guarded([&] {
        uint64_t amount = 0;
        const HRESULT hr = Update(kind, file, false, buffer, size, &amount);
        if (added) *added = static_cast<uint32_t>(amount);
        return hr;
    });
}
HRESULT bwfriff64_UpdateStreamChunk(uint32_t kind, HQMFILE file, const void* buffer, uint32_t size,
                                    uint64_t* added) {
    return Guarded([&] {
        uint64_t amount = 0;
        const HRESULT hr = Update(kind, file, true, buffer, size, &amount);
        if (added) *added = amount;
        return hr;
    });
}

}  // extern "C"
