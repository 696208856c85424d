// The platform's functions, which tests let fail, or whose arguments they look at.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>

namespace tvn::tests
{

/// This program's own entries stand in the place of some of the platform's imports, for the
/// statically linked product as well. They pass every call on unless a test sets something here.
struct ReplacedImports
{
    DWORD tickOffset = 0;             ///< added to GetTickCount
    std::atomic<DWORD> lastWait = 0;  ///< the milliseconds of the last MsgWaitForMultipleObjectsEx
    bool failCreateEvent = false;     ///< with ERROR_NO_SYSTEM_RESOURCES
    bool logonSucceeds = false;       ///< CreateProcessWithLogonW gives a process with the id 4711
    std::wstring logon;               ///< its last arguments, divided by bars
};

extern ReplacedImports g_imports;

}  // namespace tvn::tests
