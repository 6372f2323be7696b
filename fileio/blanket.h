// What the objects of another process are made of, as any thread sees them.
#pragma once

#include "fileio/memory_token.h"
#include "fileio/out_of_process.h"
#include "fileio/surrogate_process.h"
#include "platform/counted.h"
#include "platform/text.h"

#include <optional>

namespace tarn {

class OpenDescriptor final : public surrogate::Descriptor::Server {
public:
    explicit OpenDescriptor(int file) : m_file(file) {}
    kj::Maybe<int> getFd() override { return m_file; }

private:
    const int m_file;
};

class CQmOutOfProcObj : public IQmOutOfProcObj {
public:
    HRESULT IsOutOfProc(uint32_t* flag) override {
        return flag ? (*flag = m_word & 1 ? UINT32_MAX : 0, S_OK) : E_POINTER;
    }

private:
    const uint32_t m_word = 1;
};

using SharedProcess = std::shared_ptr<SurrogateProcess>;

/// An interface over what the other process has, and IQmOutOfProcObj.
template <class Interface, class Client, const GUID&... Ids>
class Blanket : public Counted<Interface, Ids...>, public CQmOutOfProcObj {
    using Object = Counted<Interface, Ids...>;

public:
    Blanket(SharedProcess process, Client client) : m_process(std::move(process)), m_client(kj::mv(client)) {}
    ~Blanket() noexcept override { m_process->Drop(kj::mv(m_client)); }

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        const HRESULT hr = Object::QueryInterface(iid, out);
        if (hr != E_NOINTERFACE || iid != IID_IQmOutOfProcObj) return hr;
        *out = static_cast<IQmOutOfProcObj*>(this);
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return Object::AddRef(); }
    uint32_t Release() override { return Object::Release(); }

protected:
    /// `make` fills in a request, `take` has the response unless it tells a failure.
    template <class Make, class Take>
    HRESULT Call(Make make, Take take) {
        return m_process->Run([&]() -> kj::Promise<HRESULT> {
            return make(m_client).send().then([&take](auto&& response) -> HRESULT {
                const HRESULT code = response.getCode();
                if (Succeeded(code)) take(response);
                return code;
            });
        });
    }
    template <class Make>
    HRESULT Call(Make make) {
        return Call(std::move(make), [](auto&) {});
    }
    const SharedProcess& Owner() const { return m_process; }
    /// On the connection's thread.
    Client& Remote() { return m_client; }

private:
    const SharedProcess m_process;
    Client m_client;
};

inline HRESULT GiveText(const std::u16string& text, char16_t* out, uint32_t capacity) {
    CopyText(out, capacity, text.c_str());
    return S_OK;
}

/// What streams of all types share.
template <class Interface, const GUID&... Ids>
class StreamBlanket : public Blanket<Interface, surrogate::ReadStream::Client, IID_IQmReadStream, Ids...> {
public:
    using Base = Blanket<Interface, surrogate::ReadStream::Client, IID_IQmReadStream, Ids...>;
    using Base::Base;
    HRESULT GetType(uint32_t* type) override {
        if (!type) return E_POINTER;
        return this->Call([](auto& client) { return client.getTypeRequest(); },
                          [&](auto& response) { *type = response.getType(); });
    }
    HRESULT GetName(char16_t* text, uint32_t capacity) override {
        if (!text) return E_POINTER;
        return this->Call(
            [](auto& client) { return client.getNameRequest(); },
            [&](auto& response) { GiveText(TextFromWire(response.getText()), text, capacity); });
    }

protected:
    /// Memory of that size that the other side sees, made at the first call and where it has to grow.
    HRESULT Share(uint32_t bytes) {
        if (m_view && m_view->DataSize() >= bytes) return S_OK;
        m_view.reset();
        m_token.emplace(PlainMemoryToken(nullptr, bytes), QMMEMORY_COPY_NONE);
        _qmmemorytoken token{};
        if (const HRESULT hr = m_token->GetMemoryToken(&token); Failed(hr)) return hr;
        const HRESULT hr = this->Call([&](auto& client) {
            auto request = client.shareRequest();
            request.setMemory(kj::heap<OpenDescriptor>(static_cast<int>(token.handle)));
            request.setToken(WireRecord(token));
            return request;
        });
        if (Succeeded(hr)) m_view.emplace(token);
        return hr;
    }
    uint8_t* Shared() const { return static_cast<uint8_t*>(m_view->Pointer()); }

private:
    std::optional<COutOfProcessMemoryToken> m_token;
    std::optional<CMappingOfQmMemoryToken> m_view;
};

}  // namespace tarn
