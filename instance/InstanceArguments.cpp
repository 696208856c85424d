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

/// The value after the last `name`, up to the first character that cannot be part of an identifier.
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

/// Whether the client itself has put the option in front of its identifiers. `HasOption` can miss
/// it: an unclosed quote in the script's text may hide the word, and a start page's URL has no
/// words.
bool ClientAuthorizesAll(const std::wstring& commandLine)
{
    const std::wstring_view front =
        std::wstring_view(commandLine).substr(0, commandLine.rfind(kPipeUuid));
    return front.ends_with(L"?authorizeAll=true&") || front.ends_with(L" -authorizeAll /");
}

/// Whether `option` is one of the words; the client splits and compares them in the same way.
bool HasOption(const std::wstring& commandLine, const wchar_t* option)
{
    // The first word is split by other rules and need not be the program: put a program name in
    // front.
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
