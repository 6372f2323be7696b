#include "fileio/convert/file_manager.h"

#include "fileio/convert/sample_source.h"

#include <stdexcept>

namespace tarn {

ComPtr<IQmFileIOMgrForApp> MakeFileManager(uint32_t flags, IQmFioLogger* logger) {
    ComPtr<IQmFileIOMgrForApp> manager;
    HRESULT hr = QMFileIO_CreateInstance(u"Tarn", 0, logger, manager.Out());
    if (Succeeded(hr)) hr = manager->Init(flags);
    if (Failed(hr)) throw std::runtime_error("file plug-ins: " + ReasonOfStatus(hr));
    return manager;
}

IQmFileIOMgrForApp& FileManager() {
    // Never released: other threads may be at work in plug-ins when the program ends.
    static IQmFileIOMgrForApp* const manager = MakeFileManager(0, nullptr).Detach();
    return *manager;
}

}  // namespace tarn
