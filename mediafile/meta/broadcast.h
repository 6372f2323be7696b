// What broadcast wave files tell of themselves: "bext" with its fixed fields, and the chunks that are
// rewritten as a whole, "bext" and "iXML". One thread at a time.
#pragma once

#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

#include <span>
#include <string>
#include <vector>

enum BWF_CHUNK_ENUM : uint32_t { BWF_CHUNK_BEXT = 0, BWF_CHUNK_IXML = 1 };

namespace tarn {

/// Texts as in the file, without the zeros behind them.
struct BroadcastInfo {
    static constexpr uint16_t VERSION = 2;  ///< of those with loudness
    static constexpr int16_t NO_LOUDNESS = 0x7FFF;

    std::string description, originator, originatorReference;
    std::string date, time;      ///< "yyyy-mm-dd", "hh:mm:ss"; separators vary
    uint64_t timeReference = 0;  ///< frames since midnight
    uint16_t version = 0;
    uint8_t umid[64] = {};  ///< from version 1 on
    /// From version 2 on, in hundredths of LUFS, LU and dBTP; NO_LOUDNESS for one that is not told.
    int16_t loudnessValue = NO_LOUDNESS, loudnessRange = NO_LOUDNESS, maxTruePeak = NO_LOUDNESS,
            maxMomentary = NO_LOUDNESS, maxShortTerm = NO_LOUDNESS;
    std::string codingHistory;
};

/// A number of the record, of any of its loudness fields by name.
struct BroadcastField {
    const char* name;
    size_t offset, bytes;
    std::string BroadcastInfo::*text;
    int16_t BroadcastInfo::*loudness;
};
/// The texts and the loudness fields, by the order of the record.
QM_API std::span<const BroadcastField> BroadcastFields();

inline constexpr size_t BEXT_FIXED_BYTES = 602;

/// Of a payload, also one that ends early.
QM_API BroadcastInfo ReadBroadcastInfo(std::span<const uint8_t> payload);
/// Texts are cut at their fields' lengths.
QM_API std::vector<uint8_t> BroadcastBytes(const BroadcastInfo& info);

}  // namespace tarn

/// As wide texts, with terminators. The coding history is a block of its own.
struct BWFINFO {
    char16_t description[257], originator[33], originatorReference[33], date[11], time[9];
    uint64_t timeReference;
    uint16_t version;
    uint8_t umid[64];
    int16_t loudness[5];  ///< value, range, highest true peak, momentary, short term
    char16_t* codingHistory;
};

extern "C" {

/// A file without the chunk is MEDIA_E_NOT_FOUND. The coding history is freed with bwfmeta_FreeInfo.
QM_API HRESULT bwfriff_LoadInfo(HQMFILE file, BWFINFO* info);
QM_API HRESULT bwfriff64_LoadInfo(HQMFILE file, BWFINFO* info);
/// Of a payload in memory.
QM_API HRESULT bwfmeta_LoadInfo(const void* payload, uint32_t size, BWFINFO* info);
QM_API void bwfmeta_FreeInfo(BWFINFO* info);
/// The time reference alone, with a read of its 8 bytes.
QM_API HRESULT bwfriff_LoadTimestampInfoQuick(HQMFILE file, uint64_t* timeReference);
QM_API HRESULT bwfriff64_LoadTimestampInfoQuick(HQMFILE file, uint64_t* timeReference);

/// A chunk that is not there is S_OK. `*removed` may be null.
QM_API HRESULT bwfriff_DeleteChunk(uint32_t kind, HQMFILE file, uint32_t* removed);
QM_API HRESULT bwfriff64_DeleteChunk(uint32_t kind, HQMFILE file, uint64_t* removed);
QM_API HRESULT bwfriff_DeleteAllChunks(HQMFILE file);
QM_API HRESULT bwfriff64_DeleteAllChunks(HQMFILE file);

/// Over the chunk where that is as long, with zeros behind; else the old one becomes filler and a new one is
/// written behind the last chunk. `*added`, which may be null, are the bytes that the form has grown by.
/// E_INVALIDARG for a kind of neither.
QM_API HRESULT bwfriff_UpdateStreamChunk(uint32_t kind, HQMFILE file, const void* buffer, uint32_t size,
                                         uint32_t* added);
QM_API HRESULT bwfriff64_UpdateStreamChunk(uint32_t kind, HQMFILE file, const void* buffer, uint32_t size,
                                           uint64_t* added);

}  // extern "C"
