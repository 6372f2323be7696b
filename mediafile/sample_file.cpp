#include "mediafile/sample_file.h"

#include "mediafile/aiff.h"
#include "mediafile/aiff_comm.h"
#include "mediafile/byte_order.h"
#include "mediafile/long_sizes.h"
#include "mediafile/riff64.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

constexpr uint32_t AIFC_VERSION = 0xA2805140;  // of May 23, 1990, the only one

HRESULT First(std::initializer_list<HRESULT> results) {
    for (const HRESULT hr : results)
        if (Failed(hr)) return hr;
    return S_OK;
}

}  // namespace

QMSAMPLETYPE StoredType(MediaContainer container, QMSAMPLETYPE type) {
    if (IsAiff(container)) {
        const bool isLittle = container == MediaContainer::Aifc;
        switch (type) {
        case QMSAMPLE_PCM8:
        case QMSAMPLE_SIGNED8: return QMSAMPLE_SIGNED8;
        case QMSAMPLE_PCM16:
        case QMSAMPLE_BE16: return isLittle ? QMSAMPLE_PCM16 : QMSAMPLE_BE16;
        case QMSAMPLE_PCM24:
        case QMSAMPLE_PCM24IN32:
        case QMSAMPLE_BE24: return isLittle ? QMSAMPLE_PCM24 : QMSAMPLE_BE24;
        case QMSAMPLE_PCM32:
        case QMSAMPLE_BE32: return isLittle ? QMSAMPLE_PCM32 : QMSAMPLE_BE32;
        default: return QMSAMPLE_UNKNOWN;
        }
    }
    switch (type) {
    case QMSAMPLE_SIGNED8: return QMSAMPLE_PCM8;
    case QMSAMPLE_BE16: return QMSAMPLE_PCM16;
    case QMSAMPLE_PCM24IN32:
    case QMSAMPLE_BE24: return QMSAMPLE_PCM24;
    case QMSAMPLE_BE32: return QMSAMPLE_PCM32;
    default: return type;
    }
}

uint64_t LargestData(MediaContainer container) {
    constexpr uint64_t HEADERS = 128;
    return container == MediaContainer::Wave64 || IsLongWave(container) ? uint64_t{INT64_MAX} / 2
                                                                        : RIFF_LARGEST - HEADERS;
}

HRESULT SampleFile::Begin() { return IsAiff(m_container) ? BeginAiff() : BeginWave(); }

HRESULT SampleFile::BeginWave() {
    WAVEFORMATEXTENSIBLE wfx;
    // Of Wave64 with the extensible record some readers take floats for integers.
    const bool isPlain = m_container == MediaContainer::Wave64 && !m_format.HasOwnMask();
    m_format.ToWfx(&wfx.Format, sizeof wfx,
                   isPlain ? QMWAVEFORMAT_COPY_PLAIN : QMWAVEFORMAT_COPY_MULTICHANNEL);
    const bool isPcm = wfx.Format.wFormatTag == WAVE_TAG_PCM;
    const auto formatBytes = static_cast<uint32_t>(isPcm ? 16 : sizeof wfx.Format + wfx.Format.cbSize);
    if (m_container == MediaContainer::Wave64) {
        const HRESULT hr = First({riff64_WriteFileID(m_file, &W64_WAVE, 16),
                                  riff64_WriteChunk(m_file, &W64_FMT, &wfx, formatBytes, nullptr)});
        m_dataHeader = static_cast<uint64_t>(QmFile_Tell(m_file));
        return First({hr, riff64_WriteChunkHeader(m_file, &W64_DATA, 0)});
    }
    const uint32_t noFrames = 0;
    constexpr uint8_t ROOM[LongSizes::BYTES] = {};
    HRESULT hr = riff_WriteFileID(m_file, FourCC("WAVE"), 4);
    if (IsLongWave(m_container) || m_growth.mayBecomeLong) {
        m_longSizes = RIFF_DATA_START;
        hr = First({hr, riff_WriteChunk(m_file, FourCC("JUNK"), ROOM, sizeof ROOM, nullptr)});
    }
    hr = First({hr, riff_WriteChunk(m_file, FourCC("fmt "), &wfx, formatBytes, nullptr)});
    if (!isPcm) {  // all but plain PCM tell their length in frames, too
        m_factOffset = static_cast<uint64_t>(QmFile_Tell(m_file)) + RIFF_CHUNK_HEADER;
        hr = First({hr, riff_WriteChunk(m_file, FourCC("fact"), &noFrames, sizeof noFrames, nullptr)});
    }
    m_dataHeader = static_cast<uint64_t>(QmFile_Tell(m_file));
    return First({hr, riff_WriteChunkHeader(m_file, FourCC("data"), 0)});
}

