// What a buffer or a file of samples holds: the platform's two records as they stand in files, the kernel's
// own normal form of them, and the conversions between the three.
//
// Rates are frames per second, a frame is one sample of each channel. Conversions do not fail: what cannot be
// understood gets sample type 0 and is carried on as foreign, by its tag, its bits and the codec's own bytes.
// No function reads more of a record than the record's own size says. [any-thread]
#pragma once

#include "platform/types.h"

enum : uint16_t {
    WAVE_TAG_PCM = 1,  ///< little-endian; 8 bits are unsigned
    WAVE_TAG_IEEE_FLOAT = 3,
    WAVE_TAG_PCM_UNPACKED = 0xFE00,  ///< 24 significant bits in the low end of a 32-bit word
    WAVE_TAG_PCM_SIGNED = 0xFE01,    ///< 8 bits are signed
    WAVE_TAG_PCM_BIG_ENDIAN = 0xFE02,
    WAVE_TAG_PCM_RIGHT_ALIGNED = 0xFE03,
    WAVE_TAG_EXTENSIBLE = 0xFFFE,
};

#pragma pack(push, 1)
struct tWAVEFORMATEX {
    uint16_t wFormatTag;
    uint16_t nChannels;
    uint32_t nSamplesPerSec;
    uint32_t nAvgBytesPerSec;
    uint16_t nBlockAlign;  ///< bytes of a frame
    uint16_t wBitsPerSample;
    uint16_t cbSize;  ///< bytes that follow this record
};
typedef tWAVEFORMATEX WAVEFORMATEX;

struct WAVEFORMATEXTENSIBLE {
    WAVEFORMATEX Format;
    uint16_t wValidBitsPerSample;
    uint32_t dwChannelMask;
    uint8_t SubFormat[16];
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 18 && sizeof(WAVEFORMATEXTENSIBLE) == 40);
static_assert(offsetof(WAVEFORMATEX, nBlockAlign) == 12 && offsetof(WAVEFORMATEX, cbSize) == 16);
static_assert(offsetof(WAVEFORMATEXTENSIBLE, dwChannelMask) == 20 &&
              offsetof(WAVEFORMATEXTENSIBLE, SubFormat) == 24);

/// What an extensible record adds behind the plain one.
inline constexpr uint16_t WAVE_EXTENSIBLE_EXTRA = 22;

enum QMSAMPLETYPE : uint32_t {
    QMSAMPLE_UNKNOWN = 0,
    QMSAMPLE_PCM8 = 16,
    QMSAMPLE_PCM16,
    QMSAMPLE_PCM24,
    QMSAMPLE_PCM32,
    QMSAMPLE_FLOAT32 = 32,
    QMSAMPLE_FLOAT64,
    QMSAMPLE_PCM24IN32 = 48,
    QMSAMPLE_SIGNED8,
    QMSAMPLE_BE16 = 64,
    QMSAMPLE_BE24,
    QMSAMPLE_BE32,
    QMSAMPLE_RA16 = 128,  ///< named only: no tag, bits, bytes or conversion are known of the two
    QMSAMPLE_RA24,
};

/// Which platform record a conversion makes.
enum QMWAVEFORMAT_COPY_DEST : uint32_t {
    QMWAVEFORMAT_COPY_AUTO,    ///< extensible where there is room, and it came so or its mask asks for it
    QMWAVEFORMAT_COPY_MASKED,  ///< as the mask asks
    QMWAVEFORMAT_COPY_PLAIN,   ///< plain, the mask is dropped
    QMWAVEFORMAT_COPY_MULTICHANNEL,  ///< extensible above two channels
    QMWAVEFORMAT_COPY_EXTENSIBLE,
};

inline constexpr uint32_t QMWAVEFORMAT_FOREIGN = 8;  ///< told by formatTag and bitsPerSample; sampleType is 0
inline constexpr uint32_t QMWAVEFORMAT_FROM_EXTENSIBLE = 16;  ///< and goes back as one

/// Most bytes of a codec that a record carries.
inline constexpr uint32_t QMWAVEFORMAT_MOST_EXTRA = 1024;

