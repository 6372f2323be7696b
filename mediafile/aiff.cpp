#include "mediafile/aiff.h"

#include "mediafile/aiff_comm.h"
#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"

#include <cmath>

using namespace tarn;

namespace {

constexpr uint32_t FORM = BigFourCC("FORM"), AIFF = BigFourCC("AIFF"), AIFC = BigFourCC("AIFC");
constexpr uint32_t COMM = BigFourCC("COMM"), SSND = BigFourCC("SSND"), MARK = BigFourCC("MARK");
constexpr uint32_t CHUNK_HEADER = 8;
constexpr int64_t FIRST_CHUNK = 12;

FileStream AiffOn(HQMFILE file) { return FileStream{file}; }
ChunkIo<FileStream> ChunksOf(HQMFILE file) { return {FileStream{file}, AIFF_GRAMMAR}; }
void Move(HQMFILE file, int64_t bytes) { QmFile_Seek(file, bytes, FILE_FROM_CURRENT); }

template <class Number>
HRESULT ReadNumber(HQMFILE file, Number* value) {
    uint8_t bytes[sizeof *value] = {};
    const bool read = AiffOn(file).Read(bytes, sizeof bytes);
    *value = FromBigEndian<Number>(bytes);
    return read ? S_OK : MEDIA_E_READ;
}
template <class Number>
HRESULT WriteNumber(HQMFILE file, Number value) {
    uint8_t bytes[sizeof value];
    ToBigEndian(bytes, value);
    return AiffOn(file).Write(bytes, sizeof bytes) ? S_OK : MEDIA_E_WRITE;
}

template <class Number>
void SwapAll(void* buffer, uint32_t count) {
    auto* at = static_cast<uint8_t*>(buffer);
    for (uint32_t i = 0; i < count; i++, at += sizeof(Number)) {
        const auto value = FromBigEndian<Number>(at);
        ToLittleEndian(at, value);
    }
}

/// Among the chunks of the form, from its first.
HRESULT FindInForm(HQMFILE file, uint32_t formSize, uint32_t id, uint32_t* size) {
    uint32_t left = formSize - std::min(formSize, 4u);
    if (!AiffOn(file).Seek(FIRST_CHUNK)) return MEDIA_E_READ;
    return iff_FindChunkHeader(file, id, size, &left);
}

}  // namespace

