#pragma once

#include <windows.h>

#include <memory>

namespace comserver
{

struct RegistryKeyCloser
{
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};

/// The owner of an open registry key.
using RegistryKey = std::unique_ptr<HKEY__, RegistryKeyCloser>;

/// The result of a registry function as an HRESULT.
inline HRESULT ResultOf(LSTATUS status) noexcept
{
    return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
}

}  // namespace comserver
