#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace tests
{

/// This program's own entries stand in the place of some of the platform's imports, for the
/// statically linked product as well. They pass every call on unless a test sets something here.
struct ReplacedImports
{
    DWORD tickOffset = 0;            ///< added to GetTickCount
    bool failCreateEvent = false;    ///< with ERROR_NO_SYSTEM_RESOURCES
    bool failModulePath = false;     ///< GetModuleFileNameW, with ERROR_ACCESS_DENIED
    std::wstring failRegistryValue;  ///< RegSetValueExW with this value fails the same way
    bool logonSucceeds = false;

    std::string newPipe;  ///< the arguments of the last CreateNamedPipeA but for the name

    /// The arguments of CreateProcessWithLogonW, texts and numbers alike as texts.
    std::vector<std::wstring> logon;
};

extern ReplacedImports g_imports;

}  // namespace tests