#pragma pack(push, 2)
/// The normal form; little-endian where it is stored. A record may end before `extraSize`, then `size`
/// says 32. The codec's bytes follow the record.
struct QM_API _qmwaveformat {
    uint32_t size;  ///< 32 and the codec's bytes
    QMSAMPLETYPE sampleType;
    uint32_t sampleRate;
    uint16_t channels;
    uint16_t blockAlign;   ///< bytes of a frame
    uint32_t channelMask;  ///< 0 stands for the lowest bit of each channel
    uint32_t flags;
    uint16_t formatTag;      ///< of a foreign format
    uint16_t bitsPerSample;  ///< of a foreign format
    uint32_t avgBytesPerSec;
    uint16_t extraSize;

    /// `capacity` is that of the record with the codec's bytes behind it; 32 at least are cleared.
    void Init(uint32_t rate, QMSAMPLETYPE type, uint32_t channelCount, uint32_t mask, uint32_t capacity);
    void InitAsWfx(uint32_t tag, uint32_t rate, uint32_t bits, uint32_t channelCount, uint32_t mask,
                   uint32_t capacity);
    void Init(uint32_t capacity, const WAVEFORMATEX* wfx);

    /// Makes block align and bytes per second fit type, channels and rate; foreign formats keep theirs.
    void UpdateBlockAlign();
    /// As QmAudio_GeneralCopyWfx.
    HRESULT ToWfx(WAVEFORMATEX* target, uint32_t capacity, QMWAVEFORMAT_COPY_DEST dest) const;
    uint32_t FormatTag() const;
    uint32_t BitsPerSample() const;
    uint32_t BytesPerSample() const;
    bool IsCompressed() const;

    bool IsForeign() const { return flags & QMWAVEFORMAT_FOREIGN; }
    /// Bytes of the codec, 0 for a record too short to have any.
    uint32_t ExtraSize() const { return size >= 34 ? extraSize : 0; }
    const uint8_t* ExtraData() const { return reinterpret_cast<const uint8_t*>(this) + 34; }
    uint8_t* ExtraData() { return reinterpret_cast<uint8_t*>(this) + 34; }
    /// Bytes that the record takes with those of the codec.
    uint32_t TotalSize() const { return size >= 34 ? 34u + extraSize : 32u; }
    uint32_t DefaultMask() const;
    /// Neither 0 nor the default.
    bool HasOwnMask() const { return channelMask != 0 && channelMask != DefaultMask(); }
};
#pragma pack(pop)
static_assert(sizeof(_qmwaveformat) == 34 && offsetof(_qmwaveformat, channelMask) == 16 &&
              offsetof(_qmwaveformat, avgBytesPerSec) == 28 && offsetof(_qmwaveformat, extraSize) == 32);

/// Equal sound: type, rate, channels and mask, and of foreign formats tag, bits, bytes per second and the
/// codec's bytes.
QM_API bool operator==(const _qmwaveformat& a, const _qmwaveformat& b);
QM_API bool operator==(const _qmwaveformat& a, const WAVEFORMATEX& b);

/// A record with room for the bytes of usual codecs.
struct QmWaveFormatBlock {
    _qmwaveformat format;
    uint8_t room[128 - sizeof(_qmwaveformat)];

    QmWaveFormatBlock() = default;
    explicit QmWaveFormatBlock(const WAVEFORMATEX* wfx) { format.Init(sizeof *this, wfx); }
};
static_assert(sizeof(QmWaveFormatBlock) == 128);

/// Platform records made of a normal form: plain, extensible where asked for or fitting, with the codec's
/// bytes.
struct _qmwaveformat_wfxcopyhelper {
    WAVEFORMATEX wfx;
    explicit _qmwaveformat_wfxcopyhelper(const _qmwaveformat& format) {
        format.ToWfx(&wfx, sizeof wfx, QMWAVEFORMAT_COPY_PLAIN);
    }
};
struct _qmwaveformat_wfxecopyhelper {
    WAVEFORMATEXTENSIBLE wfx;
    explicit _qmwaveformat_wfxecopyhelper(const _qmwaveformat& format,
                                          QMWAVEFORMAT_COPY_DEST dest = QMWAVEFORMAT_COPY_AUTO) {
        format.ToWfx(&wfx.Format, sizeof wfx, dest);
    }
};
struct _qmwaveformat_wfxplus {
    WAVEFORMATEXTENSIBLE wfx;
    uint8_t room[136 - sizeof(WAVEFORMATEXTENSIBLE)];
    explicit _qmwaveformat_wfxplus(const _qmwaveformat& format,
                                   QMWAVEFORMAT_COPY_DEST dest = QMWAVEFORMAT_COPY_AUTO) {
        format.ToWfx(&wfx.Format, sizeof *this, dest);
    }
};
static_assert(sizeof(_qmwaveformat_wfxplus) == 136);

