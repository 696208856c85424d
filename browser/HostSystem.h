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

/// Ends processes of the machine below by force and removes a folder, unless its path is an empty
/// text, with what only that machine can see: links that lead nowhere, which a browser leaves
/// behind when it is ended by force. Does not wait for it; such a process has no handle here. Does
/// nothing on Windows.
void EndOnHost(const std::vector<unsigned long>& pids, const std::wstring& folder);

/// Whether the process with this id of the machine below still runs.
bool RunsOnHost(unsigned long pid);

}  // namespace browser
