// "iXML": what recorders and editors tell of a take, as XML. Every node is kept, known or not, with its
// order, its comments and its spaces. One thread at a time.
#pragma once

#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tarn {

/// What the text of a node may be.
enum class IxmlType { Text, Number, Bool, SpeedFps, TimeCode, TrackFunction, SyncFunction, SyncType };
struct IxmlNodeInfo {
    const char* path;  ///< names between dots; numbers of repeated nodes are left out
    IxmlType type;
};
/// The nodes that are known.
QM_API std::span<const IxmlNodeInfo> GetTblIxmlInfo();
/// The texts that nodes of the types have.
QM_API std::span<const char* const> GetTblIxmlSpeedFPS();
QM_API std::span<const char* const> GetTblIxmlSpeedTimeCode();
QM_API std::span<const char* const> GetTblIxmlTrackFuncts();
QM_API std::span<const char* const> GetTblIxmlSyncPtFuncts();
QM_API std::span<const char* const> GetTblIxmlSyncPtTypes();
QM_API std::span<const char* const> GetTblIxmlBools();

struct IxmlValue {
    std::string path;  ///< of a node without nodes in it: "TRACK_LIST.TRACK.2.NAME"
    std::string text;
};

class QM_API IxmlContent {
public:
    IxmlContent();
    ~IxmlContent();
    IxmlContent(IxmlContent&&) noexcept;

    std::vector<IxmlValue> Values() const;
    /// Makes the nodes on the way. An empty text takes the node out. False for a path that cannot be.
    bool Set(const std::string& path, const std::string& text);
    std::vector<uint8_t> Bytes() const;

private:
    friend QM_API bool ExtractIxmlContent(std::span<const uint8_t> payload, IxmlContent* content,
                                          std::string* error);
    struct Document;
    std::unique_ptr<Document> m_document;
};

/// False for what is no XML, and why. An empty payload gives an empty document.
QM_API bool ExtractIxmlContent(std::span<const uint8_t> payload, IxmlContent* content, std::string* error);
/// Each node whose text its type does not know, and each count that is wrong.
QM_API std::vector<std::string> IxmlDeviations(const IxmlContent& content);

/// In the place of the file's chunk; `*added` may be null.
QM_API HRESULT BuildAndWriteRawIxmlChunk(HQMFILE file, const IxmlContent& content, uint32_t* added);

}  // namespace tarn
