#include "instance/PlayRequest.h"

#include <algorithm>
#include <utility>

#include "basicslib/InstanceProtocol.h"

namespace instance
{
namespace
{

/// One pass for all escapes: the output of one must not be read as part of another.
std::wstring Decode(const std::wstring& text)
{
    std::wstring decoded;
    for (std::size_t at = 0; at < text.size();) {
        const auto* const escape = std::find_if(
            std::begin(tvn::kArgumentEscapes), std::end(tvn::kArgumentEscapes),
            [&](const auto& one) { return text.compare(at, one.mark.size(), one.mark) == 0; });
        const bool found = escape != std::end(tvn::kArgumentEscapes);
        decoded += found ? escape->character : text[at];
        at += found ? escape->mark.size() : 1;
    }
    return decoded;
}

std::vector<std::wstring> SplitAtBlanks(const std::wstring& text)
{
    std::vector<std::wstring> words;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(L' ', start), text.size());
        words.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

}  // namespace

PlayRequest::PlayRequest(const std::wstring& argument)
{
    // Two spaces separate the macro from the settings, and a value may be empty, so the words after
    // the macro form pairs.
    const std::vector<std::wstring> words = SplitAtBlanks(argument);
    if (words.size() > 2 && words[1] == tvn::kMacroSwitch) {
        macro = Decode(words[2]);
    }
    hasBlankInName = words.size() > 4 && words.size() % 2 != 0;
    for (std::size_t at = 4; at + 1 < words.size(); at += 2) {
        const std::wstring& name = words[at];
        hasBlankInName = hasBlankInName || !name.starts_with(L'-');
        const bool isVariable = name.starts_with(tvn::kVariablePrefix);
        const std::wstring_view prefix = isVariable               ? tvn::kVariablePrefix
                                         : name.starts_with(L'-') ? L"-"
                                                                  : L"";
        settings.push_back({isVariable, name.substr(prefix.size()), Decode(words[at + 1])});
    }
}

}  // namespace instance
