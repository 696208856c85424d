#include "instance/InstanceArguments.h"

#include <windows.h>

#include <shellapi.h>

#include <cwctype>
#include <string_view>

#include "basicslib/ScopeExit.h"

namespace instance
{
namespace
{

constexpr std::wstring_view kPipeUuid = L"pipeUuid=";

/// The value behind the last `name`, up to the first character that an identifier does not have.
std::wstring LastIdentifier(const std::wstring& commandLine, std::wstring_view name)
{
    const std::size_t found = commandLine.rfind(name);
    if (found == std::wstring::npos) {
        return {};
    }
    const std::size_t start = found + name.size();
    std::size_t end = start;
    while (end < commandLine.size() && (std::iswalnum(commandLine[end]) ||
                                        commandLine[end] == L'_' || commandLine[end] == L'-')) {
        ++end;
    }
    return commandLine.substr(start, end - start);
}

/// Whether the client itself has put the option in front of its identifiers: a quote that the
/// script's text leaves open may hide that word, and a start page's URL has no words.
bool ClientAuthorizesAll(const std::wstring& commandLine)
{
    const std::wstring_view front =
        std::wstring_view(commandLine).substr(0, commandLine.rfind(kPipeUuid));
    return front.ends_with(L"?authorizeAll=true&") || front.ends_with(L" -authorizeAll /");
}

/// Whether `option` is one of the words, which the client splits and compares in this way too.
bool HasOption(const std::wstring& commandLine, const wchar_t* option)
{
    // The rules for the first word are others, and it need not be the program: see to it that it
    // is.
    int count = 0;
    wchar_t** const words = CommandLineToArgvW((L"talvern " + commandLine).c_str(), &count);
    const tvn::ScopeExit freed([words] { LocalFree(words); });
    for (int index = 1; words != nullptr && index < count; ++index) {
        if (_wcsicmp(words[index], option) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

InstanceArguments::InstanceArguments(const std::wstring& commandLine)
    : pipeUuid(LastIdentifier(commandLine, kPipeUuid)),
      creatorUuid(LastIdentifier(commandLine, L"creatorUuid=")),
      authorizeAll(ClientAuthorizesAll(commandLine) || HasOption(commandLine, L"-authorizeAll"))
{}

}  // namespace instance
