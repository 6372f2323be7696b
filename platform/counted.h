// Base of objects with one interface and a reference count that delete themselves.
#pragma once

#include "platform/com.h"

namespace tarn {

/// Answers IUnknown and the ids. Starts at 0 references: the maker takes the first.
template <class Interface, const GUID&... Ids>
class Counted : public Interface {
public:
    virtual ~Counted() = default;
    Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    HRESULT QueryInterface(const GUID& iid, void** out) override {
        if (!out) return E_POINTER;
        const bool isKnown = ((iid == Ids) || ... || (iid == IID_IUnknown));
        *out = isKnown ? static_cast<Interface*>(this) : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return m_count.Increment(); }
    uint32_t Release() override {
        const uint32_t left = m_count.Decrement();
        if (left == 0) delete this;
        return left;
    }

private:
    RefCount m_count;
};

/// Gives a new object out with one reference.
template <class Object, class Interface>
HRESULT GiveOut(Object* object, Interface** out) {
    object->AddRef();
    *out = object;
    return S_OK;
}

}  // namespace tarn
