// Render templates as blocks: made, copied, read from files and streams, checked, asked, told apart.
//
// A block is CoTaskMem. What comes from a file, a stream or a plug-in may be wrong in every field: functions
// read no further than the block's size, and give MEDIA_E_BAD_TEMPLATE for one that is not sound,
// MEDIA_E_UNKNOWN_FORMAT for a file or stream that is none, MEDIA_E_NO_TEMPLATE for null. [any-thread]
#pragma once

#include "fileio/template_record.h"
#include "kernel/list.h"
#include "mediafile/media_codes.h"

#include <memory>
#include <span>
#include <string>

struct IStream;

/// No renderer's settings are so large; a size beyond it is a sign of damage.
inline constexpr uint32_t FIO_TEMPLATE_LARGEST = uint32_t{64} << 20;

inline constexpr uint32_t FIO_TEMPLATE_AUDIO = 1;
inline constexpr uint32_t FIO_TEMPLATE_VIDEO = 2;

/// What QmFio_GetTemplateInfo tells, as 32 bits each. Those of one part alone are 0 for the other.
enum FIO_TEMPLATE_INFO : uint32_t {
    FIO_TEMPLATE_STREAMS = 2,
    FIO_TEMPLATE_BIT_RATE,
    FIO_TEMPLATE_QUALITY,  ///< audio, up to the next comment
    FIO_TEMPLATE_FLAGS,
    FIO_TEMPLATE_SAMPLE_TYPE = 10,
    FIO_TEMPLATE_TAG,
    FIO_TEMPLATE_RATE,
    FIO_TEMPLATE_BITS,
    FIO_TEMPLATE_CHANNELS,
    FIO_TEMPLATE_CHANNEL_MASK,
    FIO_TEMPLATE_BLOCK_ALIGN,
    FIO_TEMPLATE_BYTES_PER_SECOND,
    FIO_TEMPLATE_WIDTH = 20,  ///< video
    FIO_TEMPLATE_HEIGHT,
    FIO_TEMPLATE_FRAME_RATE,
    FIO_TEMPLATE_FRAME_SCALE,
    FIO_TEMPLATE_INFO_LAST = 27,
};

extern "C" {

/// Makes *settings of the source, with `extraData` bytes of zeros behind its data and with these texts. A
/// block that *settings has and that fits is used again, else it is freed; it may be the source itself.
/// Flags are FIO_TEMPLATE_AUDIO and FIO_TEMPLATE_VIDEO, the parts that are taken along.
QM_API HRESULT QmFio_MakeTemplate(tagQMTEMPLATExV2** settings, uint32_t version,
                                  const tagQMTEMPLATExV2* source, uint32_t flags, uint32_t extraData,
                                  const char16_t* name, const char16_t* notes);
/// A new block that is the same; what *target was is the caller's.
QM_API HRESULT QmFio_CopyTemplate(tagQMTEMPLATExV2** target, const tagQMTEMPLATExV2* source);
/// The same in the place of what *target was, which is freed.
QM_API HRESULT QmFio_SetTemplate(tagQMTEMPLATExV2** target, const tagQMTEMPLATExV2* source);
/// A new one of a renderer with its own data, and without parts.
QM_API HRESULT QmFio_GenerateTemplate(tagQMTEMPLATExV2** target, const GUID* renderer, const void* data,
                                      uint32_t dataSize, const char16_t* name, const char16_t* notes);
/// Sets both parts to nothing.
QM_API HRESULT QmFio_InitBasicTemplate(tagQMTEMPLATExV2* settings);
/// Sets the audio part to one stream of the format, and the video part to nothing.
QM_API HRESULT QmFio_InitBasicAudioTemplate(tagQMTEMPLATExV2* settings, const _qmwaveformat* format);

/// Replaces the file.
QM_API HRESULT QmFio_SaveTemplateData(const tagQMTEMPLATExV2* settings, const char16_t* file);
/// A file of the user's for a renderer: checked as above, and its id is what its content makes it. One of the
/// first version is made a block of today.
QM_API HRESULT QmFio_LoadRawUserTemplate(const GUID* renderer, const char16_t* file,
                                         tagQMTEMPLATExV2** settings);

/// Of the parts, the blocks and the data, and of the texts where asked for. 0 for a block that is not sound.
QM_API uint32_t QmFio_GetTemplateDataCRC32(const tagQMTEMPLATExV2* settings, BOOL withTexts);
/// The same content always has the same id.
QM_API HRESULT QmFio_InitGUIDFromTemplateMD5DataHash(GUID* id, const tagQMTEMPLATExV2* settings,
                                                     BOOL withTexts);
/// Whether it was made of one of the first version, which its id tells.
QM_API BOOL QmFio_IsUpliftedV1Template(const tagQMTEMPLATExV2* settings);
/// A block of the first version from the stream's next `size` bytes; with `hasSize` its first word, which is
/// `size`, has been read already. Statuses as of QmFio_LoadTemplateData.
QM_API HRESULT QmFio_LoadTemplateDataV1(tagQMTEMPLATEV1** templateV1, IStream* stream, uint32_t size,
                                        BOOL hasSize);
/// The same settings as a block of today.
QM_API HRESULT QmFio_UpliftTemplateV1(tagQMTEMPLATExV2** settings, const tagQMTEMPLATEV1* templateV1);

/// The mask chooses the audio part, else the video part; S_FALSE where the template has none of it.
/// E_INVALIDARG for null, a size other than 4, and what is no FIO_TEMPLATE_INFO.
QM_API HRESULT QmFio_GetTemplateInfo(const tagQMTEMPLATExV2* settings, uint32_t mask, void* value,
                                     uint32_t size, uint32_t which);
/// "Audio: 44,100 Hz, 16 Bit, Stereo", a line a part.
QM_API HRESULT QmFio_GetTemplateInfoText(const tagQMTEMPLATExV2* settings, char16_t* text, uint32_t capacity);
/// Bits a second of the parts of the mask together; S_FALSE and 0 where that is not known.
QM_API HRESULT QmFio_GetTemplateBitrate(const tagQMTEMPLATExV2* settings, uint32_t mask, uint32_t* rate);
/// Behind the lines that QmFio_GetTemplateInfoText made, and the empty lines there.
QM_API const char16_t* QmFio_SkipDescriptionInTemplateNotesText(const char16_t* text);

}  // extern "C"

/// Of a file of one block.
QM_API HRESULT QmFio_LoadTemplateData(tagQMTEMPLATExV2** settings, const char16_t* file);
/// Of the next `size` bytes of a stream. A block of another renderer than the one asked for, which may be
/// null, is MEDIA_E_BAD_TEMPLATE.
QM_API HRESULT QmFio_LoadTemplateData(tagQMTEMPLATExV2** settings, IStream* stream, uint32_t size,
                                      const GUID* renderer);

namespace tarn {

struct FreeTemplate {
    void operator()(tagQMTEMPLATExV2* block) const { CoTaskMemFree(block); }
};
using OwnedTemplate = std::unique_ptr<tagQMTEMPLATExV2, FreeTemplate>;

/// Whether the bytes are a block of which every field can be used.
QM_API bool IsSoundTemplate(std::span<const uint8_t> bytes);
/// By the block's own size, which the memory has.
QM_API bool IsSoundTemplate(const tagQMTEMPLATExV2* settings);

/// Of a sound block.
QM_API std::u16string TemplateName(const tagQMTEMPLATExV2& settings);
QM_API std::u16string TemplateNotes(const tagQMTEMPLATExV2& settings);

}  // namespace tarn
