#include "mediafile/wave_file.h"

#include "mediafile/aiff.h"
#include "mediafile/aiff_comm.h"
#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"
#include "mediafile/lost_samples.h"
#include "mediafile/riff64.h"

#include <cstring>
#include <memory>

using namespace tarn;

namespace {

struct Freeing {
    void operator()(WAVEFORMATEX* wfx) const { MemFree(wfx); }
};
using OwnedWfx = std::unique_ptr<WAVEFORMATEX, Freeing>;

OwnedFile OpenForReading(const char16_t* path) {
    return OwnedFile(QmFile_Open(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING));
}

constexpr uint32_t WAVE = FourCC("WAVE"), FMT = FourCC("fmt "), DATA = FourCC("data"), JUNK = FourCC("JUNK");
/// With the largest codec bytes that a record can tell of.
constexpr uint64_t LARGEST_WAVE_FORMAT = sizeof(WAVEFORMATEX) + UINT16_MAX, LARGEST_WAVE64_FORMAT = 4096;

struct Contents {
    OwnedWfx format;
    uint64_t frames, offset;
};

/// Reads the format chunk here. The block has room for all that the record says it has, zeros where the chunk
/// ends before.
OwnedWfx ReadFormat(HQMFILE file, uint64_t size, uint64_t largest) {
    if (size > largest) return nullptr;
    const size_t room = sizeof(WAVEFORMATEX) + UINT16_MAX;
    OwnedWfx wfx(static_cast<WAVEFORMATEX*>(MemAlloc(room)));
    if (!wfx || !QmFile_Read(file, wfx.get(), static_cast<uint32_t>(size), nullptr)) return nullptr;
    const size_t used = std::max<size_t>(size, sizeof *wfx + wfx->cbSize);
    OwnedWfx fitting(static_cast<WAVEFORMATEX*>(MemAlloc(used)));
    if (fitting) std::memcpy(fitting.get(), wfx.get(), std::min(used, room));
    return fitting;
}

void MendPcm(WAVEFORMATEX& wfx) {
    if (wfx.wFormatTag != WAVE_TAG_PCM) return;
    if (wfx.wBitsPerSample == 20) wfx.wBitsPerSample = 24;
    wfx.nBlockAlign = static_cast<uint16_t>(wfx.wBitsPerSample / 8 * wfx.nChannels);
}

/// At the samples' chunk.
bool Finish(HQMFILE file, uint64_t dataBytes, Contents* contents) {
    MendPcm(*contents->format);
    if (contents->format->nBlockAlign == 0) return false;
    contents->frames = dataBytes / contents->format->nBlockAlign;
    contents->offset = static_cast<uint64_t>(QmFile_Tell(file));
    return true;
}

OwnedWfx WaveFormat(HQMFILE file, uint32_t* left) {
    uint32_t form = 0, size = 0;
    QmFile_Seek(file, 0, FILE_FROM_START);
    if (Failed(riff_ReadFileID(file, left, &form)) || form != WAVE) return nullptr;
    if (Failed(riff_FindChunkHeader(file, FMT, &size, left))) return nullptr;
    OwnedWfx wfx = ReadFormat(file, size, LARGEST_WAVE_FORMAT);
    QmFile_Seek(file, size & 1, FILE_FROM_CURRENT);
    *left -= std::min(*left, size + (size & 1));
    return wfx;
}
OwnedWfx Wave64Format(HQMFILE file, uint64_t* left) {
    GUID form{};
    uint64_t size = 0;
    QmFile_Seek(file, 0, FILE_FROM_START);
    if (Failed(riff64_ReadFileID(file, left, &form)) || form != W64_WAVE) return nullptr;
    if (Failed(riff64_FindChunkHeader(file, &W64_FMT, &size, left))) return nullptr;
    OwnedWfx wfx = ReadFormat(file, size, LARGEST_WAVE64_FORMAT);
    const uint64_t pad = (8 - size % 8) % 8;
    QmFile_Seek(file, static_cast<int64_t>(pad), FILE_FROM_CURRENT);
    *left -= std::min(*left, size + pad);
    return wfx;
}

bool ReadWave(HQMFILE file, Contents* contents) {
    const PositionKeeper keeper(FileStream{file});
    uint32_t left = 0, size = 0;
    contents->format = WaveFormat(file, &left);
    if (!contents->format || QmAudio_IsCompressed(contents->format.get())) return false;
    return Succeeded(riff_FindChunkHeader(file, DATA, &size, &left)) && Finish(file, size, contents);
}
bool ReadWave64(HQMFILE file, Contents* contents) {
    const PositionKeeper keeper(FileStream{file});
    uint64_t left = 0, size = 0;
    contents->format = Wave64Format(file, &left);
    if (!contents->format || QmAudio_IsCompressed(contents->format.get())) return false;
    return Succeeded(riff64_FindChunkHeader(file, &W64_DATA, &size, &left)) && Finish(file, size, contents);
}
bool ReadAiff(HQMFILE file, Contents* contents) {
    const PositionKeeper keeper(FileStream{file});
    contents->format.reset(static_cast<WAVEFORMATEX*>(MemAlloc(sizeof(WAVEFORMATEX))));
    if (!contents->format) return false;
    if (Failed(iff_GetAIFFWfx(file, contents->format.get(), &contents->frames, &contents->offset)))
        return false;
    MendPcm(*contents->format);
    return contents->format->nBlockAlign != 0 && !QmAudio_IsCompressed(contents->format.get());
}

/// What the writers take.
bool IsWritable(const WAVEFORMATEX* wfx) {
    if (wfx->cbSize != 0) return false;
    if (wfx->wFormatTag != WAVE_TAG_PCM) return true;
    return wfx->wBitsPerSample != 20 && wfx->nChannels * (wfx->wBitsPerSample / 8) == wfx->nBlockAlign;
}

/// A file is always emptied.
QmFileCreation Emptying(QmFileCreation creation) {
    if (creation == FILE_OPEN_EXISTING) return FILE_TRUNCATE_EXISTING;
    return creation == FILE_OPEN_ALWAYS ? FILE_CREATE_ALWAYS : creation;
}

bool WriteZeros(HQMFILE file, uint64_t count) {
    constexpr uint8_t ZEROS[1024] = {};
    for (; count > 0;) {
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(count, sizeof ZEROS));
        if (!QmFile_Write(file, ZEROS, part, nullptr)) return false;
        count -= part;
    }
    return true;
}

