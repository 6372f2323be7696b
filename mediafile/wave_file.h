// Whole wave files: is it one, what does it hold, make an empty one, give raw samples a header, mend a header
// that was destroyed. Wave is RIFF with 32-bit sizes, Wave64 has no limit.
//
// Those with a path open and close the file themselves. Those with a handle leave its position where it was;
// nothing written is taken back on failure. The second form of each takes the kernel's normal form of a
// format.
#pragma once

#include "audio/wave_format.h"
#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

/// Sizes of what the writers put before the samples.
inline constexpr uint32_t WAVE_HEADER = 46, WAVE64_HEADER = 112;

extern "C" {

/// A wave form with a readable format, which is not compressed unless that is allowed.
QM_API BOOL QmFileIsWave(const char16_t* path, BOOL allowCompressed);
QM_API BOOL QmFileIsWave64(const char16_t* path, BOOL allowCompressed);

/// The format as stored, mended where PCM has 20 bits or a wrong block align: of wave, Wave64 or AIFF,
/// uncompressed. A block for MemFree; null when there is none. The results, which may be null, are frames and
/// the first sample's place.
[[nodiscard]] QM_API WAVEFORMATEX* QmGetFileWfx(const char16_t* path, uint64_t* sampleFrames,
                                                uint64_t* dataOffset);

}  // extern "C"

/// Rewrites the format: of AIFF in place, PCM only. Of a wave it overwrites the first 26 bytes, and the file
/// is none any more; callers use it on files that they rebuild.
QM_API HRESULT QmSetFileWfx(const char16_t* path, const WAVEFORMATEX* wfx);
QM_API HRESULT QmSetFileWfx(const char16_t* path, const _qmwaveformat* format);

/// An empty file. The format has no codec bytes, and PCM is packed and not of 20 bits, else
/// MEDIA_E_UNSUPPORTED_TYPE. A file that was there is emptied, whatever the creation.
QM_API HRESULT QmInitializeWav(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation);
QM_API HRESULT QmInitializeWav(const char16_t* path, const _qmwaveformat* format, QmFileCreation creation);
QM_API HRESULT QmInitializeWav64(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation);
QM_API HRESULT QmInitializeWav64(const char16_t* path, const _qmwaveformat* format, QmFileCreation creation);
/// The same with the samples beginning at `headerBytes`, rounded up to even or to 8; 54 and 136 at least.
QM_API HRESULT QmInitializeWavWithJunk(const char16_t* path, const WAVEFORMATEX* wfx, QmFileCreation creation,
                                       uint32_t headerBytes);
QM_API HRESULT QmInitializeWavWithJunk(const char16_t* path, const _qmwaveformat* format,
                                       QmFileCreation creation, uint32_t headerBytes);
QM_API HRESULT QmInitializeWav64WithJunk(const char16_t* path, const WAVEFORMATEX* wfx,
                                         QmFileCreation creation, uint32_t headerBytes);
QM_API HRESULT QmInitializeWav64WithJunk(const char16_t* path, const _qmwaveformat* format,
                                         QmFileCreation creation, uint32_t headerBytes);

/// Overwrites the first bytes of the file with a header for so many bytes of samples. `headerBytes` is 46, or
/// even and 54 at least; of Wave64 112, or a multiple of 8 and 136 at least; else MEDIA_E_MALFORMED.
/// MEDIA_E_TOO_LARGE where the sizes pass 32 bits.
QM_API HRESULT QmInsertWavHeader(HQMFILE file, const WAVEFORMATEX* wfx, uint64_t dataBytes,
                                 uint64_t headerBytes);
QM_API HRESULT QmInsertWavHeader(HQMFILE file, const _qmwaveformat* format, uint64_t dataBytes,
                                 uint64_t headerBytes);
QM_API HRESULT QmInsertW64Header(HQMFILE file, const WAVEFORMATEX* wfx, uint64_t dataBytes,
                                 uint64_t headerBytes);
QM_API HRESULT QmInsertW64Header(HQMFILE file, const _qmwaveformat* format, uint64_t dataBytes,
                                 uint64_t headerBytes);

/// Writes a new header for the samples that are there. What is left of the old format is kept where it makes
/// sense, else the hint's, or PCM 44100 Hz 16 bit stereo, is taken. The samples begin behind "data", looked
/// for up to `limit`, or there.
QM_API HRESULT QmFixTrashedWav(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit);
QM_API HRESULT QmFixTrashedWav(HQMFILE file, const _qmwaveformat* hint, uint64_t limit);
QM_API HRESULT QmFixTrashedW64(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit);
QM_API HRESULT QmFixTrashedW64(HQMFILE file, const _qmwaveformat* hint, uint64_t limit);
