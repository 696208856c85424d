#include "browser/FileNames.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <string_view>

namespace browser
{

std::wstring ProgramFolder()
{
    constexpr DWORD kLongestPath = 32768;  // of those that the system has
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), kLongestPath));
    return path.substr(0, path.rfind(L'\\'));
}

bool IsFile(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsFileName(const std::wstring& name)
{
    constexpr std::size_t kLongest = 200;
    constexpr const wchar_t* kDevices[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};

    if (name.empty() || name.size() > kLongest || name.back() == L'.' || name.back() == L' ' ||
        name.find_first_of(L"<>:\"/\\|?*") != std::wstring::npos ||
        std::any_of(name.begin(), name.end(), [](wchar_t one) { return one < L' '; })) {
        return false;
    }
    std::wstring stem = name.substr(0, name.find(L'.'));
    stem.erase(stem.find_last_not_of(L' ') + 1);
    std::transform(stem.begin(), stem.end(), stem.begin(), std::towupper);
    const bool numbered =
        stem.size() == 4 && (stem.rfind(L"COM", 0) == 0 || stem.rfind(L"LPT", 0) == 0) &&
        std::wstring_view(L"0123456789\xB9\xB2\xB3").find(stem[3]) != std::wstring_view::npos;
    return !numbered &&
           std::find(std::begin(kDevices), std::end(kDevices), stem) == std::end(kDevices);
}

}  // namespace browser
