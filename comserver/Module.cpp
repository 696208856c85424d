#include "comserver/Module.h"

#include <oleauto.h>
#include <wrl/client.h>

#include <algorithm>
#include <new>
#include <string_view>

#include "comserver/ClassFactory.h"
#include "comserver/MachineClasses.h"
#include "comserver/RegistryScript.h"

namespace comserver
{

using Microsoft::WRL::ComPtr;

namespace
{

constexpr WORD kRegistryScriptId = 101;
constexpr const wchar_t* kRegistryScriptType = L"REGISTRY";

/// The last error of the system as an HRESULT; never a success.
HRESULT LastError() noexcept
{
    const HRESULT result = HRESULT_FROM_WIN32(GetLastError());
    return FAILED(result) ? result : E_FAIL;
}

/// The script in the server's resources; resources stay in memory as long as the server does.
HRESULT FindScript(HINSTANCE instance, std::string_view& text)
{
    HRSRC resource =
        FindResourceW(instance, MAKEINTRESOURCEW(kRegistryScriptId), kRegistryScriptType);
    HGLOBAL loaded = resource == nullptr ? nullptr : LoadResource(instance, resource);
    const void* bytes = loaded == nullptr ? nullptr : LockResource(loaded);
    if (bytes == nullptr) {
        return LastError();
    }
    text = {static_cast<const char*>(bytes), SizeofResource(instance, resource)};
    return S_OK;
}

/// Runs steps that allocate texts; running out of memory becomes an HRESULT like every other
/// failure. The steps return the other failures instead of throwing: the memory that the runtime
/// keeps for an exception leaks when a server that has not served a class is unloaded.
template <class Steps>
HRESULT Run(Steps steps) noexcept
{
    try {
        return steps();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace

void Module::Term() noexcept
{
    ITypeInfo* typeInfo = m_typeInfo.exchange(nullptr);
    if (typeInfo != nullptr) {
        typeInfo->Release();
    }
}

HRESULT Module::GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept
{
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    const auto entry =
        std::find_if(m_classes.begin(), m_classes.end(),
                     [&](const ClassEntry& each) { return IsEqualCLSID(clsid, each.clsid); });
    if (entry == m_classes.end()) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    const ComPtr<ClassFactory> factory(new (std::nothrow) ClassFactory(*this, *entry));
    if (!factory) {
        return E_OUTOFMEMORY;
    }
    if (const HRESULT result = factory->QueryInterface(iid, object); FAILED(result)) {
        return result;
    }
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(m_instance), &pinned);
    return S_OK;
}

HRESULT Module::RegisterServer() noexcept
{
    return Run([this] {
        std::wstring path;
        std::string_view script;
        MachineClasses classes;
        ComPtr<ITypeLib> typeLib;
        if (const HRESULT result = GetPath(path); FAILED(result)) {
            return result;
        }
        if (const HRESULT result = FindScript(m_instance, script); FAILED(result)) {
            return result;
        }
        if (const HRESULT result = classes.Open(); FAILED(result)) {
            return result;
        }
        const RegistryScript entries(classes.Get(), script, path);
        if (const HRESULT result = entries.Register(); FAILED(result)) {
            return result;
        }
        if (const HRESULT result = LoadTypeLibEx(path.data(), REGKIND_NONE, &typeLib);
            FAILED(result)) {
            return result;
        }
        return RegisterTypeLib(typeLib.Get(), path.data(), nullptr);
    });
}

HRESULT Module::UnregisterServer() noexcept
{
    return Run([this] {
        std::string_view script;
        MachineClasses classes;
        if (const HRESULT result = FindScript(m_instance, script); FAILED(result)) {
            return result;
        }
        if (const HRESULT result = classes.Open(); FAILED(result)) {
            return result;
        }
        const HRESULT result = RegistryScript(classes.Get(), script, {}).Unregister();
        const auto& [libid, major, minor, lcid, iid] = m_typeLibrary;
        BSTR path = nullptr;
        const bool registered = SUCCEEDED(QueryPathOfRegTypeLib(libid, major, minor, lcid, &path));
        SysFreeString(path);
        const HRESULT typeLib =
            registered ? UnRegisterTypeLib(libid, major, minor, lcid, SYS_WIN64) : S_OK;
        return FAILED(result) ? result : typeLib;
    });
}

HRESULT Module::GetTypeInfo(ITypeInfo** typeInfo) noexcept
{
    return Run([this, typeInfo] {
        ITypeInfo* known = m_typeInfo.load();
        if (known == nullptr) {
            std::wstring path;
            ComPtr<ITypeLib> typeLib;
            ComPtr<ITypeInfo> loaded;
            const GUID& iid = m_typeLibrary.dispatchInterface;
            if (const HRESULT result = GetPath(path); FAILED(result)) {
                return result;
            }
            if (const HRESULT result = LoadTypeLibEx(path.data(), REGKIND_NONE, &typeLib);
                FAILED(result)) {
                return result;
            }
            if (const HRESULT result = typeLib->GetTypeInfoOfGuid(iid, &loaded); FAILED(result)) {
                return result;
            }
            // Another thread may have won the race; then its object is the one that is kept.
            if (m_typeInfo.compare_exchange_strong(known, loaded.Get())) {
                known = loaded.Detach();
            }
        }
        known->AddRef();
        *typeInfo = known;
        return S_OK;
    });
}

HRESULT Module::GetPath(std::wstring& path) const
{
    path.resize(0x8000);  // the longest possible path
    const auto size = static_cast<DWORD>(path.size());
    path.resize(GetModuleFileNameW(m_instance, path.data(), size));
    return path.empty() ? LastError() : S_OK;
}

}  // namespace comserver
