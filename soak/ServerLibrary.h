#pragma once

#include <windows.h>

#include <wrl/client.h>
#include <string>

namespace soak
{

/// The delivered DLL, loaded while this object lives. Throws std::runtime_error when it is not
/// beside this program or in the folder above, or does not do what such a library does.
class ServerLibrary
{
  public:
    ServerLibrary();
    ~ServerLibrary();
    ServerLibrary(const ServerLibrary&) = delete;
    ServerLibrary& operator=(const ServerLibrary&) = delete;

    /// A new reference to the class factory of the scripting object.
    Microsoft::WRL::ComPtr<IClassFactory> Factory() const;

    /// What DllCanUnloadNow says.
    HRESULT CanUnloadNow() const;

  private:
    HMODULE m_library;
};

}  // namespace soak
