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

/// Ends a browser of the machine below by force: the processes `pids`, its main one first, and all
/// others of the group that this one leads. If no process is known, the browser is the one whose
/// command line names the folder `profile`. Then the folder goes, too, if `removes`, with what only
/// that machine can see: links that lead nowhere, which a browser leaves behind when it is ended by
/// force. Does not wait for any of this; such a process has no handle here. Does nothing on
/// Windows.
void EndOnHost(const std::vector<unsigned long>& pids, const std::wstring& profile, bool removes);

/// Whether the process with this id of the machine below still runs.
bool RunsOnHost(unsigned long pid);

}  // namespace browser
