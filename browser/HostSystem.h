#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace browser
{

/// Whether `program` is one of the machine below Wine rather than a Windows program. Windows has
/// nothing like that.
bool IsHostProgram(const std::wstring& program);

/// `path` as the machine below knows it.
std::wstring HostPath(const std::wstring& path);

/// Removes a folder with what only the machine below can see: links that lead nowhere, which a
/// browser leaves behind when it is ended by force. Does not wait for it. False where there is no
/// such machine, as on Windows.
bool RemoveOnHost(const std::wstring& folder);

/// Ends processes of the machine below by force.
void KillOnHost(const std::vector<unsigned long>& pids);

/// Whether the process with this id of the machine below still runs.
bool RunsOnHost(unsigned long pid);

}  // namespace browser
