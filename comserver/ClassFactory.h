#pragma once

#include <unknwn.h>

#include <atomic>

#include "comserver/Module.h"

namespace comserver
{

/// The class factory of one entry of the object map. Lives on the heap as long as it is referenced;
/// the reference count starts at 0.
class ClassFactory final : public IClassFactory
{
  public:
    ClassFactory(Module& module, const ClassEntry& entry) noexcept
        : m_module(module), m_entry(entry)
    {
        m_module.Lock();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr) {
            return E_POINTER;
        }
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory)) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *object = static_cast<IClassFactory*>(this);
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    /// Creates an object; with an outer object only IUnknown may be requested.
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (outer != nullptr && !IsEqualIID(iid, IID_IUnknown)) {
            return CLASS_E_NOAGGREGATION;
        }
        return m_entry.create(m_module, outer, iid, object);
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        lock ? m_module.Lock() : m_module.Unlock();
        return S_OK;
    }

  private:
    virtual ~ClassFactory() { m_module.Unlock(); }

    Module& m_module;
    const ClassEntry& m_entry;
    std::atomic<ULONG> m_references{0};
};

}  // namespace comserver
