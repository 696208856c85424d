#pragma once

#include <windows.h>

#include "basicslib/ComString.h"

namespace tvn
{

/// What a process is opened with that is later to be named, waited for and ended.
constexpr DWORD kProcessAccess =
    SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | PROCESS_TERMINATE;

/// The file name, without folder, of the executable of a process that is open for query and memory
/// reading; an empty text when it cannot be told. Throws only when there is no memory.
ComString GetProcessFileName(HANDLE processHandle);

/// Whether that name equals `name`, letter case aside, by the ANSI code page.
bool HasProcessFileName(HANDLE processHandle, const ComString& name);

}  // namespace tvn
