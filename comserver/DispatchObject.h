#pragma once

#include <oaidl.h>
#include <wrl/client.h>

#include "comserver/CallArguments.h"
#include "comserver/Module.h"

namespace comserver
{

/// The base of a class with the dual interface `DualInterface`: `IDispatch` served from the
/// module's embedded type library, the place in the module's count, and a critical section for the
/// class's own use. `ComObject` adds IUnknown.
template <class DualInterface>
class DispatchObject : public DualInterface
{
  public:
    using Interface = DualInterface;

    DispatchObject(const DispatchObject&) = delete;
    DispatchObject& operator=(const DispatchObject&) = delete;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = 1;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID /*lcid*/, ITypeInfo** typeInfo) override
    {
        if (typeInfo != nullptr) {
            *typeInfo = nullptr;
        }
        if (index != 0) {
            return DISP_E_BADINDEX;
        }
        return typeInfo == nullptr ? E_POINTER : m_module.GetTypeInfo(typeInfo);
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID /*lcid*/,
                                            DISPID* ids) override
    {
        if (!IsEqualIID(iid, IID_NULL)) {
            return DISP_E_UNKNOWNINTERFACE;
        }
        Microsoft::WRL::ComPtr<ITypeInfo> typeInfo;
        const HRESULT result = m_module.GetTypeInfo(typeInfo.GetAddressOf());
        return FAILED(result) ? result : typeInfo->GetIDsOfNames(names, count, ids);
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID /*lcid*/, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* value, EXCEPINFO* exception,
                                     UINT* wrongArgument) override
    {
        if (!IsEqualIID(iid, IID_NULL)) {
            return DISP_E_UNKNOWNINTERFACE;
        }
        Microsoft::WRL::ComPtr<ITypeInfo> typeInfo;
        const HRESULT result = m_module.GetTypeInfo(typeInfo.GetAddressOf());
        CallArguments arguments(parameters);
        return FAILED(result) ? result
                              : typeInfo->Invoke(static_cast<DualInterface*>(this), id, flags,
                                                 arguments.Get(), value, exception, wrongArgument);
    }

  protected:
    explicit DispatchObject(Module& module) noexcept : m_module(module)
    {
        m_module.Lock();
        InitializeCriticalSection(&m_section);
    }

    /// Gives up the place in the module's count last of all.
    virtual ~DispatchObject()
    {
        DeleteCriticalSection(&m_section);
        m_module.Unlock();
    }

    /// Enter and leave the object's critical section; the methods served here never do.
    void Lock() noexcept { EnterCriticalSection(&m_section); }
    void Unlock() noexcept { LeaveCriticalSection(&m_section); }

  private:
    Module& m_module;
    CRITICAL_SECTION m_section;
};

}  // namespace comserver
