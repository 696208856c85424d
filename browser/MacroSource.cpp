#include "browser/MacroSource.h"

#include <windows.h>

#include <algorithm>
#include <cwctype>
#include <fstream>
#include <string_view>

#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/UserFolder.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

/// Words alone do nothing as JavaScript, so such a text is meant as a name.
bool IsNoMoreThanWords(const std::wstring& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](wchar_t one) {
        return std::iswalnum(one) || one == L' ' || one == L'-' || one == L'_' || one == L'.';
    });
}

bool IsUtf8(const std::string& text)
{
    return text.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                               static_cast<int>(text.size()), nullptr, 0) > 0;
}

std::string ReadMacro(const std::wstring& path)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    constexpr std::streamsize kLongest = std::streamsize{16} << 20;

    std::ifstream file(path.c_str(), std::ios::binary);
    std::string text(static_cast<std::size_t>(kLongest) + 1, '\0');
    if (!file) {
        throw MacroError("The macro " + ToUtf8(path) + " cannot be read.");
    }
    file.read(text.data(), kLongest + 1);
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (file.bad() || text.size() > static_cast<std::size_t>(kLongest)) {
        throw MacroError("The macro " + ToUtf8(path) + " is too long.");
    }
    // Text in 16-bit characters has zero bytes, which are valid but mean nothing in a macro.
    if (!IsUtf8(text) || text.find('\0') != std::string::npos) {
        throw MacroError("The macro " + ToUtf8(path) +
                         " is not in UTF-8; save it in that encoding.");
    }
    return text.rfind(kByteOrderMark, 0) == 0 ? text.substr(kByteOrderMark.size()) : text;
}

}  // namespace

std::string MacroSource(const std::wstring& text)
{
    if (!IsFileName(text) && !IsNoMoreThanWords(text)) {
        return ToUtf8(text);
    }
    const std::wstring folders[] = {UserFolder() + L"\\Macros", ProgramFolder() + L"\\Macros"};
    for (const std::wstring& folder : folders) {
        for (const std::wstring& name : {text, text + L".js"}) {
            const std::wstring path = folder + L"\\" + name;
            if (IsFileName(name) && IsFile(path)) {
                return ReadMacro(path);
            }
        }
    }
    if (IsNoMoreThanWords(text)) {
        throw MacroError("There is no macro \"" + ToUtf8(text) + "\" in " + ToUtf8(folders[0]) +
                         " or " + ToUtf8(folders[1]));
    }
    return ToUtf8(text);
}

}  // namespace browser
