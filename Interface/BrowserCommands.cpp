#include "Interface/BrowserCommands.h"

#include <windows.h>

#include <shellapi.h>

#include <cwchar>
#include <initializer_list>
#include <string>
#include <string_view>

#include "basicslib/Exceptions.h"
#include "basicslib/ScopeExit.h"
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

std::wstring Join(std::initializer_list<std::wstring_view> pieces)
{
    std::wstring text;
    for (const std::wstring_view piece : pieces) {
        text += piece;
    }
    return text;
}

/// A start page with the arguments that tell the instance in the browser who has started it.
std::wstring StartUrl(std::wstring_view page, const Start& start)
{
    return Join({L"\"", page, L"?authorizeAll=", start.options.authorizeAll ? L"true" : L"false",
                 L"&pipeUuid=", start.pipeUuid, L"&creatorUuid=", start.creatorUuid, L" \""});
}

ComString InternetExplorerPath(const InitOptions& /*options*/)
{
    return GetInternetExplorerPath();
}

std::wstring InternetExplorerCmdLine(const Start& start)
{
    const ComString folder = GetPathBasic();
    const std::wstring page = Join({L"file:///", ToView(folder), L"\\Welcome_plugin.htm"});
    return L" " + StartUrl(folder.length() > 0 ? page : L"about:blank", start);
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
    return Join({start.args, start.options.useRunner ? L" -authorizeAll" : L"", L" /pipeUuid=",
                 start.pipeUuid, L" /creatorUuid=", start.creatorUuid});
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

}  // namespace

void ParseCommandLine(const ComString& text, InitOptions& options)
{
    // The splitting rules treat the first argument as a program's name, and an empty line as this
    // process's own: a name in front makes all of the text arguments.
    const std::wstring line = Join({L"talvern ", ToView(text)});
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(line.c_str(), &count);
    const ScopeExit freed([arguments] { LocalFree(arguments); });
    if (arguments == nullptr) {
        throw Win32Exception(GetLastError(), __FILE__, __LINE__);
    }
    for (int index = 1; index < count; ++index) {
        const auto is = [argument = arguments[index]](const wchar_t* option) {
            return _wcsicmp(argument, option) == 0;
        };
        const auto takeValue = [&](ComString& value) {
            if (index + 1 < count) {
                value = arguments[++index];
            }
        };
        if (is(L"-ie")) {
            options.browserKind = InternetExplorer;
        } else if (is(L"-fx")) {
            options.browserKind = Firefox;
        } else if (is(L"-fxVersion")) {
            takeValue(options.fxVersion);
        } else if (is(L"-fxLocale")) {
            takeValue(options.fxLocale);
        } else if (is(L"-authorizeAll")) {
            options.authorizeAll = true;
        } else if (is(L"-runner")) {
            options.useRunner = options.authorizeAll = true;
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
