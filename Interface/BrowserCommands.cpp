#include "Interface/BrowserCommands.h"

#include <windows.h>

#include <shellapi.h>

#include <cwchar>
#include <initializer_list>
#include <string>

#include "basicslib/Exceptions.h"
#include "basicslib/ScopeExit.h"
#include "process/BrowserLocation.h"

namespace tvn
{
namespace
{

ComString Join(std::initializer_list<std::wstring_view> pieces)
{
    std::wstring text;
    for (const std::wstring_view piece : pieces) {
        text += piece;
    }
    return ToComString(text);
}

}  // namespace

void ParseCommandLine(const ComString& text, InitOptions& options)
{
    // CommandLineToArgvW takes the first word as the program's name, and an empty line as this
    // process's own name: with a name put in front, all of the text is arguments.
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(L"talvern " + text, &count);
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
    switch (kind) {
        case InternetExplorer:
            return L"iexplore.exe";
        case Firefox:
            return L"firefox.exe";
        case OwnBrowser:
            return L"talvern.exe";
    }
    return L"";
}

ComString BrowserPath(const InitOptions& options)
{
    switch (options.browserKind) {
        case InternetExplorer:
            return GetInternetExplorerPath();
        case Firefox:
            return GetFirefoxPath(ToNarrow(ToView(options.fxVersion)),
                                  ToNarrow(ToView(options.fxLocale)));
        case OwnBrowser:
            return GetPathBasic() + L"\\talvern.exe";
    }
    return {};
}

ComString BuildBrowserCmdLine(const InitOptions& options, const ComString& args,
                              const ComString& pipeUuid, const ComString& creatorUuid)
{
    const auto open = [&](std::wstring_view option, std::wstring_view page) {
        return Join({option, L" \"", page, L"?authorizeAll=",
                     options.authorizeAll ? L"true" : L"false", L"&pipeUuid=", ToView(pipeUuid),
                     L"&creatorUuid=", ToView(creatorUuid), L" \""});
    };
    switch (options.browserKind) {
        case InternetExplorer: {
            const ComString folder = GetPathBasic();
            const ComString page = L"file:///" + folder + L"\\Welcome_plugin.htm";
            return open(L"", folder.length() > 0 ? ToView(page) : L"about:blank");
        }
        case Firefox:
            return open(L" -new-window", L"about:blank");
        case OwnBrowser:
            return Join({ToView(args), options.useRunner ? L" -authorizeAll" : L"", L" /pipeUuid=",
                         ToView(pipeUuid), L" /creatorUuid=", ToView(creatorUuid)});
    }
    return L"";
}

}  // namespace tvn
