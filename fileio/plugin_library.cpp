#include "fileio/plugin_library.h"

#include "fileio/extensions.h"
#include "mediafile/media_codes.h"
#include "platform/module.h"
#include "platform/text.h"

#include <algorithm>
#include <cstdio>

namespace tarn {

namespace {

std::string CodeText(HRESULT hr) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
    return text;
}

template <size_t N>
bool Terminate(char16_t (&text)[N]) {
    const bool isTerminated = std::find(text, text + N, u'\0') != text + N;
    text[N - 1] = 0;
    return isTerminated;
}

class LibraryHere final : public PluginLibrary {
public:
    bool Load(const std::filesystem::path& path, std::string* reason) {
        m_module = Module::Load(path, *reason);
        if (!m_module) return false;
        m_getInfo = m_module.Find<QmFioPlug_GetInfoProc>(FIO_ENTRY_GET_INFO, *reason);
        m_createClass = m_module.Find<QmFioPlug_CreateClassProc>(FIO_ENTRY_CREATE_CLASS, *reason);
        return m_getInfo && m_createClass;
    }

    HRESULT GetInfo(uint32_t langId, FIOPLUGININFO* info, std::string* reason) override {
        *info = {};
        info->size = sizeof *info;
        const HRESULT hr = m_getInfo(langId, info);
        *reason = hr == S_OK ? CheckPluginInfo(info) : "does not say what it is (" + CodeText(hr) + ")";
        return reason->empty() ? S_OK : Failed(hr) ? hr : E_UNEXPECTED;
    }

    HRESULT CreateClass(const GUID& classId, const GUID& iid, uint32_t langId, void** out) override {
        *out = nullptr;
        ComPtr<IUnknown> made;
        const HRESULT hr = m_createClass(&classId, &iid, made.OutVoid());
        if (Failed(hr) || !made) return Failed(hr) ? hr : E_NOINTERFACE;
        const bool isReader = iid == IID_IQmReadFileClass;
        const HRESULT started =
            isReader ? static_cast<IQmReadFileClass*>(static_cast<void*>(made.Get()))->Start(langId)
                     : static_cast<IQmRenderFileClass*>(static_cast<void*>(made.Get()))->Start(langId);
        if (Failed(started)) return MEDIA_E_NOT_STARTED;
        *out = made.Detach();
        return S_OK;
    }

private:
    Module m_module;
    QmFioPlug_GetInfoProc* m_getInfo = nullptr;
    QmFioPlug_CreateClassProc* m_createClass = nullptr;
};

}  // namespace

std::unique_ptr<PluginLibrary> LoadPluginHere(const std::filesystem::path& path, std::string* reason) {
    auto library = std::make_unique<LibraryHere>();
    if (!library->Load(path, reason)) return nullptr;
    return library;
}

std::string CheckPluginInfo(FIOPLUGININFO* info) {
    // All of them, whichever is wrong.
    const bool ends[] = {Terminate(info->name), Terminate(info->readExtensions),
                         Terminate(info->renderExtensions), Terminate(info->preloadModules)};
    const bool isTerminated = std::ranges::count(ends, false) == 0;
    if (info->size != sizeof *info || info->api != FIO_PLUGIN_API)
        return "is made for another version of the program";
    if (!isTerminated) return "says what it is in texts without an end";
    const bool isReader = info->reader != GUID{}, isRenderer = info->renderer != GUID{};
    if (!isReader && !isRenderer) return "neither reads nor renders";
    if (info->reader == info->renderer) return "has one id for two classes";
    if (!info->name[0] ||
        std::ranges::any_of(std::u16string_view(info->name), [](char16_t c) { return c < u' '; }))
        return "has no name";
    for (const char16_t* list : {info->readExtensions, info->renderExtensions})
        if (!AreExtensions(Utf8FromUtf16(list))) return "names endings of files that are none";
    if ((isReader && !info->readExtensions[0]) || (isRenderer && !info->renderExtensions[0]))
        return "names no ending of files";
    return {};
}

}  // namespace tarn
