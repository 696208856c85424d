#pragma once

#include <windows.h>

#include <string>

namespace instance
{

/// Tells whoever started this instance with `pipeUuid` which window names its command pipe, within
/// `timeout` milliseconds. The command pipe must be served before this call. Throws an exception of
/// the PipeException family when the starter is no longer there.
void ReportToStarter(const std::wstring& pipeUuid, HWND window, DWORD timeout);

}  // namespace instance
