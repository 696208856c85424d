#pragma once

#include <string>

namespace browser
{

/// The folder of this program, without a separator at its end.
std::wstring ProgramFolder();

/// Whether there is a file, and no folder, at `path`.
bool IsFile(const std::wstring& path);

/// Whether `name` is one that a file may have: no path, no device, nothing that Windows reads as
/// another name.
bool IsFileName(const std::wstring& name);

}  // namespace browser