constexpr uint32_t JUNK_WAVE_HEADER = WAVE_HEADER + RIFF_CHUNK_HEADER;
constexpr uint32_t JUNK_WAVE64_HEADER = WAVE64_HEADER + RIFF64_CHUNK_HEADER;

/// "RIFF" to "data"; a filler when the header is longer than the plain one.
HRESULT WriteWaveHeader(HQMFILE file, const WAVEFORMATEX* wfx, uint32_t riffSize, uint32_t headerBytes,
                        uint32_t dataBytes) {
    bool done = Succeeded(riff_WriteFileID(file, WAVE, riffSize)) &&
                Succeeded(riff_WriteChunk(file, FMT, wfx, sizeof *wfx, nullptr));
    if (headerBytes > WAVE_HEADER) {
        const uint32_t filler = headerBytes - JUNK_WAVE_HEADER;
        done = done && Succeeded(riff_WriteChunkHeader(file, JUNK, filler)) && WriteZeros(file, filler);
    }
    return done && Succeeded(riff_WriteChunkHeader(file, DATA, dataBytes)) ? S_OK : MEDIA_E_WRITE;
}
/// `riffSize` is stored with its header, as all sizes are.
HRESULT WriteWave64Header(HQMFILE file, const WAVEFORMATEX* wfx, uint64_t riffSize, uint64_t headerBytes,
                          uint64_t dataBytes) {
    bool done = Succeeded(riff64_WriteFileID(file, &W64_WAVE, riffSize)) &&
                Succeeded(riff64_WriteChunk(file, &W64_FMT, wfx, sizeof *wfx, nullptr));
    if (headerBytes > WAVE64_HEADER) {
        const uint64_t filler = headerBytes - JUNK_WAVE64_HEADER;
        done =
            done && Succeeded(riff64_WriteChunkHeader(file, &W64_JUNK, filler)) && WriteZeros(file, filler);
    }
    return done && Succeeded(riff64_WriteChunkHeader(file, &W64_DATA, dataBytes)) ? S_OK : MEDIA_E_WRITE;
}

/// Calls `write` with the new file.
template <class Write>
HRESULT Create(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation, Write write) {
    if (!IsWritable(wfx)) return MEDIA_E_UNSUPPORTED_TYPE;
    OwnedFile file(QmFile_Open(path, FILE_ACCESS_READ_WRITE, Emptying(creation)));
    if (!file) return MEDIA_E_OPEN;
    const HRESULT hr = write(file.get());
    return QmFile_Close(file.release()) || Failed(hr) ? hr : MEDIA_E_WRITE;
}

/// Whether a header of so many bytes can be written over the file's first.
bool IsHeaderRoom(uint64_t bytes, uint32_t plain, uint32_t withJunk, uint32_t multiple, int64_t fileBytes) {
    return bytes % multiple == 0 && bytes >= plain && (bytes == plain || bytes >= withJunk) &&
           fileBytes >= plain;
}

