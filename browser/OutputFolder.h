#pragma once

#include <string>
#include <vector>

namespace browser
{

/// The folders in which what macros make may lie, the first choice first: "Output" beside the
/// program and, for users who may not write there, the one among their own data.
std::vector<std::wstring> OutputFolders();

/// Makes a fresh folder for the downloads of one instance below the first of them that can be
/// written, and gives its path. Throws BrowserError.
std::wstring NewDownloadFolder();

}  // namespace browser
