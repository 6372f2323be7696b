// A render template: the settings of a renderer under a name, as one block that is the same in memory, in a
// file and in a stream. Little-endian. Behind the record stand the renderer's own data, and from the next
// multiple of 4 on the name and the notes, wide texts with terminators.
#pragma once

#include "audio/wave_format.h"
#include "platform/com.h"

inline constexpr uint32_t FIO_TEMPLATE_V1 = 0x01000000;
inline constexpr uint32_t FIO_TEMPLATE_V2 = 0x02000000;
inline constexpr uint32_t FIO_TEMPLATE_PART_BYTES = 200;

#pragma pack(push, 2)
/// `size` is 0 for a template without sound, else FIO_TEMPLATE_PART_BYTES.
struct FIOTEMPLATEAUDIO {
    uint32_t size;
    uint32_t streams;
    uint32_t bitRate;  ///< bits a second of what is written; 0 where the samples tell it, or where it varies
    uint32_t quality;  ///< in the renderer's own measure; 0 where it has none
    uint8_t reserved1[72];
    _qmwaveformat format;  ///< a rate or a number of channels of 0 is that of the source
    uint8_t codec[62];     ///< the format's own bytes, where it is foreign
    uint32_t flags;
    uint8_t reserved2[12];
};

/// `size` as above.
struct FIOTEMPLATEVIDEO {
    uint32_t size;
    uint32_t streams;
    uint32_t width, height;
    uint32_t rate, scale;  ///< rate / scale frames a second
    uint32_t bitRate;
    uint8_t reserved[172];
};

struct tagQMTEMPLATExV2 {
    uint32_t size;     ///< of the whole block
    uint32_t version;  ///< FIO_TEMPLATE_V2
    uint32_t identifier[2];
    uint8_t reserved1[8];
    GUID renderer;
    GUID id;  ///< made of the content, see QmFio_InitGUIDFromTemplateMD5DataHash
    FIOTEMPLATEAUDIO audio;
    FIOTEMPLATEVIDEO video;
    uint8_t reserved2[16];
    uint8_t block1[16];
    uint8_t block2[32];
    uint8_t block3[8];
    uint32_t textChars;  ///< room of the two texts with their terminators
    uint32_t dataSize;   ///< bytes of the renderer's own data

    const uint8_t* Data() const { return reinterpret_cast<const uint8_t*>(this + 1); }
    uint8_t* Data() { return reinterpret_cast<uint8_t*>(this + 1); }
};

/// As it was once: of sound alone, with the data right behind the record, and the texts as above.
struct tagQMTEMPLATEV1 {
    uint32_t size;     ///< of the whole block
    uint32_t version;  ///< FIO_TEMPLATE_V1
    uint32_t identifier[2];
    GUID renderer;
    _qmwaveformat format;
    uint16_t reserved;
    uint32_t bitRate;
    uint32_t textChars;
    uint32_t dataSize;

    const uint8_t* Data() const { return reinterpret_cast<const uint8_t*>(this + 1); }
};
#pragma pack(pop)
static_assert(sizeof(tagQMTEMPLATEV1) == 80 && offsetof(tagQMTEMPLATEV1, textChars) == 72);

static_assert(sizeof(FIOTEMPLATEAUDIO) == FIO_TEMPLATE_PART_BYTES &&
              sizeof(FIOTEMPLATEVIDEO) == FIO_TEMPLATE_PART_BYTES);
static_assert(offsetof(FIOTEMPLATEAUDIO, format) == 88 && offsetof(FIOTEMPLATEAUDIO, flags) == 184);
static_assert(sizeof(tagQMTEMPLATExV2) == 536 && offsetof(tagQMTEMPLATExV2, renderer) == 24 &&
              offsetof(tagQMTEMPLATExV2, id) == 40 && offsetof(tagQMTEMPLATExV2, audio) == 56 &&
              offsetof(tagQMTEMPLATExV2, video) == 256 && offsetof(tagQMTEMPLATExV2, block1) == 472 &&
              offsetof(tagQMTEMPLATExV2, block2) == 488 && offsetof(tagQMTEMPLATExV2, block3) == 520 &&
              offsetof(tagQMTEMPLATExV2, textChars) == 528);
