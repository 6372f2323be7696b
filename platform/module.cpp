#include "platform/module.h"

#include <dlfcn.h>

namespace tarn {

namespace {
const char* LastError() {
    const char* text = ::dlerror();
    return text ? text : "unknown reason";
}
}  // namespace

Module::~Module() {
    if (m_handle) ::dlclose(m_handle);
}

Module Module::Load(const std::filesystem::path& path, std::string& error) {
    Module module;
    module.m_handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    // The loader's own text names the module, or the one that it misses.
    if (!module) error = "cannot load " + path.string() + ": " + LastError();
    return module;
}

void* Module::FindAddress(const char* name, std::string& error) const {
    if (!m_handle) {
        error = std::string("cannot find ") + name + ": no module is loaded";
        return nullptr;
    }
    ::dlerror();
    void* address = ::dlsym(m_handle, name);
    if (!address) error = std::string("cannot find ") + name + ": " + LastError();
    return address;
}

std::filesystem::path Module::FolderOf(const void* address) {
    Dl_info info{};
    if (!::dladdr(address, &info) || !info.dli_fname) return {};
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, error);
    return error ? std::filesystem::path() : file.parent_path();
}

}  // namespace tarn
