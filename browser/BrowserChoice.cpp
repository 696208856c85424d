#include "browser/BrowserChoice.h"

#include <windows.h>

#include "basicslib/ComString.h"
#include "browser/BrowserError.h"
#include "browser/FileNames.h"
#include "browser/Utf8.h"
#include "process/BrowserLocation.h"
#include "process/RegistryReading.h"

namespace browser
{
namespace
{

constexpr const wchar_t* kAppPaths = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";

std::wstring EnvironmentVariable(const wchar_t* name)
{
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

/// What an administrator has set for all users, with the environment's variables in it replaced.
std::wstring Setting(const char* name)
{
    const std::string text = tvn::ToNarrow(tvn::ToView(tvn::ReadProductSetting(name)));
    const tvn::ComString expanded = tvn::ToComString(tvn::ExpandEnvironment(text));
    return std::wstring(tvn::ToView(expanded));
}

std::wstring WithoutQuotes(const std::wstring& path)
{
    return path.size() >= 2 && path.front() == L'"' ? path.substr(1, path.size() - 2) : path;
}

std::wstring AppPath(const wchar_t* program)
{
    const std::wstring key = kAppPaths + std::wstring(program);
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        wchar_t path[MAX_PATH] = L"";
        DWORD size = sizeof path;
        if (RegGetValueW(root, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, path, &size) ==
            ERROR_SUCCESS) {
            return WithoutQuotes(path);
        }
    }
    return {};
}

std::wstring FirstOf(std::initializer_list<std::wstring> texts)
{
    for (const std::wstring& text : texts) {
        if (!text.empty()) {
            return text;
        }
    }
    return {};
}

}  // namespace

BrowserChoice ChooseBrowser(const Options& options)
{
    struct Place
    {
        const char* name;
        std::wstring program;
        bool isSomebodysWish;  ///< chosen by a person, who does not want another one
    };
    const Place places[] = {
        {"the command line's --browser", options.browser, true},
        {"the value \"Browser\" of HKEY_LOCAL_MACHINE\\SOFTWARE\\Talvern (32-bit view)",
         Setting("Browser"), true},
        {"the environment variable TALVERN_BROWSER", EnvironmentVariable(L"TALVERN_BROWSER"), true},
        {"the App Paths of msedge.exe", AppPath(L"msedge.exe"), false},
        {"the App Paths of chrome.exe", AppPath(L"chrome.exe"), false},
        {"the App Paths of chromium.exe", AppPath(L"chromium.exe"), false},
    };
    std::string report = "There is no browser to drive. Looked for in:";
    for (const Place& place : places) {
        const std::wstring program = WithoutQuotes(place.program);
        if (!program.empty() && !IsFile(program) && place.isSomebodysWish) {
            throw BrowserError(std::string("There is no such browser: ") + ToUtf8(program) +
                               ", as " + place.name + " has it.");
        }
        if (IsFile(program)) {
            return {program, FirstOf({options.browserArguments, Setting("BrowserArguments"),
                                      EnvironmentVariable(L"TALVERN_BROWSER_ARGUMENTS")})};
        }
        report += std::string(" ") + place.name;
        report += program.empty() ? " (not set);" : " (no such file: " + ToUtf8(program) + ");";
    }
    throw BrowserError(report + " install one of them, or set one of the first three to its path.");
}

}  // namespace browser
