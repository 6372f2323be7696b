// The link from a rendered file back to its project: where that lies, what opens it, how it was rendered, or
// the project itself. Each part is a chunk; together they stand in the media file, or in a file of form
// "QMPL". One thread at a time.
#pragma once

#include "mediafile/media_codes.h"
#include "platform/com.h"
#include "platform/file_handle.h"

#include <span>

struct IQmReadMeta;
struct IStream;

enum QMLINK_PART : uint32_t {
    QMLINK_PROJECT_PATH,
    QMLINK_COMMAND_LINE,
    QMLINK_RENDERER,
    QMLINK_TEMPLATE_NAME,
    QMLINK_TEMPLATE_DATA,
    QMLINK_APP_TEMPLATE_DATA,
    QMLINK_CREATOR_INFO,
    QMLINK_CREATOR_CLASS,
    QMLINK_PROJECT_DATA,
    QMLINK_VERSION,
    QMLINK_PARTS,
};

/// Owns its parts, blocks of MemAlloc.
class QM_API CQmLinkProjectInfo {
public:
    CQmLinkProjectInfo() = default;
    ~CQmLinkProjectInfo() { FreeMemory(); }
    CQmLinkProjectInfo(const CQmLinkProjectInfo&) = delete;
    CQmLinkProjectInfo& operator=(const CQmLinkProjectInfo&) = delete;

    /// Copies the bytes and sets the part's present bit.
    HRESULT SetPart(QMLINK_PART part, const void* data, uint32_t size);
    HRESULT SetProjectPath(const char16_t* path) { return SetText(QMLINK_PROJECT_PATH, path); }
    HRESULT SetCommandLine(const char16_t* line) { return SetText(QMLINK_COMMAND_LINE, line); }
    HRESULT SetTemplateName(const char16_t* name) { return SetText(QMLINK_TEMPLATE_NAME, name); }
    HRESULT SetRenderer(const GUID& renderer) { return SetPart(QMLINK_RENDERER, &renderer, sizeof renderer); }
    HRESULT SetVersion(uint32_t version) { return SetPart(QMLINK_VERSION, &version, sizeof version); }

    std::span<const uint8_t> GetPart(QMLINK_PART part) const { return {m_data[part], m_size[part]}; }
    /// Zeros of that size, to be filled by the caller; null when out of memory. The present bit is set.
    void* AllocPart(QMLINK_PART part, uint32_t size);
    /// A RIFF chunk of the part; nothing where there is no data.
    HRESULT WritePartToStream(QMLINK_PART part, IStream* stream) const;

    uint32_t PresentBits() const { return m_present; }
    void SetPresentBits(uint32_t bits) { m_present = bits; }

    /// The link, or the project's data alone.
    HRESULT Validate() const;
    /// MEDIA_E_NO_PROJECT where path or command line is missing, or a part that is told to be present is not;
    /// S_FALSE where a part is there that is not told to be.
    HRESULT ValidateProjectLink() const;
    HRESULT ValidateProjectData() const;
    void FreeMemory();

private:
    HRESULT SetText(QMLINK_PART part, const char16_t* text);
    bool Has(QMLINK_PART part) const { return m_data[part] && m_size[part]; }

    uint8_t* m_data[QMLINK_PARTS] = {};
    uint32_t m_size[QMLINK_PARTS] = {};
    uint32_t m_present = 0;
};

extern "C" {

/// MEDIA_E_NOT_FOUND for a file without a link.
QM_API HRESULT ProjectLinkRiff_LoadInfo(HQMFILE file, CQmLinkProjectInfo* info);
QM_API HRESULT ProjectLinkRiff64_LoadInfo(HQMFILE file, CQmLinkProjectInfo* info);
/// From RIFF chunks of a stream, up to its end.
QM_API HRESULT ProjectLinkReadMeta_LoadInfo(IQmReadMeta* meta, CQmLinkProjectInfo* info);
/// In the place of the link that the file has. A file that is no RIFF gets it in a side file.
QM_API HRESULT ProjectLinkRiff_openAndWriteInfo(const char16_t* path, const CQmLinkProjectInfo* info);
QM_API HRESULT ProjectLinkRiff64_openAndWriteInfo(const char16_t* path, const CQmLinkProjectInfo* info);

}  // extern "C"

namespace tarn {

/// A new file of form "QMPL" with the link alone.
QM_API HRESULT WriteProjectLinkFile(const char16_t* path, const CQmLinkProjectInfo& info);

}  // namespace tarn
