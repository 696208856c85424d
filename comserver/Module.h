#pragma once

#include <windows.h>

#include <atomic>
#include <span>
#include <string>

#include <oaidl.h>

namespace comserver
{

class Module;

/// One class that the server offers. Entries are static and outlive the module.
struct ClassEntry
{
    const CLSID& clsid;

    /// Makes an object, aggregated by `outer` when that is not null, and returns its interface
    /// `iid`.
    HRESULT (*create)(Module& module, IUnknown* outer, REFIID iid, void** object);
};

/// The identity of the type library that is embedded in the server.
struct TypeLibraryId
{
    const GUID& libid;
    WORD major;
    WORD minor;
    LCID lcid;

    /// The dual interface that the server's classes offer for automation.
    const IID& dispatchInterface;
};

/// An in-process COM server: what its exports and its objects share. One static object for each
/// DLL. Every operation but `Init` and `Term` may be called from any thread.
class Module
{
  public:
    Module(std::span<const ClassEntry> classes, const TypeLibraryId& typeLibrary) noexcept
        : m_classes(classes), m_typeLibrary(typeLibrary)
    {}

    /// To be called when the DLL is loaded; `instance` is the DLL's own handle.
    void Init(HINSTANCE instance) noexcept { m_instance = instance; }

    /// To be called when the DLL is unloaded, not when the process ends: what the module holds may
    /// then be unloaded before it.
    void Term() noexcept;

    /// Counts objects, class factories and server locks.
    void Lock() noexcept { ++m_locks; }
    void Unlock() noexcept { --m_locks; }

    /// S_OK when nothing is counted, else S_FALSE. A server that has served a class object stays
    /// loaded all the same, see `GetClassObject`.
    HRESULT CanUnloadNow() const noexcept { return m_locks == 0 ? S_OK : S_FALSE; }

    /// Returns the interface `iid` of the class factory of `clsid`, or CLASS_E_CLASSNOTAVAILABLE.
    ///
    /// The first success keeps the server in the process for good: the C++ runtime inside it frees
    /// neither its memory for exceptions nor its thread-local storage index when it is unloaded, so
    /// a client that loads and unloads it over and over would run out of both.
    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept;

    /// Applies the registry script (resource "REGISTRY", 101) and registers the embedded type
    /// library for all users. Stops at the first failure and returns its HRESULT.
    HRESULT RegisterServer() noexcept;

    /// Undoes `RegisterServer`; entries that do not exist are no failure. Once the classes are open
    /// for writing, it continues after a failure and returns the HRESULT of the first one.
    HRESULT UnregisterServer() noexcept;

    /// Returns the type information of the dual interface, referenced for the caller. It is read
    /// from the embedded library on first need and kept until `Term`.
    HRESULT GetTypeInfo(ITypeInfo** typeInfo) noexcept;

  private:
    HRESULT GetPath(std::wstring& path) const;

    std::span<const ClassEntry> m_classes;
    TypeLibraryId m_typeLibrary;
    HINSTANCE m_instance = nullptr;
    std::atomic<long> m_locks{0};
    std::atomic<ITypeInfo*> m_typeInfo{nullptr};
};

}  // namespace comserver
