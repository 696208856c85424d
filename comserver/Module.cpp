#include "comserver/Module.h"

#include <comdef.h>
#include <wrl/client.h>

#include <algorithm>
#include <new>
#include <string_view>

#include "comserver/ClassFactory.h"
#include "comserver/MachineClasses.h"
#include "comserver/RegistryScript.h"

namespace comserver
{

using _com_util::CheckError;
using Microsoft::WRL::ComPtr;

namespace
{

constexpr WORD kRegistryScriptId = 101;
constexpr const wchar_t* kRegistryScriptType = L"REGISTRY";

[[noreturn]] void ThrowLastError()
{
    throw _com_error(HRESULT_FROM_WIN32(GetLastError()));
}

/// The script in the server's resources; resources stay in memory as long as the server does.
std::string_view FindScript(HINSTANCE instance)
{
    HRSRC resource =
        FindResourceW(instance, MAKEINTRESOURCEW(kRegistryScriptId), kRegistryScriptType);
    HGLOBAL loaded = resource == nullptr ? nullptr : LoadResource(instance, resource);
    const void* bytes = loaded == nullptr ? nullptr : LockResource(loaded);
    if (bytes == nullptr) {
        ThrowLastError();
    }
    return {static_cast<const char*>(bytes), SizeofResource(instance, resource)};
}

ComPtr<ITypeLib> LoadTypeLibOf(const std::wstring& path)
{
    ComPtr<ITypeLib> typeLib;
    CheckError(LoadTypeLibEx(path.c_str(), REGKIND_NONE, typeLib.GetAddressOf()));
    return typeLib;
}

/// Runs steps that throw at the first failure, and returns that failure.
template <class Steps>
HRESULT Run(Steps steps) noexcept
{
    try {
        steps();
        return S_OK;
    } catch (const _com_error& error) {
        return error.Error();
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

HRESULT Module::RegisterServer() noexcept
{
    return Run([this] {
        std::wstring path = GetPath();
        const std::string_view script = FindScript(m_instance);
        const MachineClasses classes;
        CheckError(RegistryScript(classes.Get(), script, path).Register());
        CheckError(RegisterTypeLib(LoadTypeLibOf(path).Get(), path.data(), nullptr));
    });
}

HRESULT Module::UnregisterServer() noexcept
{
    return Run([this] {
        const std::string_view script = FindScript(m_instance);
        const MachineClasses classes;
        const HRESULT keys = RegistryScript(classes.Get(), script, {}).Unregister();
        const auto& [libid, major, minor, lcid, iid] = m_typeLibrary;
        BSTR path = nullptr;
        const bool registered = SUCCEEDED(QueryPathOfRegTypeLib(libid, major, minor, lcid, &path));
        SysFreeString(path);
        const HRESULT typeLib =
            registered ? UnRegisterTypeLib(libid, major, minor, lcid, SYS_WIN64) : S_OK;
        CheckError(keys);
        CheckError(typeLib);
    });
}

HRESULT Module::GetTypeInfo(ITypeInfo** typeInfo) noexcept
{
    return Run([this, typeInfo] {
        ITypeInfo* known = m_typeInfo.load();
        if (known == nullptr) {
            ComPtr<ITypeInfo> loaded;
            CheckError(LoadTypeLibOf(GetPath())->GetTypeInfoOfGuid(m_typeLibrary.dispatchInterface,
                                                                   loaded.GetAddressOf()));
            // Another thread may have been first; then its object is the one that is kept.
            if (m_typeInfo.compare_exchange_strong(known, loaded.Get())) {
                known = loaded.Detach();
            }
        }
        known->AddRef();
        *typeInfo = known;
    });
}

std::wstring Module::GetPath() const
{
    std::wstring path(0x8000, L'\0');  // the longest that there is
    const auto size = static_cast<DWORD>(path.size());
    const DWORD length = GetModuleFileNameW(m_instance, path.data(), size);
    if (length == 0) {
        ThrowLastError();
    }
    path.resize(length);
    return path;
}

}  // namespace comserver
