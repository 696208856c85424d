#include "Interface/BrowserCommands.h"

#include <windows.h>

#include <shellapi.h>

#include <cwchar>
#include <memory>
#include <string>

#include "basicslib/Exceptions.h"
#include "process/BrowserLocation.h"

namespace tvn
{
namespace
{

/// What the command line of a new browser is put together from.
struct Start
{
    const InitOptions& options;
    std::wstring_view args;
    std::wstring_view pipeUuid;
    std::wstring_view creatorUuid;
};

/// A start page with the arguments that tell the instance in the browser who has started it.
std::wstring StartUrl(std::wstring_view page, const Start& start)
{
    std::wstring url = L"\"";
    url += page;
    url += L"?authorizeAll=";
    url += start.options.authorizeAll ? L"true" : L"false";
    url += L"&pipeUuid=";
    url += start.pipeUuid;
    url += L"&creatorUuid=";
    url += start.creatorUuid;
    url += L" \"";
    return url;
}

ComString InternetExplorerPath(const InitOptions& /*options*/)
{
    return GetInternetExplorerPath();
}

std::wstring InternetExplorerCmdLine(const Start& start)
{
    const ComString folder = GetPathBasic();
    std::wstring page = L"about:blank";
    if (folder.length() > 0) {
        page = L"file:///";
        page += ToView(folder);
        page += L"\\Welcome_plugin.htm";
    }
    return L" " + StartUrl(page, start);
}

ComString FirefoxPath(const InitOptions& options)
{
    return GetFirefoxPath(ToNarrow(ToView(options.fxVersion)), ToNarrow(ToView(options.fxLocale)));
}

std::wstring FirefoxCmdLine(const Start& start)
{
    return L" -new-window " + StartUrl(L"about:blank", start);
}

ComString OwnBrowserPath(const InitOptions& /*options*/)
{
    return GetPathBasic() + L"\\talvern.exe";
}

std::wstring OwnBrowserCmdLine(const Start& start)
{
    std::wstring cmdLine(start.args);
    if (start.options.useRunner) {
        cmdLine += L" -authorizeAll";
    }
    cmdLine += L" /pipeUuid=";
    cmdLine += start.pipeUuid;
    cmdLine += L" /creatorUuid=";
    cmdLine += start.creatorUuid;
    return cmdLine;
}

struct Browser
{
    BrowserKind kind;
    const wchar_t* exeName;
    ComString (*path)(const InitOptions& options);
    std::wstring (*cmdLine)(const Start& start);
};

constexpr Browser kBrowsers[] = {
    {InternetExplorer, L"iexplore.exe", &InternetExplorerPath, &InternetExplorerCmdLine},
    {Firefox, L"firefox.exe", &FirefoxPath, &FirefoxCmdLine},
    {OwnBrowser, L"talvern.exe", &OwnBrowserPath, &OwnBrowserCmdLine},
};
static_assert(kBrowsers[InternetExplorer].kind == InternetExplorer &&
              kBrowsers[Firefox].kind == Firefox && kBrowsers[OwnBrowser].kind == OwnBrowser);

struct Option
{
    const wchar_t* name;
    bool takesValue;
    void (*apply)(InitOptions& options, const wchar_t* value);
};

constexpr Option kOptions[] = {
    {L"-ie", false,
     [](InitOptions& o, const wchar_t*) {
         o.browserKind = InternetExplorer;
     }},
    {L"-fx", false,
     [](InitOptions& o, const wchar_t*) {
         o.browserKind = Firefox;
     }},
    {L"-fxVersion", true,
     [](InitOptions& o, const wchar_t* value) {
         o.fxVersion = value;
     }},
    {L"-fxLocale", true,
     [](InitOptions& o, const wchar_t* value) {
         o.fxLocale = value;
     }},
    {L"-authorizeAll", false,
     [](InitOptions& o, const wchar_t*) {
         o.authorizeAll = true;
     }},
    {L"-runner", false,
     [](InitOptions& o, const wchar_t*) {
         o.useRunner = o.authorizeAll = true;
     }},
};

struct LocalDeleter
{
    void operator()(wchar_t** memory) const { LocalFree(memory); }
};

}  // namespace

void ParseCommandLine(const ComString& text, InitOptions& options)
{
    // The splitting rules treat the first argument as a program's name, and an empty line as this
    // process's own: a name in front makes all of the text arguments.
    std::wstring line = L"talvern ";
    line += ToView(text);
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalDeleter> owner(CommandLineToArgvW(line.c_str(), &count));
    if (!owner) {
        throw Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
    wchar_t** const arguments = owner.get();
    for (int index = 1; index < count; ++index) {
        const wchar_t* const argument = arguments[index];
        for (const Option& option : kOptions) {
            if (_wcsicmp(argument, option.name) != 0) {
                continue;
            }
            if (!option.takesValue) {
                option.apply(options, nullptr);
            } else if (index + 1 < count) {
                option.apply(options, arguments[++index]);
            }
            break;
        }
    }
}

ComString BrowserExeName(BrowserKind kind)
{
    return kBrowsers[kind].exeName;
}

ComString BrowserPath(const InitOptions& options)
{
    return kBrowsers[options.browserKind].path(options);
}

ComString BuildBrowserCmdLine(const InitOptions& options, const ComString& args,
                              const ComString& pipeUuid, const ComString& creatorUuid)
{
    return ToComString(kBrowsers[options.browserKind].cmdLine(
        {options, ToView(args), ToView(pipeUuid), ToView(creatorUuid)}));
}

}  // namespace tvn
