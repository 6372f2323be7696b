// A shared module loaded at run time; unloaded with the object.
#pragma once

#include "platform/types.h"

#include <filesystem>
#include <string>
#include <utility>

namespace tarn {

class Module {
public:
    Module() = default;
    Module(Module&& o) noexcept : m_handle(std::exchange(o.m_handle, nullptr)) {}
    Module& operator=(Module&& o) noexcept {
        std::swap(m_handle, o.m_handle);
        return *this;
    }
    QM_API ~Module();

    /// Loads with all names resolved and none of them lent to other modules. On failure the result is empty,
    /// and `error` names the module and the reason. [any-thread]
    [[nodiscard]] QM_API static Module Load(const std::filesystem::path& path, std::string& error);

    /// The folder of the module or program that an address of its own lies in; empty when that is not known.
    /// [any-thread]
    QM_API static std::filesystem::path FolderOf(const void* address);

    explicit operator bool() const { return m_handle; }

    /// The function of that name; null, with the reason, when the module has none. [any-thread]
    template <class Function>
    Function* Find(const char* name, std::string& error) const {
        return reinterpret_cast<Function*>(FindAddress(name, error));
    }

private:
    QM_API void* FindAddress(const char* name, std::string& error) const;

    void* m_handle = nullptr;
};

}  // namespace tarn