/// The plain record that the writers take.
struct PlainFormat {
    explicit PlainFormat(const _qmwaveformat* format) {
        if (format) QmAudio_GeneralCopyWfx(&wfx, sizeof wfx, format, QMWAVEFORMAT_COPY_PLAIN);
        pointer = format ? &wfx : nullptr;
    }
    WAVEFORMATEX wfx;
    const WAVEFORMATEX* pointer;
};

HRESULT RewriteComm(HQMFILE file, const WAVEFORMATEX* wfx) {
    WAVEFORMATEX old{};
    uint64_t frames = 0;
    if (const HRESULT hr = iff_GetAIFFWfx(file, &old, &frames, nullptr); Failed(hr)) return hr;
    if (wfx->wFormatTag != WAVE_TAG_PCM) return MEDIA_E_UNSUPPORTED_FORMAT;
    AiffComm comm{wfx->nChannels, static_cast<uint32_t>(frames), wfx->wBitsPerSample, 0, {}};
    aiff_CreateRate(wfx->nSamplesPerSec, &comm.exponent, comm.mantissa);
    uint8_t bytes[AIFF_COMM_BYTES];
    WriteComm(bytes, comm);
    // From where the reader ended: a "COMM" that stands before the samples is not found.
    uint32_t size = 0;
    if (Failed(iff_SeekChunkHeader(file, BigFourCC("COMM"), &size))) return MEDIA_E_READ;
    return QmFile_Write(file, bytes, sizeof bytes, nullptr) ? S_OK : MEDIA_E_WRITE;
}

}  // namespace

extern "C" {

BOOL QmFileIsWave(const char16_t* path, BOOL allowCompressed) {
    const OwnedFile file = OpenForReading(path);
    uint32_t left = 0;
    const OwnedWfx wfx = file ? WaveFormat(file.get(), &left) : nullptr;
    return wfx && (allowCompressed || !QmAudio_IsCompressed(wfx.get()));
}
BOOL QmFileIsWave64(const char16_t* path, BOOL allowCompressed) {
    const OwnedFile file = OpenForReading(path);
    uint64_t left = 0;
    const OwnedWfx wfx = file ? Wave64Format(file.get(), &left) : nullptr;
    return wfx && (allowCompressed || !QmAudio_IsCompressed(wfx.get()));
}

WAVEFORMATEX* QmGetFileWfx(const char16_t* path, uint64_t* sampleFrames, uint64_t* dataOffset) {
    const OwnedFile file = OpenForReading(path);
    if (!file) return nullptr;
    Contents contents{};
    if (!ReadWave(file.get(), &contents) && !ReadWave64(file.get(), &contents) &&
        !ReadAiff(file.get(), &contents))
        return nullptr;
    if (sampleFrames) *sampleFrames = contents.frames;
    if (dataOffset) *dataOffset = contents.offset;
    return contents.format.release();
}

}  // extern "C"

HRESULT QmSetFileWfx(const char16_t* path, const WAVEFORMATEX* wfx) {
    if (!IsWritable(wfx)) return MEDIA_E_UNSUPPORTED_TYPE;
    const OwnedFile file(QmFile_Open(path, FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING));
    if (!file) return MEDIA_E_OPEN;
    Contents contents{};
    if (!ReadWave(file.get(), &contents)) return RewriteComm(file.get(), wfx);
    return riff_WriteChunk(file.get(), FMT, wfx, sizeof *wfx, nullptr);
}

HRESULT QmInitializeWav(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation) {
    return Create(path, wfx, creation, [=](HQMFILE file) {
        return WriteWaveHeader(file, wfx, WAVE_HEADER - RIFF_CHUNK_HEADER, WAVE_HEADER, 0);
    });
}
HRESULT QmInitializeWav64(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation) {
    constexpr uint64_t SIZE_OF_AN_EMPTY_FILE = 106;  // larger than the file; whoever completes it corrects it
    return Create(path, wfx, creation, [=](HQMFILE file) {
        return WriteWave64Header(file, wfx, SIZE_OF_AN_EMPTY_FILE, WAVE64_HEADER, 0);
    });
}
HRESULT QmInitializeWavWithJunk(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation,
                                uint32_t headerBytes) {
    return Create(path, wfx, creation, [=](HQMFILE file) {
        const uint64_t bytes = uint64_t{headerBytes} + (headerBytes & 1);
        if (bytes < JUNK_WAVE_HEADER || bytes > UINT32_MAX) return E_INVALIDARG;
        const auto header = static_cast<uint32_t>(bytes);
        return WriteWaveHeader(file, wfx, header - RIFF_CHUNK_HEADER, header, 0);
    });
}
HRESULT QmInitializeWav64WithJunk(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation,
                                  uint32_t headerBytes) {
    return Create(path, wfx, creation, [=](HQMFILE file) {
        const uint64_t header = (uint64_t{headerBytes} + 7) & ~uint64_t{7};
        if (header < JUNK_WAVE64_HEADER) return E_INVALIDARG;
        return WriteWave64Header(file, wfx, header, header, 0);
    });
}