HRESULT SampleFile::BeginAiff() {
    const bool isAifc = m_container == MediaContainer::Aifc;
    AiffComm comm{m_format.channels, 0, static_cast<uint16_t>(m_format.BitsPerSample()), 0, {}};
    aiff_CreateRate(m_format.sampleRate, &comm.exponent, comm.mantissa);
    // The compression and its name, a counted text; 8 bits have no byte order.
    uint8_t bytes[24] = {};
    WriteComm(bytes, comm);
    std::copy_n(m_format.sampleType == QMSAMPLE_SIGNED8 ? "NONE" : "sowt", 4, bytes + AIFF_COMM_BYTES);
    const uint32_t commBytes = isAifc ? 24 : AIFF_COMM_BYTES;
    HRESULT hr = iff_WriteFileID(m_file, isAifc ? BigFourCC("AIFC") : BigFourCC("AIFF"), 4);
    if (isAifc) {
        const IFFCHUNKHEADER version = {BigFourCC("FVER"), 4};
        hr = First({hr, iff_WriteChunk(m_file, &version), iff_WriteDWORD(m_file, AIFC_VERSION)});
    }
    const IFFCHUNKHEADER header = {BigFourCC("COMM"), commBytes}, samples = {BigFourCC("SSND"), 8};
    hr = First({hr, iff_WriteChunk(m_file, &header)});
    m_commOffset = static_cast<uint64_t>(QmFile_Tell(m_file));
    if (Failed(hr) || !QmFile_Write(m_file, bytes, commBytes, nullptr)) return MEDIA_E_WRITE;
    m_dataHeader = static_cast<uint64_t>(QmFile_Tell(m_file));
    return First({iff_WriteChunk(m_file, &samples), iff_WriteDWORD(m_file, 0), iff_WriteDWORD(m_file, 0)});
}

HRESULT SampleFile::Write(const void* samples, uint32_t bytes) {
    if (m_longSizes == 0 && m_bytes + bytes > LargestData(m_container)) return MEDIA_E_TOO_LARGE;
    if (!QmFile_Write(m_file, samples, bytes, nullptr)) return MEDIA_E_WRITE;
    m_bytes += bytes;
    return S_OK;
}

HRESULT SampleFile::End() {
    const auto at = [&](uint64_t offset) {
        QmFile_Seek(m_file, static_cast<int64_t>(offset), FILE_FROM_START);
    };
    const uint32_t multiple = m_container == MediaContainer::Wave64 ? 8 : 2;
    constexpr uint8_t ZEROS[8] = {};
    const auto pad = static_cast<uint32_t>((multiple - m_bytes % multiple) % multiple);
    if (!QmFile_Write(m_file, ZEROS, pad, nullptr)) return MEDIA_E_WRITE;
    const auto length = static_cast<uint64_t>(QmFile_Size(m_file));
    const uint64_t frames = m_bytes / m_format.blockAlign;
    if (m_container == MediaContainer::Wave64) {
        at(m_dataHeader);
        return First({riff64_WriteChunkHeader(m_file, &W64_DATA, m_bytes),
                      riff64_SetRIFFSize(m_file, length - RIFF64_CHUNK_HEADER)});
    }
    if (IsAiff(m_container)) {
        at(m_commOffset + 2);
        HRESULT hr = iff_WriteDWORD(m_file, static_cast<uint32_t>(frames));
        at(m_dataHeader + 4);
        hr = First({hr, iff_WriteDWORD(m_file, static_cast<uint32_t>(m_bytes + 8))});
        at(4);
        return First({hr, iff_WriteDWORD(m_file, static_cast<uint32_t>(length - 8))});
    }
    return EndWave(length, frames);
}

HRESULT SampleFile::EndWave(uint64_t length, uint64_t frames) {
    const auto at = [&](uint64_t offset) {
        QmFile_Seek(m_file, static_cast<int64_t>(offset), FILE_FROM_START);
    };
    const bool isLong = IsLongWave(m_container) || (m_longSizes != 0 && m_bytes > m_growth.limit);
    const auto shortOf = [&](uint64_t size) {
        return isLong ? LongSizes::ELSEWHERE : static_cast<uint32_t>(size);
    };
    HRESULT hr = S_OK;
    if (isLong) {
        uint8_t sizes[LongSizes::BYTES] = {};
        ToLittleEndian(sizes, length - RIFF_CHUNK_HEADER);
        ToLittleEndian(sizes + 8, m_bytes);
        ToLittleEndian(sizes + 16, frames);
        at(m_longSizes);
        hr = riff_WriteChunk(m_file, FourCC("ds64"), sizes, sizeof sizes, nullptr);
    }
    uint8_t fact[4];
    ToLittleEndian(fact, static_cast<uint32_t>(std::min<uint64_t>(frames, UINT32_MAX)));
    at(m_factOffset);
    if (m_factOffset && !QmFile_Write(m_file, fact, sizeof fact, nullptr)) return MEDIA_E_WRITE;
    at(m_dataHeader);
    hr = First({hr, riff_WriteChunkHeader(m_file, FourCC("data"), shortOf(m_bytes))});
    at(0);
    const uint32_t form = !isLong                               ? FourCC("RIFF")
                          : m_container == MediaContainer::Bw64 ? FourCC("BW64")
                                                                : FourCC("RF64");
    return First({hr, riff_WriteChunkHeader(m_file, form, shortOf(length - RIFF_CHUNK_HEADER))});
}

}  // namespace tarn
