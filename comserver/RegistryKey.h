#pragma once

#include <windows.h>

namespace comserver
{

/// The owner of an open registry key.
class RegistryKey
{
  public:
    RegistryKey() noexcept = default;
    ~RegistryKey()
    {
        if (m_key != nullptr) {
            RegCloseKey(m_key);
        }
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    HKEY Get() const noexcept { return m_key; }

    /// For a function that opens a key; the object must hold none.
    HKEY* Receive() noexcept { return &m_key; }

  private:
    HKEY m_key = nullptr;
};

}  // namespace comserver