HRESULT QmInsertWavHeader(HQMFILE file, const WAVEFORMATEX* wfx, uint64_t dataBytes, uint64_t headerBytes) {
    const FileStream s{file};
    const PositionKeeper keeper(s);
    if (!IsWritable(wfx)) return MEDIA_E_UNSUPPORTED_TYPE;
    if (!IsHeaderRoom(headerBytes, WAVE_HEADER, JUNK_WAVE_HEADER, 2, s.Size())) return MEDIA_E_MALFORMED;
    if (dataBytes > RIFF_LARGEST || headerBytes > RIFF_LARGEST ||
        dataBytes + headerBytes - RIFF_CHUNK_HEADER > RIFF_LARGEST)
        return MEDIA_E_TOO_LARGE;
    if (!s.Seek(0)) return MEDIA_E_WRITE;
    const auto header = static_cast<uint32_t>(headerBytes), data = static_cast<uint32_t>(dataBytes);
    return WriteWaveHeader(file, wfx, header - RIFF_CHUNK_HEADER + data, header, data);
}
HRESULT QmInsertW64Header(HQMFILE file, const WAVEFORMATEX* wfx, uint64_t dataBytes, uint64_t headerBytes) {
    const FileStream s{file};
    const PositionKeeper keeper(s);
    if (!IsWritable(wfx)) return MEDIA_E_UNSUPPORTED_TYPE;
    if (!IsHeaderRoom(headerBytes, WAVE64_HEADER, JUNK_WAVE64_HEADER, 8, s.Size())) return MEDIA_E_MALFORMED;
    if (dataBytes > INT64_MAX / 2 || headerBytes > INT64_MAX / 2) return MEDIA_E_TOO_LARGE;
    if (!s.Seek(0)) return MEDIA_E_WRITE;
    return WriteWave64Header(file, wfx, headerBytes + dataBytes - RIFF64_CHUNK_HEADER, headerBytes,
                             dataBytes);
}

HRESULT QmFixTrashedWav(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit) {
    LostSamples found{};
    const HRESULT hr = FindLostWavSamples(file, hint, limit, &found);
    return Failed(hr) ? hr : QmInsertWavHeader(file, &found.format, found.bytes, found.start);
}
HRESULT QmFixTrashedW64(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit) {
    LostSamples found{};
    const HRESULT hr = FindLostW64Samples(file, hint, limit, &found);
    return Failed(hr) ? hr : QmInsertW64Header(file, &found.format, found.bytes, found.start);
}

HRESULT QmSetFileWfx(const char16_t* path, const _qmwaveformat* format) {
    return QmSetFileWfx(path, PlainFormat(format).pointer);
}
HRESULT QmInitializeWav(const char16_t* path, const _qmwaveformat* format, QmFileCreation creation) {
    return QmInitializeWav(path, PlainFormat(format).pointer, creation);
}
HRESULT QmInitializeWav64(const char16_t* path, const _qmwaveformat* format, QmFileCreation creation) {
    return QmInitializeWav64(path, PlainFormat(format).pointer, creation);
}
HRESULT QmInitializeWavWithJunk(const char16_t* path, const _qmwaveformat* format, QmFileCreation creation,
                                uint32_t headerBytes) {
    return QmInitializeWavWithJunk(path, PlainFormat(format).pointer, creation, headerBytes);
}
HRESULT QmInitializeWav64WithJunk(const char16_t* path, const _qmwaveformat* format, QmFileCreation creation,
                                  uint32_t headerBytes) {
    return QmInitializeWav64WithJunk(path, PlainFormat(format).pointer, creation, headerBytes);
}
HRESULT QmInsertWavHeader(HQMFILE file, const _qmwaveformat* format, uint64_t dataBytes,
                          uint64_t headerBytes) {
    return QmInsertWavHeader(file, PlainFormat(format).pointer, dataBytes, headerBytes);
}
HRESULT QmInsertW64Header(HQMFILE file, const _qmwaveformat* format, uint64_t dataBytes,
                          uint64_t headerBytes) {
    return QmInsertW64Header(file, PlainFormat(format).pointer, dataBytes, headerBytes);
}
HRESULT QmFixTrashedWav(HQMFILE file, const _qmwaveformat* hint, uint64_t limit) {
    return QmFixTrashedWav(file, PlainFormat(hint).pointer, limit);
}
HRESULT QmFixTrashedW64(HQMFILE file, const _qmwaveformat* hint, uint64_t limit) {
    return QmFixTrashedW64(file, PlainFormat(hint).pointer, limit);
}
