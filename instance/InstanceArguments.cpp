#include "instance/InstanceArguments.h"

#include <cwctype>
#include <string_view>

namespace instance
{
namespace
{

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

bool Holds(const std::wstring& commandLine, const wchar_t* text)
{
    return commandLine.find(text) != std::wstring::npos;
}

}  // namespace

InstanceArguments::InstanceArguments(const std::wstring& commandLine)
    : pipeUuid(LastIdentifier(commandLine, L"pipeUuid=")),
      creatorUuid(LastIdentifier(commandLine, L"creatorUuid=")),
      authorizeAll(Holds(commandLine, L" -authorizeAll") ||
                   Holds(commandLine, L"?authorizeAll=true&"))
{}

}  // namespace instance
