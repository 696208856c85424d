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

}  // namespace comserver
