#pragma once

#include <oaidl.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstring>

#include "comserver/Module.h"

namespace comserver
{

/// Returns the argument, or what it refers to if that is an omitted argument. Some languages pass
/// on their own omitted optional parameter as such a reference, which the type information would
/// reject as a value that does not convert.
inline VARIANT FollowLeftOut(const VARIANT& argument) noexcept
{
    VARIANT referred = argument;
    if (V_VT(&argument) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(&argument) != nullptr) {
        // With memcpy, since a host's variables may be unaligned.
        std::memcpy(&referred, V_VARIANTREF(&argument), sizeof referred);
    }
    const bool leftOut = V_VT(&referred) == VT_ERROR && V_ERROR(&referred) == DISP_E_PARAMNOTFOUND;
    return leftOut ? referred : argument;
}

/// The base of a class with the dual interface `DualInterface`: `IDispatch` served from the
/// module's embedded type library, counting in the module, and a critical section for the class's
/// own use. `ComObject` adds IUnknown.
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
        constexpr UINT kMostArguments = 16;  // more than any method has parameters

        VARIANT values[kMostArguments];
        DISPPARAMS followed = {};
        if (parameters != nullptr && parameters->cArgs <= kMostArguments) {
            followed = *parameters;
            followed.rgvarg = values;
            std::transform(parameters->rgvarg, parameters->rgvarg + parameters->cArgs, values,
                           &FollowLeftOut);
            parameters = &followed;
        }
        Microsoft::WRL::ComPtr<ITypeInfo> typeInfo;
        const HRESULT result = m_module.GetTypeInfo(typeInfo.GetAddressOf());
        return FAILED(result) ? result
                              : typeInfo->Invoke(static_cast<DualInterface*>(this), id, flags,
                                                 parameters, value, exception, wrongArgument);
    }

  protected:
    explicit DispatchObject(Module& module) noexcept : m_module(module)
    {
        m_module.Lock();
        InitializeCriticalSection(&m_section);
    }

    /// Decrements the module's count last of all.
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
