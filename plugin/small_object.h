// Base of the plug-in's small objects: one interface, a reference count, and a plain pointer back to the
// plug-in.
#pragma once

#include "platform/com.h"
#include "platform/guarded.h"

#include <atomic>

/// The owner clears the pointer when it dies, since a host may hold a sink longer than the plug-in.
template <class Interface, class Owner>
class SmallObject : public Interface {
public:
    explicit SmallObject(Owner* owner) : m_owner(owner) {}
    virtual ~SmallObject() = default;

    uint32_t AddRef() override { return m_refs.Increment(); }
    uint32_t Release() override {
        const uint32_t left = m_refs.Decrement();
        if (left == 0) delete this;
        return left;
    }

    void Orphan() { m_owner = nullptr; }

protected:
    /// Answers IUnknown and one more interface.
    HRESULT QueryOwn(const GUID& own, const GUID& iid, void** out) {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IUnknown && iid != own) return E_NOINTERFACE;
        *out = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    Owner* ThePlugin() const { return m_owner; }
    /// Runs one operation of the plug-in; a null argument and a dead plug-in are answered here.
    template <class F>
    HRESULT Forward(const void* argument, F&& call) const {
        Owner* plugin = m_owner;
        if (!plugin) return E_UNEXPECTED;
        if (!argument) return E_POINTER;
        return tarn::Guarded([&] { return call(*plugin); });
    }

private:
    tarn::RefCount m_refs;
    std::atomic<Owner*> m_owner;
};
