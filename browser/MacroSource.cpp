#include "browser/MacroSource.h"

#include <algorithm>
#include <cwctype>
#include <fstream>
#include <sstream>

#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/Utf8.h"

namespace browser
{
namespace
{

/// Words alone do nothing in JavaScript, so somebody means a name.
bool IsNoMoreThanWords(const std::wstring& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](wchar_t one) {
        return std::iswalnum(one) || one == L' ' || one == L'-' || one == L'_' || one == L'.';
    });
}

std::string ReadMacro(const std::wstring& path)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

    std::ifstream file(path.c_str(), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    if (!file) {
        throw MacroError("The macro " + ToUtf8(path) + " cannot be read.");
    }
    const std::string text = content.str();
    return text.rfind(kByteOrderMark, 0) == 0 ? text.substr(kByteOrderMark.size()) : text;
}

}  // namespace

std::string MacroSource(const std::wstring& text)
{
    const std::wstring folder = ProgramFolder() + L"\\Macros";
    if (IsFileName(text)) {
        for (const std::wstring& name : {text, text + L".js"}) {
            const std::wstring path = folder + L"\\" + name;
            if (IsFile(path)) {
                return ReadMacro(path);
            }
        }
    }
    if (IsNoMoreThanWords(text)) {
        throw MacroError("There is no macro \"" + ToUtf8(text) + "\" in " + ToUtf8(folder));
    }
    return ToUtf8(text);
}

}  // namespace browser
