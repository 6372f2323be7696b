// A new file of samples in any of the containers, written from its first frame to its last.
#pragma once

#include "mediafile/inspect.h"
#include "mediafile/media_codes.h"

namespace tarn {

/// What of the types a container stores for one that is asked for; 0 when it holds nothing like it.
QM_API QMSAMPLETYPE StoredType(MediaContainer container, QMSAMPLETYPE type);

/// Most bytes of samples that the container's sizes can tell of.
QM_API uint64_t LargestData(MediaContainer container);

struct SampleFileGrowth {
    /// Room is left in the header of a wave file, and it becomes RF64 when its samples pass the limit.
    bool mayBecomeLong = false;
    uint64_t limit = LargestData(MediaContainer::Wave);
};

class QM_API SampleFile {
public:
    SampleFile(HQMFILE file, MediaContainer container, const _qmwaveformat& format,
               SampleFileGrowth growth = {})
        : m_file(file), m_container(container), m_format(format), m_growth(growth) {}

    /// All return a status of media_codes.h.
    HRESULT Begin();
    HRESULT Write(const void* samples, uint32_t bytes);
    HRESULT End();

private:
    HRESULT BeginWave();
    HRESULT BeginAiff();
    HRESULT EndWave(uint64_t length, uint64_t frames);

    HQMFILE m_file;
    MediaContainer m_container;
    _qmwaveformat m_format;
    SampleFileGrowth m_growth;
    uint64_t m_longSizes = 0;  ///< place of the chunk that is "ds64" or becomes it
    uint64_t m_factOffset = 0, m_commOffset = 0, m_dataHeader = 0, m_bytes = 0;
};

}  // namespace tarn
