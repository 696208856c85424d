#pragma once

#include <windows.h>

#include "basicslib/ComString.h"

namespace tvn
{

/// Access rights for a process whose name is read, and which is waited for and ended.
constexpr DWORD kProcessAccess =
    SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | PROCESS_TERMINATE;

/// The file name, without folder, of the executable of a process that is open for query and memory
/// reading; an empty text when it cannot be determined. Throws only when there is no memory.
ComString GetProcessFileName(HANDLE processHandle);

/// Whether that name equals `name`, ignoring case, in the ANSI code page.
bool HasProcessFileName(HANDLE processHandle, const ComString& name);

}  // namespace tvn