extern "C" {

/// The type of samples with the tag and so many bits, 0 where there is none.
QM_API QMSAMPLETYPE QmAudio_GetSampleType2(uint32_t tag, uint32_t bits);
QM_API QMSAMPLETYPE QmAudio_GetSampleType(const WAVEFORMATEX* wfx);
/// 0 for QMSAMPLE_RA16, QMSAMPLE_RA24 and what is no type; the same for bits and bytes.
QM_API uint32_t QmAudio_FormatTagFromSampleType(QMSAMPLETYPE type);
QM_API uint32_t QmAudio_BitsFromSampleType(QMSAMPLETYPE type);
QM_API uint32_t QmAudio_BytesFromSampleType(QMSAMPLETYPE type);

QM_API void QmAudio_InitWfx(WAVEFORMATEX* wfx, uint32_t rate, QMSAMPLETYPE type, uint32_t channels);
/// Extensible where the mask asks for it and `capacity` has its 40 bytes. A mask with more bits than channels
/// is dropped.
QM_API void QmAudio_InitWfxFlex(WAVEFORMATEX* wfx, uint32_t tag, uint32_t rate, uint32_t bits,
                                uint32_t channels, uint32_t mask, uint32_t capacity);

/// Compares channels, rate, tag and bits, nothing else.
QM_API BOOL QmAudio_IsEqualFormat(const WAVEFORMATEX* a, const WAVEFORMATEX* b);
/// Frames are not simply samples side by side.
QM_API BOOL QmAudio_IsCompressed(const WAVEFORMATEX* wfx);
QM_API BOOL QmAudio_IsCompressedExtensible(const WAVEFORMATEX* wfx);
/// The tag, or that which an extensible record stands for; 0 for null and for a sub-format that is no tag.
QM_API uint32_t QmAudio_GetWaveFormatTag(const WAVEFORMATEX* wfx);
/// True for extensible PCM or float.
QM_API BOOL QmAudio_GetFormatTagExtensible(const WAVEFORMATEX* wfx, uint32_t* tag);
/// 20-bit PCM becomes 24, and the block align of PCM what it must be; true when anything changed.
QM_API BOOL QmAudio_FixBadWfx(WAVEFORMATEX* wfx);

QM_API void QmAudio_CopyWfxToWfExt(const WAVEFORMATEX* wfx, WAVEFORMATEXTENSIBLE* ext);
/// Writes 16 bytes and cbSize; an extensible record that is neither PCM nor float writes nothing.
QM_API void QmAudio_CopyWfExtToWfx(const WAVEFORMATEXTENSIBLE* ext, WAVEFORMATEX* wfx);
/// Full scale of integers of so many bits; 1 for what is none.
QM_API double QmAudio_GetNormalizeFactor(uint32_t bits);

/// Platform record to platform record, through the normal form. E_INVALIDARG below 18 bytes of room.
QM_API HRESULT QmAudio_CopyWfx(WAVEFORMATEX* target, uint32_t capacity, const WAVEFORMATEX* source,
                               QMWAVEFORMAT_COPY_DEST dest);
QM_API HRESULT QmAudio_CopyWfExt(WAVEFORMATEXTENSIBLE* ext, const WAVEFORMATEX* source,
                                 QMWAVEFORMAT_COPY_DEST dest);
/// Normal form to platform record. E_INVALIDARG below 18 bytes of room, and nothing is written.
QM_API HRESULT QmAudio_GeneralCopyWfx(WAVEFORMATEX* target, uint32_t capacity, const _qmwaveformat* source,
                                      QMWAVEFORMAT_COPY_DEST dest);
/// Copies what fits; codec bytes that do not fit are left out whole. 0 stands for 32 bytes of room.
QM_API void QmAudio_GeneralCopyQmWaveFormat(_qmwaveformat* target, uint32_t capacity,
                                            const _qmwaveformat* source);

}  // extern "C"

/// A new block, freed with MemFree; null when out of memory.
[[nodiscard]] QM_API WAVEFORMATEX* QmAudio_AllocAndCopyWfx(const WAVEFORMATEX* source,
                                                           QMWAVEFORMAT_COPY_DEST dest);
[[nodiscard]] QM_API WAVEFORMATEX* QmAudio_AllocAndCopyWfx(const _qmwaveformat* source,
                                                           QMWAVEFORMAT_COPY_DEST dest);
