#include "browser/OutputFolder.h"

#include <windows.h>

#include <cwchar>
#include <filesystem>
#include <system_error>

#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/UserFolder.h"
#include "browser/Utf8.h"

namespace browser
{

std::vector<std::wstring> OutputFolders()
{
    return {ProgramFolder() + L"\\Output", UserFolder() + L"\\Output"};
}

std::wstring NewDownloadFolder()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    wchar_t name[80];
    std::swprintf(name, std::size(name), L"\\Downloads\\%04u-%02u-%02u %02u.%02u.%02u %lu",
                  now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond,
                  static_cast<unsigned long>(GetCurrentProcessId()));
    for (const std::wstring& folder : OutputFolders()) {
        std::error_code error;
        if (std::filesystem::create_directories(folder + name, error)) {
            return folder + name;
        }
    }
    throw BrowserError("No folder for downloads can be made below " +
                       ToUtf8(OutputFolders().back()) + "; can this account write there?");
}

}  // namespace browser
