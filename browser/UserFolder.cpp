#include "browser/UserFolder.h"

#include <windows.h>

#include <shlobj.h>

#include "browser/BrowserError.h"

namespace browser
{

const std::wstring& UserFolder()
{
    static const std::wstring folder = [] {
        wchar_t path[MAX_PATH] = L"";
        if (FAILED(SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path))) {
            throw BrowserError(
                "Windows names no folder for local data of this user, where profiles are kept.");
        }
        return std::wstring(path) + L"\\Talvern";
    }();
    return folder;
}

}  // namespace browser