extern "C" {

void iff_ByteSwap16(void* buffer, uint32_t count) { SwapAll<uint16_t>(buffer, count); }
void iff_ByteSwap32(void* buffer, uint32_t count) { SwapAll<uint32_t>(buffer, count); }
void aiff_WriteByteSwap16(void* buffer, uint32_t count) { SwapAll<uint16_t>(buffer, count); }
void aiff_WriteByteSwap32(void* buffer, uint32_t count) { SwapAll<uint32_t>(buffer, count); }

HRESULT iff_ReadChunkHdr(HQMFILE file, IFFCHUNKHEADER* header) {
    return Succeeded(ReadNumber(file, &header->id)) && Succeeded(ReadNumber(file, &header->size))
               ? S_OK
               : MEDIA_E_READ;
}
HRESULT iff_ReadDWORD(HQMFILE file, uint32_t* value) { return ReadNumber(file, value); }
HRESULT iff_ReadWORD(HQMFILE file, uint16_t* value) { return ReadNumber(file, value); }
HRESULT iff_WriteFileID(HQMFILE file, uint32_t form, uint32_t size) {
    const IFFCHUNKHEADER header = {FORM, size};
    const HRESULT hr = iff_WriteChunk(file, &header);
    return Failed(hr) ? hr : WriteNumber(file, form);
}
HRESULT iff_WriteChunk(HQMFILE file, const IFFCHUNKHEADER* header) {
    const HRESULT hr = WriteNumber(file, header->id);
    return Failed(hr) ? hr : WriteNumber(file, header->size);
}
HRESULT iff_WriteDWORD(HQMFILE file, uint32_t value) { return WriteNumber(file, value); }
HRESULT iff_WriteWORD(HQMFILE file, uint16_t value) { return WriteNumber(file, value); }

HRESULT iff_ReadFormType(HQMFILE file, IFFCHUNKHEADER* header, uint32_t* form) {
    if (Failed(iff_ReadChunkHdr(file, header))) return MEDIA_E_READ;
    if (header->id != FORM) return MEDIA_E_UNKNOWN_FORMAT;
    return ReadNumber(file, form);
}

uint32_t iff_SkipChunk(HQMFILE file, uint32_t size) {
    return static_cast<uint32_t>(std::min<uint64_t>(ChunksOf(file).Skip(size), UINT32_MAX));
}

HRESULT iff_DeleteChunk(HQMFILE file, uint32_t id, uint32_t* removed) {
    uint32_t formSize = 0, size = 0;
    if (!iff_IsAIFFFile(file, &formSize)) return MEDIA_E_UNKNOWN_FORMAT;
    if (Failed(FindInForm(file, formSize, id, &size))) return MEDIA_E_NOT_FOUND;
    uint64_t amount = 0;
    if (const HRESULT hr = ChunksOf(file).DeleteFound(size, CHUNK_HEADER, &amount); Failed(hr)) return hr;
    if (removed) *removed = static_cast<uint32_t>(std::min<uint64_t>(amount, UINT32_MAX));
    return S_OK;
}

HRESULT iff_FindChunkHeader(HQMFILE file, uint32_t id, uint32_t* size, uint32_t* remaining) {
    uint8_t label[4];
    ToBigEndian(label, id);
    uint64_t left = remaining ? *remaining : 0, length = 0;
    const HRESULT hr = ChunksOf(file).Find(label, &length, remaining ? &left : nullptr);
    if (Succeeded(hr)) *size = static_cast<uint32_t>(length);
    if (remaining) *remaining = static_cast<uint32_t>(left);
    return hr;
}

HRESULT iff_SeekChunkHeader(HQMFILE file, uint32_t id, uint32_t* size) {
    return iff_FindChunkHeader(file, id, size, nullptr);
}

HRESULT iff_FindChunkFromStart(HQMFILE file, uint32_t id, uint32_t* size) {
    IFFCHUNKHEADER header{};
    uint32_t form = 0;
    AiffOn(file).Seek(0);
    if (Failed(iff_ReadFormType(file, &header, &form))) return MEDIA_E_NO_RIFF;
    return Succeeded(iff_SeekChunkHeader(file, id, size)) ? S_OK : MEDIA_E_NOT_FOUND;
}

HRESULT iff_FindMarker(HQMFILE file, IFFMARKER* record, uint32_t id) {
    uint32_t size = 0;
    if (const HRESULT hr = iff_FindChunkFromStart(file, MARK, &size); Failed(hr)) return hr;
    uint16_t count = 0;
    if (Failed(ReadNumber(file, &count))) return MEDIA_E_READ;
    int64_t left = int64_t{size} - 2;
    for (; count > 0 && left > 0; count--) {
        uint8_t bytes[sizeof *record];
        if (!AiffOn(file).Read(bytes, sizeof bytes)) return MEDIA_E_NO_RIFF;
        *record = {FromBigEndian<uint16_t>(bytes), FromBigEndian<uint32_t>(bytes + 2), bytes[6]};
        if (record->id == id) return S_OK;
        // The length byte and the name are even together.
        const uint32_t name = record->nameLength % 2 == 0 ? record->nameLength + 1u : record->nameLength;
        Move(file, name);
        left -= int64_t{sizeof bytes} + name;
    }
    return MEDIA_E_NOT_FOUND;
}

uint32_t aiff_ConvertRate(uint16_t exponent, const uint16_t* mantissa) {
    constexpr uint32_t CD_RATE = 44100;
    constexpr double STOP = 96000;
    if (exponent & 0x8000) return CD_RATE;
    const double low = (mantissa[1] + (mantissa[2] + mantissa[3] / 65536.0) / 65536.0) / 65536.0;
    double rate = ((mantissa[0] & 0x7FFF) + low) / 32768.0;
    if (mantissa[0] & 0x8000) rate += 1.0;
    const auto doublings = static_cast<uint16_t>((exponent & 0x7FFF) - 16383);
    for (uint16_t i = 0; i < doublings && rate <= STOP; i++) rate *= 2;
    return static_cast<uint32_t>(rate);
}

void aiff_CreateRate(uint32_t rate, uint16_t* exponent, uint16_t* mantissa) {
    double value = rate;
    uint16_t halvings = 0;
    for (; value >= 2.0; halvings++) value /= 2;
    *exponent = static_cast<uint16_t>(halvings + 16383);
    double scaled = (value >= 1.0 ? value - 1.0 : value) * 32768.0;
    for (int i = 0; i < 4; i++) {
        mantissa[i] = static_cast<uint16_t>(scaled);
        scaled = (scaled - mantissa[i]) * 65536.0;
    }
    if (value >= 1.0) mantissa[0] |= 0x8000;
}

BOOL iff_IsAIFFFile(HQMFILE file, uint32_t* formSize) {
    BOOL isAifc = 0, isLittleEndian = 0;
    return iff_IsAIFFFileEx(file, formSize, &isAifc, &isLittleEndian);
}

BOOL iff_IsAIFFFileEx(HQMFILE file, uint32_t* formSize, BOOL* isAifc, BOOL* isLittleEndian) {
    *isAifc = *isLittleEndian = 0;
    IFFCHUNKHEADER header{};
    uint32_t form = 0;
    if (!AiffOn(file).Seek(0) || Failed(iff_ReadFormType(file, &header, &form))) return 0;
    *formSize = header.size;
    if (form == AIFF) return 1;
    if (form != AIFC) return 0;
    *isAifc = 1;
    uint32_t size = 0;
    uint8_t comm[AIFC_COMM_BYTES];
    const bool read =
        Succeeded(FindInForm(file, header.size, COMM, &size)) && AiffOn(file).Read(comm, sizeof comm);
    AiffOn(file).Seek(FIRST_CHUNK);
    if (!read) return 0;
    const auto compression = FromBigEndian<uint32_t>(comm + 18);
    *isLittleEndian = compression == BigFourCC("sowt");
    return *isLittleEndian || compression == BigFourCC("NONE");
}

HRESULT iff_GetAIFFWfx(HQMFILE file, WAVEFORMATEX* wfx, uint64_t* frames, uint64_t* dataOffset) {
    uint32_t formSize = 0, size = 0;
    BOOL isAifc = 0, isLittleEndian = 0;
    if (!iff_IsAIFFFileEx(file, &formSize, &isAifc, &isLittleEndian)) return MEDIA_E_UNKNOWN_FORMAT;
    if (const HRESULT hr = FindInForm(file, formSize, COMM, &size); Failed(hr)) return hr;
    uint8_t bytes[AIFC_COMM_BYTES];
    if (!AiffOn(file).Read(bytes, isAifc ? AIFC_COMM_BYTES : AIFF_COMM_BYTES)) return MEDIA_E_READ;
    const AiffComm comm = ReadComm(bytes);

    const uint32_t frameBytes = (comm.bits >> 3) * uint32_t{comm.channels};
    wfx->wFormatTag = comm.bits == 8   ? WAVE_TAG_PCM_SIGNED
                      : isLittleEndian ? WAVE_TAG_PCM
                                       : WAVE_TAG_PCM_BIG_ENDIAN;
    wfx->nChannels = comm.channels;
    wfx->nSamplesPerSec = comm.Rate();
    wfx->nAvgBytesPerSec = frameBytes * wfx->nSamplesPerSec;
    wfx->nBlockAlign = static_cast<uint16_t>(frameBytes);
    if (wfx->nBlockAlign == 0) wfx->nBlockAlign = 1;
    wfx->wBitsPerSample = comm.bits;

    if (const HRESULT hr = FindInForm(file, formSize, SSND, &size); Failed(hr)) return hr;
    uint32_t offset = 0, blockSize = 0;
    if (Failed(ReadNumber(file, &offset)) || Failed(ReadNumber(file, &blockSize))) return MEDIA_E_READ;
    const uint64_t before = uint64_t{offset} + 8, samples = size > before ? size - before : 0;
    if (frames) *frames = std::min<uint64_t>(samples / wfx->nBlockAlign, comm.frames);
    if (dataOffset) *dataOffset = static_cast<uint64_t>(QmFile_Tell(file)) + offset;
    return S_OK;
}

BOOL QmFileIsAiff(const char16_t* path) {
    const HQMFILE file = QmFile_Open(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
    if (!file) return 0;
    uint32_t size = 0;
    const BOOL is = iff_IsAIFFFile(file, &size);
    QmFile_Close(file);
    return is;
}

}  // extern "C"

namespace tarn {

uint32_t AiffComm::Rate() const { return aiff_ConvertRate(exponent, mantissa); }

AiffComm ReadComm(const uint8_t* bytes) {
    AiffComm comm{FromBigEndian<uint16_t>(bytes),
                  FromBigEndian<uint32_t>(bytes + 2),
                  FromBigEndian<uint16_t>(bytes + 6),
                  FromBigEndian<uint16_t>(bytes + 8),
                  {}};
    for (int i = 0; i < 4; i++) comm.mantissa[i] = FromBigEndian<uint16_t>(bytes + 10 + 2 * i);
    return comm;
}

void WriteComm(uint8_t* bytes, const AiffComm& comm) {
    ToBigEndian(bytes, comm.channels);
    ToBigEndian(bytes + 2, comm.frames);
    ToBigEndian(bytes + 6, comm.bits);
    ToBigEndian(bytes + 8, comm.exponent);
    for (int i = 0; i < 4; i++) ToBigEndian(bytes + 10 + 2 * i, comm.mantissa[i]);
}

}  // namespace tarn
