#include "fileio/surrogates.h"

#include "fileio/blankets.h"
#include "mediafile/media_codes.h"
#include "platform/module.h"

#include <cstdio>

#include <unistd.h>

namespace tarn {

namespace fs = std::filesystem;

namespace {
const char BESIDE = 0;
}  // namespace

fs::path Surrogates::Program() {
    const fs::path own = Module::FolderOf(&BESIDE);
    // Beside the library where it is built, else where it is installed.
    for (const fs::path& folder : {own, own / "tarn"})
        if (fs::path program = folder / "FileIOSurrogate"; ::access(program.c_str(), X_OK) == 0)
            return program;
    return {};
}

std::shared_ptr<SurrogateProcess> Surrogates::Start(HRESULT* status, std::string* reason) const {
    auto process = std::make_shared<SurrogateProcess>(m_callLimit);
    *status = process->Start(Program(), m_langId);
    if (Succeeded(*status)) return process;
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(*status));
    *reason = std::string("its process cannot be started (") + code + ")";
    return nullptr;
}

std::unique_ptr<PluginLibrary> Surrogates::Open(int32_t group, const fs::path& library, HRESULT* status,
                                                std::string* reason) {
    const std::lock_guard lock(m_lock);
    const auto known = m_groups.find(group);
    if (known == m_groups.end() && m_groups.size() >= MOST_GROUPS) {
        *status = MEDIA_E_NO_ROOM;
        *reason = "there are " + std::to_string(MOST_GROUPS) + " groups of plug-ins already";
        return nullptr;
    }
    *status = S_OK;
    if (known == m_groups.end() || !known->second || !known->second->IsAlive())
        m_groups[group] = Start(status, reason);
    const std::shared_ptr<SurrogateProcess>& process = m_groups[group];
    return process ? PluginInSurrogate(process, library) : nullptr;
}

std::unique_ptr<PluginLibrary> Surrogates::OpenAlone(const fs::path& library, std::string* reason) {
    HRESULT status = S_OK;
    std::shared_ptr<SurrogateProcess> process = Start(&status, reason);
    return process ? PluginInSurrogate(std::move(process), library) : nullptr;
}

void Surrogates::Clear() {
    const std::lock_guard lock(m_lock);
    m_groups.clear();
}

}  // namespace tarn
