#pragma once

#include <windows.h>

#include <string>

namespace instance
{

/// Tells whoever started this instance with `pipeUuid` which window names its command pipe, within
/// `timeout` milliseconds. The pipe has to be served before. Throws an exception of the
/// PipeException family when the starter is no longer there.
void ReportToStarter(const std::wstring& pipeUuid, HWND window, DWORD timeout);

}  // namespace instance
