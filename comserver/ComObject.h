#pragma once

#include <unknwn.h>
#include <wrl/client.h>

#include <atomic>
#include <new>

#include "comserver/Module.h"

namespace comserver
{

/// Turns `Base`, which derives from `DispatchObject` and implements the methods of its dual
/// interface, into a COM object: it adds the identity and an atomic reference count, and the module
/// counts the object. It stands alone or is aggregated by an outer object.
template <class Base>
class ComObject final : public Base
{
  public:
    using Interface = typename Base::Interface;

    /// For the object map.
    static HRESULT Create(Module& module, IUnknown* outer, REFIID iid, void** object) noexcept
    {
        try {
            // The reference held here keeps the object alive while it is asked for the interface.
            const Microsoft::WRL::ComPtr<IUnknown> inner(&(new ComObject(module, outer))->m_inner);
            return inner->QueryInterface(iid, object);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        return m_outer->QueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return m_outer->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return m_outer->Release(); }

  private:
    /// The object's own non-delegating IUnknown: an outer object owns this one, and without an
    /// outer object all calls end here.
    class Inner final : public IUnknown
    {
      public:
        explicit Inner(ComObject& object) noexcept : m_object(object) {}

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
        {
            if (object == nullptr) {
                return E_POINTER;
            }
            IUnknown* found = nullptr;
            if (IsEqualIID(iid, IID_IUnknown)) {
                found = this;
            } else if (IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, __uuidof(Interface))) {
                found = static_cast<Interface*>(&m_object);
            }
            *object = found;
            if (found == nullptr) {
                return E_NOINTERFACE;
            }
            found->AddRef();
            return S_OK;
        }

        ULONG STDMETHODCALLTYPE AddRef() override { return ++m_object.m_references; }

        ULONG STDMETHODCALLTYPE Release() override
        {
            const ULONG left = --m_object.m_references;
            if (left == 0) {
                delete &m_object;
            }
            return left;
        }

      private:
        ComObject& m_object;
    };

    ComObject(Module& module, IUnknown* outer)
        : Base(module), m_inner(*this), m_outer(outer == nullptr ? &m_inner : outer)
    {}

    ~ComObject() override = default;

    std::atomic<ULONG> m_references{0};
    Inner m_inner;
    IUnknown* m_outer;
};

}  // namespace comserver
