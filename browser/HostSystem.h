#pragma once

#include <windows.h>

#include <string>

#include "browser/Link.h"

namespace browser
{

/// Whether `program` is one of the machine below Wine rather than a Windows program. Windows has
/// nothing like that.
bool IsHostProgram(const std::wstring& program);

/// `path` as the machine below knows it.
std::wstring HostPath(const std::wstring& path);

/// Starts a browser of the machine below, as the leader of a group of processes. `commandLine`
/// names the program and its files as that machine does. What it prints goes into the file
/// output.txt of its `profile`. There is no handle of such a process. False when it cannot be
/// started.
bool StartOnHost(const std::wstring& profile, const std::wstring& commandLine);

/// Opens the pipes of that browser, which begins to run then. Nobody else can open them: they
/// belong to this user's account and are without names from then on. Empty as long as they are not
/// there.
Pipes OpenHostPipes(const std::wstring& profile);

/// Ends by force whatever runs on `profile` on the machine below, and removes that folder if
/// `removes`, with what only that machine can see: links that lead nowhere, which a browser leaves
/// behind when it is ended by force. Does not wait for it. Does nothing on Windows.
void EndOnHost(const std::wstring& profile, bool removes);

/// Whether the browser that was started on `profile` has ended, by itself or by force.
bool HasEndedOnHost(const std::wstring& profile);

}  // namespace browser
