#include "Interface/PlayTexts.h"

#include <algorithm>

#include "basicslib/InstanceProtocol.h"

namespace tvn
{
namespace
{

/// What stands for a character, or null when it stands for itself.
const ArgumentEscape* EscapeOf(wchar_t character) noexcept
{
    if (character > L' ') {
        return nullptr;
    }
    const auto* const found =
        std::find_if(std::begin(kArgumentEscapes), std::end(kArgumentEscapes),
                     [character](const auto& escape) { return escape.character == character; });
    return found == std::end(kArgumentEscapes) ? nullptr : found;
}

std::size_t EncodedSize(std::wstring_view text) noexcept
{
    std::size_t size = text.size();
    for (const wchar_t character : text) {
        const ArgumentEscape* const escape = EscapeOf(character);
        size += escape == nullptr ? 0 : escape->mark.size() - 1;
    }
    return size;
}

/// Makes room for `more` characters behind `target`, so that appending them cannot fail half-way.
void MakeRoom(std::wstring& target, std::size_t more)
{
    target.reserve(target.size() + more);
}

}  // namespace

void AppendEncoded(std::wstring& target, std::wstring_view text)
{
    const std::size_t start = target.size();
    target.resize(start + EncodedSize(text));
    wchar_t* position = target.data() + start;
    for (const wchar_t character : text) {
        if (const ArgumentEscape* const escape = EscapeOf(character)) {
            position = std::copy(escape->mark.begin(), escape->mark.end(), position);
        } else {
            *position++ = character;
        }
    }
}

std::wstring EncodeArg(std::wstring_view text)
{
    std::wstring encoded;
    AppendEncoded(encoded, text);
    return encoded;
}

void AppendVariable(std::wstring& arguments, std::wstring_view name, std::wstring_view value)
{
    MakeRoom(arguments, kVariablePrefix.size() + name.size() + EncodedSize(value) + 2);
    arguments += L' ';
    if (name.find(L'-') != 0) {
        arguments += kVariablePrefix;
    }
    arguments += name;
    arguments += L' ';
    AppendEncoded(arguments, value);
}

std::wstring PlayArgument(std::wstring_view macro, std::wstring_view variables)
{
    std::wstring argument;
    MakeRoom(argument, kMacroSwitch.size() + EncodedSize(macro) + variables.size() + 3);
    argument += L' ';
    argument += kMacroSwitch;
    argument += L' ';
    AppendEncoded(argument, macro);
    argument += L' ';
    argument += variables;
    return argument;
}

void ParseReply(std::wstring_view reply, int code, std::wstring& errorText,
                std::wstring_view& extractText)
{
    const std::size_t position = reply.find(kErrorSeparator);
    if (position == std::wstring_view::npos || position == 0) {
        errorText.clear();
        extractText = reply;
        return;
    }
    errorText = std::wstring(reply.substr(0, position)) + L" (" + std::to_wstring(code) + L")";
    extractText = reply.substr(position + kErrorSeparator.size());
}

void SplitExtracts(std::wstring_view text, std::wstring_view separator,
                   std::vector<std::wstring_view>& list, bool keepEmpty)
{
    std::vector<std::wstring_view> pieces;
    for (std::size_t position = 0; !text.empty();) {
        const std::size_t end = std::min(text.find(separator, position), text.size());
        if (keepEmpty || end > position) {
            pieces.push_back(text.substr(position, end - position));
        }
        if (end == text.size()) {
            break;
        }
        position = end + separator.size();
    }
    list.swap(pieces);
}

}  // namespace tvn
