#include "browser/UserFolder.h"

#include <windows.h>

#include <shlobj.h>

#include "browser/BrowserError.h"

namespace browser
{

std::wstring UserFolder()
{
    wchar_t path[MAX_PATH] = L"";
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path))) {
        throw BrowserError("There is no folder for the user's own data.");
    }
    return std::wstring(path) + L"\\Talvern";
}

}  // namespace browser
