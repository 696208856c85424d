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

#ifdef _WIN64
constexpr SYSKIND kSysKind = SYS_WIN64;
#else
constexpr SYSKIND kSysKind = SYS_WIN32;
#endif

HRESULT LastError() noexcept
{
    return HRESULT_FROM_WIN32(GetLastError());
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

}  // namespace

void Module::Init(HINSTANCE instance) noexcept
{
    m_instance = instance;
}

void Module::Term() noexcept
{
    ITypeInfo* typeInfo = m_typeInfo.exchange(nullptr);
    if (typeInfo != nullptr) {
        typeInfo->Release();
    }
}

HRESULT Module::CanUnloadNow() const noexcept
{
    return m_locks == 0 ? S_OK : S_FALSE;
}

HRESULT Module::GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept
{
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    const ClassEntry* const end = m_classes + m_classCount;
    const ClassEntry* const entry = std::find_if(
        m_classes, end, [&](const ClassEntry& each) { return IsEqualCLSID(clsid, each.clsid); });
    if (entry == end) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    const ComPtr<ClassFactory> factory(new (std::nothrow) ClassFactory(*this, *entry));
    if (!factory) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = factory->QueryInterface(iid, object);
    if (SUCCEEDED(result)) {
        StayLoaded();
    }
    return result;
}

void Module::StayLoaded() noexcept
{
    if (m_pinned.exchange(true)) {
        return;
    }
    HMODULE module = nullptr;
    m_pinned =
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<LPCWSTR>(m_instance), &module) != FALSE;
}

/// The steps below build texts; running out of memory ends as an HRESULT like every other failure.
template <class Step>
HRESULT Module::Guarded(Step step) noexcept
{
    try {
        return step();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT Module::RegisterServer() noexcept
{
    return Guarded([this] {
        std::wstring path;
        HRESULT result = GetPath(path);
        if (FAILED(result)) {
            return result;
        }
        std::string_view text;
        result = FindScript(m_instance, text);
        if (FAILED(result)) {
            return result;
        }
        MachineClasses classes;
        result = classes.Open();
        if (FAILED(result)) {
            return result;
        }
        result = RegistryScript(classes.Get(), text, path).Register();
        if (FAILED(result)) {
            return result;
        }
        ComPtr<ITypeLib> typeLib;
        result = LoadOwnTypeLib(path, typeLib.GetAddressOf());
        if (FAILED(result)) {
            return result;
        }
        return RegisterTypeLib(typeLib.Get(), path.data(), nullptr);
    });
}

HRESULT Module::UnregisterServer() noexcept
{
    return Guarded([this] {
        std::string_view text;
        HRESULT result = FindScript(m_instance, text);
        if (FAILED(result)) {
            return result;
        }
        MachineClasses classes;
        result = classes.Open();
        if (FAILED(result)) {
            return result;
        }
        result = RegistryScript(classes.Get(), text, std::wstring_view()).Unregister();
        const HRESULT typeLibResult = UnregisterOwnTypeLib();
        return FAILED(result) ? result : typeLibResult;
    });
}

HRESULT Module::UnregisterOwnTypeLib() const
{
    BSTR path = nullptr;
    if (FAILED(QueryPathOfRegTypeLib(m_typeLibrary.libid, m_typeLibrary.major, m_typeLibrary.minor,
                                     m_typeLibrary.lcid, &path))) {
        return S_OK;  // not registered
    }
    SysFreeString(path);
    return UnRegisterTypeLib(m_typeLibrary.libid, m_typeLibrary.major, m_typeLibrary.minor,
                             m_typeLibrary.lcid, kSysKind);
}

HRESULT Module::GetTypeInfo(ITypeInfo** typeInfo) noexcept
{
    ITypeInfo* known = m_typeInfo.load();
    if (known == nullptr) {
        ComPtr<ITypeInfo> loaded;
        const HRESULT result = LoadTypeInfo(loaded.GetAddressOf());
        if (FAILED(result)) {
            return result;
        }
        // Another thread may have been first; then its object is the one that is kept.
        if (m_typeInfo.compare_exchange_strong(known, loaded.Get())) {
            known = loaded.Detach();
        }
    }
    known->AddRef();
    *typeInfo = known;
    return S_OK;
}

HRESULT Module::LoadTypeInfo(ITypeInfo** typeInfo) const noexcept
{
    return Guarded([this, typeInfo] {
        std::wstring path;
        HRESULT result = GetPath(path);
        if (FAILED(result)) {
            return result;
        }
        ComPtr<ITypeLib> typeLib;
        result = LoadOwnTypeLib(path, typeLib.GetAddressOf());
        if (FAILED(result)) {
            return result;
        }
        return typeLib->GetTypeInfoOfGuid(m_typeLibrary.dispatchInterface, typeInfo);
    });
}

HRESULT Module::GetPath(std::wstring& path) const
{
    constexpr std::size_t kLongestPath = 0x8000;
    for (std::size_t size = MAX_PATH; size < 2 * kLongestPath; size *= 2) {
        path.resize(size);
        const DWORD length = GetModuleFileNameW(m_instance, path.data(), static_cast<DWORD>(size));
        if (length == 0) {
            return LastError();
        }
        if (length < size) {
            path.resize(length);
            return S_OK;
        }
    }
    return HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
}

HRESULT Module::LoadOwnTypeLib(const std::wstring& path, ITypeLib** typeLib) const
{
    return LoadTypeLibEx(path.c_str(), REGKIND_NONE, typeLib);
}

}  // namespace comserver
